#pragma once

#include "zan_core/containers/zan_array.h"
#include "zan_core/containers/zan_deque.h"
#include "zan_core/holders/zan_ptr.h"
#include "zan_core/holders/zan_scoped_ptr.h"
#include "zan_core/memory/zan_fixed_allocator.h"
#include "zan_core/memory/zan_ref_countable.h"
#include "zan_core/text/zan_string.h"
#include "zan_core/zan_platform.h"
#include "zan_core/zan_types.h"

#include <boost/function/function_fwd.hpp>

#include <atomic>

class CZanTaskScheduler;

namespace NZanTasks::NDetail
{
class CWorkerThread;
struct SSleepSlot;
struct STaskData;

/// A fixed allocator, with what was freed in front of it: first fit among many free ranges would take long,
/// and so would keeping them in order. Null when it is full. One thread at a time allocates, any may free.
class CTaskAllocator final : public CZanAllocator
{
public:
    explicit CTaskAllocator( uint64 Size ) : _Blocks( Size ) {}
    ~CTaskAllocator() override;
    CTaskAllocator( const CTaskAllocator& ) = delete;
    CTaskAllocator& operator=( const CTaskAllocator& ) = delete;

    void* Allocate( uint64 Size, uint32 Alignment ) override;
    void Free( void* pData ) override;

private:
    CZanFixedAllocator _Blocks;
    void* _pReady = nullptr;              // blocks of one size to hand out again; of who allocates
    std::atomic<void*> _pFreed = nullptr; // those freed since
};
} // namespace NZanTasks::NDetail

/// The handle to one scheduled function. The function runs once, on whatever thread is first to take it: a
/// worker, or one that has a handle and asks for it. Its last handle runs it if nobody has started it, and
/// waits for it otherwise, so that no task outlives its handles; a function must not end the last handle to
/// itself. Handles may be shared by threads, and end before the scheduler does.
///
/// An exception of the function leaves the call that ran it. From a worker, or from the end of the last
/// handle, it ends the program. The task is done all the same.
class CTask final : public CZanAllocatedRefCountable
{
public:
    ~CTask() override; // NOLINT(bugprone-exception-escape): see above

    /// Runs the function here, unless it has been started. Gives whether it did.
    bool TryRun();
    bool IsDone() const;

    /// Returns when the function has returned: runs it here, or yields until the other thread is through.
    void Wait();

private:
    friend class CJob;
    friend class CZanTaskScheduler;
    template <typename T, typename... TArgs>
    friend T* ZanNewTaskPart( CZanAllocator& Allocator, TArgs&... Args );

    CTask( CZanAllocator& Allocator, NZanTasks::NDetail::STaskData& Data, CZanTaskScheduler& Scheduler );

    /// For one task after another: NowNs is when the one before it ended, or 0, and then when this one did.
    bool TryRunBehind( int64& NowNs );

    NZanTasks::NDetail::STaskData* const _pData; // one of its references is held here
    CZanTaskScheduler* const _pScheduler;
};

/// Runs small functions on worker threads, which steal work from each other. A task that a worker schedules
/// stays on its own queue, one from any other thread goes to the shared queue. See CJob for waiting for many
/// tasks, and CZanGraphJob for tasks that depend on each other.
///
///     CZanTaskScheduler Scheduler( "Task" );
///     Scheduler.Start( 3 );
///     CZanPtr<CTask> Task = Scheduler.Schedule( [ & ]() { Load( Level ); }, "Load" );
///     Task->Wait();
///
/// To schedule, include boost/function.hpp. Tasks and their records come from fixed blocks of the scheduler;
/// when these are full, which is logged once, from the default allocator. Any thread may schedule, also one
/// of another scheduler. Threads are added and removed by one thread at a time, and not by a task of this
/// scheduler, which would wait for itself. All tasks and handles have to be gone when the scheduler ends.
class CZanTaskScheduler
{
public:
    /// Starts no thread. Threads are named pName and a number; the name is copied.
    explicit CZanTaskScheduler( const char* pName );

    /// Removes all threads.
    ~CZanTaskScheduler();

    CZanTaskScheduler( const CZanTaskScheduler& ) = delete;
    CZanTaskScheduler& operator=( const CZanTaskScheduler& ) = delete;

    /// Starts Count threads.
    void Start( int32 Count );

    /// Starts Count more threads and gives Count; or gives 0, with nothing changed, when there would be more
    /// than GetMaxThreads() or Count is negative. Throws std::system_error when the system has no thread.
    int32 AddThreads( int32 Count );

    /// Ends the last Count threads, or all if there are fewer, and waits for them. Each first runs what is on
    /// its own queue; what is on the shared queue waits for other workers, or for those who hold the tasks.
    void RemoveThreads( int32 Count );

    /// Adds or removes the difference. A negative Count changes nothing, nor does one above GetMaxThreads().
    void SetNumThreads( int32 Count );

    int32 GetNumThreads() const { return _WorkerCount.load( std::memory_order_acquire ); }

    /// The threads of the hardware, but no fewer than 4 and no more than 32.
    int32 GetMaxThreads() const { return _MaxThreads; }

    /// Has a worker call Function, a copy of which lives until the task's last handle is gone and a worker
    /// has seen the task. Without workers, or while Threading.EnableTaskThreads is off, runs it before it
    /// returns. The text of pName is not copied and has to live as long.
    CZanPtr<CTask> Schedule( const boost::function<void()>& Function, const char* pName );

    /// The same, but leaves a task that no worker will take to TryRun of its handle, so that tasks that
    /// schedule tasks do not run inside each other.
    CZanPtr<CTask> ScheduleOrDefer( const boost::function<void()>& Function, const char* pName );

    /// Calls pFunction( pArgument ), the whole life of a new worker's thread, instead of a plain call. For
    /// applications that set up their threads; one for the process, or null.
    using FThreadHook = void ( * )( void ( *pFunction )( void* pArgument ), void* pArgument );
    static void SetThreadHook( FThreadHook pHook );

private:
    friend class NZanTasks::NDetail::CWorkerThread;
    using CWorkerThread = NZanTasks::NDetail::CWorkerThread;
    using SSleepSlot = NZanTasks::NDetail::SSleepSlot;
    using STaskData = NZanTasks::NDetail::STaskData;

    static constexpr uint64 SharedBytes = 0x200000;

    bool HasTakers() const;
    CZanPtr<CTask> NewTask(
        CZanAllocator& Allocator, const boost::function<void()>& Function, const char* pName, bool bQueued );
    CZanPtr<CTask> Submit( const boost::function<void()>& Function, const char* pName, bool bQueued );

    void WakeSlot( SSleepSlot& Slot );
    void WakeOne();
    void WakeAll();

    void RunWorker( CWorkerThread& Worker );
    bool GetWork( CWorkerThread& Worker, STaskData*& pEntry );
    STaskData* Search( CWorkerThread& Worker );
    bool HasQueuedOnWorkers() const;
    void Sleep( CWorkerThread& Worker );
    bool MustStayAwake( const CWorkerThread& Worker );

    CZanScopedArray<SSleepSlot> _pSleepSlots; // one for each possible thread
    const int32 _MaxThreads;
    const CString _Name;
    NZanPlatform::CSlimLock _SubmitLock; // held to push on the shared queue, and taken before a slot's lock
    CZanDeque<STaskData> _SharedQueue;
    CZanArray<CZanScopedPtr<CWorkerThread>> _Workers; // made when first needed, and kept until the end
    NZanTasks::NDetail::CTaskAllocator _Allocator;    // for tasks from other threads than workers
    std::atomic<int32> _ActiveWorkers = 0;            // those that run tasks
    std::atomic<int32> _SearchingWorkers = 0;         // those that look for work
    const int32 _SpinCount;                           // the search's rounds before it yields
    int64 _StartTimeNs = 0;
    const CString _ThreadBaseName;
    std::atomic<int32> _WorkerCount = 0; // the first so many workers run
};

/// What a thread is to schedulers.
struct SZanTaskThread
{
    bool _bIsTaskThread = false;
    int32 _ThreadIndex = -1; // in its scheduler, from 0
    NZanTasks::NDetail::CWorkerThread* _pWorker = nullptr;
};

/// Of the calling thread.
const SZanTaskThread& GetTaskThread();
