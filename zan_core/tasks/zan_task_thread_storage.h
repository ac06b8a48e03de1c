#pragma once

#include "zan_core/containers/zan_inline_array.h"
#include "zan_core/tasks/zan_task_scheduler.h"
#include "zan_core/zan_assert.h"
#include "zan_core/zan_platform.h"
#include "zan_core/zan_types.h"

/// A T for each task thread of a scheduler and one for a main thread, so that tasks add up without locks what
/// is gathered when they are done. Up to 12 lie in the object. Each thread touches its own only; neighbours
/// may share a cache line. The thread that waits for the tasks runs some of them, so it is the main thread,
/// or a task thread of the scheduler.
///
///     CTaskThreadStorage<int32> Counts( Scheduler.GetNumThreads() );
///     Counts.AssociateMainThread();
///     for ( ... ) { Job.Add( Scheduler.Schedule( [ & ]() { ++Counts.Get(); }, "Count" ) ); }
///     Job.WaitAndClear();
///     for ( const int32 Count : Counts ) { Total += Count; }
template <typename T>
class CTaskThreadStorage
{
public:
    /// Each T is value-initialised. A negative ThreadCount is 0.
    explicit CTaskThreadStorage( int32 ThreadCount ) : _Values( ThreadCount > 0 ? ThreadCount + 1 : 1 ) {}
    CTaskThreadStorage( const CTaskThreadStorage& ) = delete;
    CTaskThreadStorage& operator=( const CTaskThreadStorage& ) = delete;

    /// Makes the calling thread the main thread, which any thread may be, also one of another scheduler.
    void AssociateMainThread() { _MainThreadId = NZanPlatform::GetThreadId(); }

    /// The T of the calling thread. Asserts that there is one, and else gives the main thread's.
    T& Get();

    /// All, the main thread's last. For when the tasks are done.
    T* begin() { return _Values.AccessIterStart(); }
    T* end() { return _Values.AccessIterEnd(); }
    const T* begin() const { return _Values.GetIterStart(); }
    const T* end() const { return _Values.GetIterEnd(); }

private:
    CZanInlineBufArray<T, 12> _Values; // never empty; never resized
    uint32 _MainThreadId = 0;          // 0 until there is one
};

template <typename T>
T& CTaskThreadStorage<T>::Get()
{
    zan_assert_text( _MainThreadId != 0, "Did you forget to call AssociateMainThread?" );
    T& Main = _Values.GetTailData();
    if ( NZanPlatform::GetThreadId() == _MainThreadId )
    {
        return Main;
    }
    const SZanTaskThread& Thread = GetTaskThread();
    zan_assert_text( Thread._bIsTaskThread, "Trying to access task thread storage for a non-task thread" );
    const int32 Index = Thread._ThreadIndex;
    const bool bIsIndex = Index >= 0 && Index < _Values.GetSize() - 1;
    zan_assert_text( bIsIndex, "Task thread has invalid thread index" );
    return bIsIndex ? _Values[ Index ] : Main;
}
