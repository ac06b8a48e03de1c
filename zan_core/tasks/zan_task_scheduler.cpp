#include "zan_core/tasks/zan_task_scheduler.h"

#include "zan_core/hashing/zan_hash.h"
#include "zan_core/memory/zan_pool_allocator.h"
#include "zan_core/numerics/zan_noise_random.h"
#include "zan_core/tasks/zan_task_schedulers.h"
#include "zan_core/text/zan_charconv.h"

#include <boost/function.hpp>

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

// How no task is left lying while workers sleep
// ----------------------------------------------------------------------------------------------------------
//
//     any thread --lock--> shared queue ---+          a worker:  search -> run -> pop own queue -> search
//                                          +- steal ->             |
//     worker  -----------> own queue  -----+                       +-> announce -> look again -> sleep
//
// A task is on exactly one queue, or taken from it by the compare-and-swap of the deque; whoever has it
// claims it by the step of its state from waiting to running, which one thread wins. So it runs once. That it
// does not wait in vain rests on three rules.
//
// 1. A worker's own queue needs nobody else: only its owner pushes there, and the owner goes to sleep, or
//    ends, only after its pop has found the queue empty.
//
// 2. The shared queue. A worker that found nothing announces that it is about to sleep: under the lock of its
//    slot, it turns a left-over "woken" into "awake". Then it looks at the shared queue once more, under the
//    submit lock, and only then sleeps, unless its slot says "woken" by now. A submitter pushes, and wakes
//    under the submit lock. Of these two sections of the submit lock one is first:
//    - the submitter's: the worker sees the task and does not sleep;
//    - the worker's: what it announced is visible to the submitter, who finds the slot "sleeping" and wakes
//      it, or finds no sleeper, and marks every slot "woken" that is not: the worker then does not sleep.
//    A waker may pass over a slot that it sees "woken": if the worker has not announced yet, it will look
//    again behind the waker's push; otherwise it finds the mark. And it may lose a "sleeping" slot to another
//    waker between look and lock, as it takes the slot's lock all the same: the worker either takes that lock
//    later, and then searches with the push in sight, or has announced again, and finds the mark.
//
// 3. Somebody keeps looking while anybody runs, since what runs may push on its own queue. Who starts to run
//    as the first, and sees no searcher, wakes one; who ends the search as the last stays awake if anybody
//    runs, and looks at that again between announcing and sleeping. "Active goes up, then searchers and slots
//    are read" against "searchers go down and the slot is announced, then active is read" needs one order of
//    all these accesses for all threads, hence the sequentially consistent ones (the default) on both
//    counters and on the state of slots. The same holds of a worker's stop request against its sleep.
//
// The slots' locks are taken one at a time, the submit lock before them. Threads are removed from the end.
// Worker objects stay until the scheduler ends, because thieves may look at their queues and handles may lie
// in their allocators; an added thread takes the object of a removed one.

namespace NZanTasks::NDetail
{
enum ETaskState : int32
{
    TaskWaiting,
    TaskRunning,
    TaskDone,
    TaskReleased
};

enum EWorkerState : uint8
{
    WorkerCreated,
    WorkerRunning,
    WorkerStopRequested,
    WorkerFinished
};

enum ESleepState : int32
{
    Awake,
    Sleeping,
    Woken
};

struct STaskData
{
    STaskData(
        CZanAllocator& Allocator, const boost::function<void()>& Function, const char* pName, int32 RefCount )
        : _Function( Function ), _pName( pName ), _pAllocator( &Allocator ), _RefCount( RefCount )
    {}

    /// NowNs is the end of the task that this thread ran just before, or 0, and of this one afterwards:
    /// reading the clock costs as much as the rest of an empty task.
    bool TryRun( int64& NowNs );
    bool IsDone() const { return _State.load( std::memory_order_acquire ) >= TaskDone; }
    void Release();

    boost::function<void()> _Function;
    const char* _pName;
    CZanStringView _Description;
    CZanAllocator* _pAllocator; // not owned; where this record is from
    std::atomic<int32> _State = TaskWaiting;
    std::atomic<int32> _RefCount; // the handle's and the queue's
    double _DurationSeconds = 0;
    int64 _StartTimeNs = 0;
};

struct alignas( 64 ) SSleepSlot // workers sleep and wake on lines of their own
{
    std::mutex _Lock;
    std::condition_variable _Condition;
    std::atomic<int32> _SleepState = Awake; // changed under the lock, and scanned without
};

/// Both parts of a task take one size of block, so that any freed one fits the next.
constexpr uint64 PartSize = std::max( sizeof( STaskData ), sizeof( CTask ) );

CTaskAllocator::~CTaskAllocator() = default; // the blocks go with the buffer

void* CTaskAllocator::Allocate( uint64, uint32 Alignment )
{
    if ( _pReady == nullptr )
    {
        _pReady = _pFreed.exchange( nullptr, std::memory_order_acquire );
        if ( _pReady == nullptr )
        {
            return _Blocks.Allocate( PartSize, Alignment );
        }
    }
    return std::exchange( _pReady, NZanPoolAllocatorInternal::GetLink( _pReady ) );
}

/// Nobody takes single blocks off this list, so its head cannot be mistaken for one that was gone meanwhile.
void CTaskAllocator::Free( void* pData )
{
    void* pHead = _pFreed.load( std::memory_order_relaxed );
    do
    {
        NZanPoolAllocatorInternal::SetLink( pData, pHead );
    } while ( !_pFreed.compare_exchange_weak(
        pHead, pData, std::memory_order_release, std::memory_order_relaxed ) );
}

class CWorkerThread
{
public:
    CWorkerThread( CZanTaskScheduler& Scheduler, CString Name, int32 Index );

    void Start();
    bool IsStopRequested() const { return _State.load() == WorkerStopRequested; }
    int32 DrawBelow( int32 Count );

    static void Main( void* pWorker );

    CZanDeque<STaskData> _Queue;
    CZanTaskScheduler* _pScheduler;
    std::thread _Thread;
    std::atomic<uint8> _State = WorkerCreated;
    const CString _Name;
    const int32 _Index;
    uint32 _NoisePosition = 0;
    uint32 _NoiseSeed = 322376503;
    CTaskAllocator _Allocator; // for the tasks that this thread schedules
    bool _bBusy = false;       // these two are the worker's own notes
    bool _bSleeping = false;
    std::atomic<uint64> _BusyMicroseconds = 0;
    std::atomic<uint64> _IdleMicroseconds = 0;
};

namespace
{
constexpr uint64 FirstRingCapacity = 1024;
constexpr uint64 WorkerBytes = 0x80000;
constexpr int32 MaxYields = 50;

thread_local constinit SZanTaskThread TaskThread;
constinit std::atomic<CZanTaskScheduler::FThreadHook> GThreadHook = nullptr;

/// For the one thread that writes Sum.
void AddMicroseconds( std::atomic<uint64>& Sum, int64 SinceNs, int64 UntilNs )
{
    const uint64 Added = static_cast<uint64>( UntilNs - SinceNs ) / 1000;
    Sum.store( Sum.load( std::memory_order_relaxed ) + Added, std::memory_order_relaxed );
}

/// Rids a long queue of entries that others have run, at the price of one that moves to the other end. False
/// when one did. For the owner of the queue.
bool Maintain( CZanDeque<STaskData>& Queue )
{
    if ( Queue.GetSize() < Queue.GetCapacity() / 2 )
    {
        return true;
    }
    while ( STaskData* const pEntry = Queue.Steal() )
    {
        if ( !pEntry->IsDone() )
        {
            Queue.Push( pEntry );
            return false;
        }
        pEntry->Release();
    }
    return true;
}
} // namespace

// --- STaskData

bool STaskData::TryRun( int64& NowNs )
{
    int32 State = TaskWaiting;
    if ( _State.load( std::memory_order_relaxed ) != TaskWaiting ||
         !_State.compare_exchange_strong( State, TaskRunning, std::memory_order_acq_rel ) )
    {
        return false;
    }
    struct SFinish
    {
        ~SFinish() // when the function throws, too
        {
            _Data._State.store( TaskDone, std::memory_order_release );
            _NowNs = NZanPlatform::GetTimeNs();
            _Data._DurationSeconds = static_cast<double>( _NowNs - _Data._StartTimeNs ) * 1e-9;
        }
        STaskData& _Data;
        int64& _NowNs;
    } const Finish{ *this, NowNs };
    _StartTimeNs = NowNs != 0 ? NowNs : NZanPlatform::GetTimeNs();
    _Function();
    return true;
}

void STaskData::Release()
{
    // Who finds its own reference to be the last need not take it away.
    if ( _RefCount.load( std::memory_order_acquire ) == 1 ||
         _RefCount.fetch_sub( 1, std::memory_order_acq_rel ) == 1 )
    {
        _State.store( TaskReleased, std::memory_order_release );
        CZanAllocator& Allocator = *_pAllocator;
        this->~STaskData();
        Allocator.Free( this );
    }
}

// --- CWorkerThread

CWorkerThread::CWorkerThread( CZanTaskScheduler& Scheduler, CString Name, int32 Index )
    : _Queue( FirstRingCapacity ), _pScheduler( &Scheduler ), _Name( std::move( Name ) ), _Index( Index ),
      _NoisePosition( ZanHash( CZanStringView( _Name ) ) ), _Allocator( WorkerBytes )
{}

void CWorkerThread::Start()
{
    _State.store( WorkerRunning );
    _Thread = std::thread( [ this ]() {
        NZanPlatform::SetThreadName( _Name.GetCharPtr() );
        const CZanTaskScheduler::FThreadHook pHook = GThreadHook.load();
        pHook != nullptr ? pHook( &Main, this ) : Main( this );
    } );
}

void CWorkerThread::Main( void* pWorker )
{
    CWorkerThread& Worker = *static_cast<CWorkerThread*>( pWorker );
    TaskThread = { true, Worker._Index, &Worker };
    Worker._pScheduler->RunWorker( Worker );
    TaskThread = {}; // what still runs on this thread finds nobody to pop its tasks
    Worker._State.store( WorkerFinished );
}

int32 CWorkerThread::DrawBelow( int32 Count )
{
    const uint32 Noise = SNoiseRandom::Calc( _NoisePosition++, _NoiseSeed );
    return static_cast<int32>( Noise & 0x7FFFFFFF ) % Count;
}
} // namespace NZanTasks::NDetail

using namespace NZanTasks::NDetail;

const SZanTaskThread& GetTaskThread() { return TaskThread; }

/// A new T( Allocator, Args... ), from the default allocator when the first one is full.
template <typename T, typename... TArgs>
T* ZanNewTaskPart( CZanAllocator& Allocator, TArgs&... Args )
{
    CZanAllocator* pSource = &Allocator;
    void* pBlock = pSource->Allocate( sizeof( T ), alignof( std::max_align_t ) );
    if ( pBlock == nullptr )
    {
        pSource = &GetDefaultAllocator();
        pBlock = pSource->Allocate( sizeof( T ), alignof( T ) );
    }
    try
    {
        return ::new ( pBlock ) T( *pSource, Args... );
    }
    catch ( ... )
    {
        pSource->Free( pBlock );
        throw;
    }
}

// --- CTask

CTask::CTask( CZanAllocator& Allocator, STaskData& Data, CZanTaskScheduler& Scheduler )
    : CZanAllocatedRefCountable( Allocator ), _pData( &Data ), _pScheduler( &Scheduler )
{}

CTask::~CTask() // NOLINT(bugprone-exception-escape): what a function throws here has nowhere to go
{
    Wait();
    _pData->Release();
}

bool CTask::TryRun()
{
    int64 NowNs = 0;
    return TryRunBehind( NowNs );
}

bool CTask::TryRunBehind( int64& NowNs ) { return _pData->TryRun( NowNs ); }

bool CTask::IsDone() const { return _pData->IsDone(); }

void CTask::Wait()
{
    TryRun();
    while ( !IsDone() )
    {
        NZanPlatform::YieldThread();
    }
}

// --- CZanTaskScheduler: threads

CZanTaskScheduler::CZanTaskScheduler( const char* pName )
    : _MaxThreads( std::clamp( NZanPlatform::GetHardwareConcurrency(), 4, 32 ) ), _Name( pName ),
      _SharedQueue( FirstRingCapacity ), _Allocator( SharedBytes ), _SpinCount( _MaxThreads ),
      _ThreadBaseName( _Name )
{
    _pSleepSlots = ZanMakeScopedArray<SSleepSlot>( _MaxThreads );
    _Workers.SetSize( _MaxThreads );
}

CZanTaskScheduler::~CZanTaskScheduler()
{
    RemoveThreads( GetNumThreads() );
    while ( STaskData* const pEntry = _SharedQueue.Steal() ) // those that others have run
    {
        pEntry->Release();
    }
}

void CZanTaskScheduler::Start( int32 Count )
{
    _StartTimeNs = NZanPlatform::GetTimeNs();
    AddThreads( Count );
}

int32 CZanTaskScheduler::AddThreads( int32 Count )
{
    const int32 First = GetNumThreads();
    if ( Count < 0 || Count > _MaxThreads - First )
    {
        return 0;
    }
    for ( int32 Index = First; Index < First + Count; ++Index )
    {
        if ( !_Workers[ Index ] )
        {
            char Number[ 12 ];
            _Workers[ Index ] = ZanMakeScopedPtr<CWorkerThread>( *this,
                _ThreadBaseName + ' ' +
                    NZanStringUtils::ToString( Number, Number + sizeof( Number ), Index + 1 ),
                Index );
        }
    }
    for ( int32 Index = First; Index < First + Count; ++Index )
    {
        _Workers[ Index ]->Start();
        _WorkerCount.store( Index + 1, std::memory_order_release );
    }
    return Count;
}

void CZanTaskScheduler::RemoveThreads( int32 Count )
{
    const int32 Last = GetNumThreads();
    const int32 First = Last - std::clamp( Count, 0, Last );
    for ( int32 Index = First; Index < Last; ++Index )
    {
        _Workers[ Index ]->_State.store( WorkerStopRequested );
    }
    WakeAll();
    for ( int32 Index = First; Index < Last; ++Index )
    {
        while ( _Workers[ Index ]->_State.load() != WorkerFinished )
        {
            NZanPlatform::YieldThread();
        }
        SSleepSlot& Slot = _pSleepSlots[ Index ];
        const std::scoped_lock Lock( Slot._Lock );
        Slot._SleepState.store( Awake );
    }
    for ( int32 Index = First; Index < Last; ++Index )
    {
        _Workers[ Index ]->_Thread.join();
    }
    _WorkerCount.store( First, std::memory_order_release );
}

void CZanTaskScheduler::SetNumThreads( int32 Count )
{
    const int32 Present = GetNumThreads();
    if ( Count > Present )
    {
        AddThreads( Count - Present );
    }
    else if ( Count >= 0 )
    {
        RemoveThreads( Present - Count );
    }
}

void CZanTaskScheduler::SetThreadHook( FThreadHook pHook ) { GThreadHook.store( pHook ); }

// --- CZanTaskScheduler: scheduling

bool CZanTaskScheduler::HasTakers() const { return GetNumThreads() >= 1 && AreTaskThreadsEnabled(); }

CZanPtr<CTask> CZanTaskScheduler::Schedule( const boost::function<void()>& Function, const char* pName )
{
    const bool bQueued = HasTakers();
    CZanPtr<CTask> Task = Submit( Function, pName, bQueued );
    if ( !bQueued )
    {
        Task->TryRun();
    }
    return Task;
}

CZanPtr<CTask> CZanTaskScheduler::ScheduleOrDefer(
    const boost::function<void()>& Function, const char* pName )
{
    return Submit( Function, pName, HasTakers() );
}

CZanPtr<CTask> CZanTaskScheduler::NewTask(
    CZanAllocator& Allocator, const boost::function<void()>& Function, const char* pName, bool bQueued )
{
    const int32 RefCount = bQueued ? 2 : 1;
    STaskData* const pData = ZanNewTaskPart<STaskData>( Allocator, Function, pName, RefCount );
    return CZanPtr<CTask>( ZanNewTaskPart<CTask>( Allocator, *pData, *this ) );
}

CZanPtr<CTask> CZanTaskScheduler::Submit(
    const boost::function<void()>& Function, const char* pName, bool bQueued )
{
    CWorkerThread* const pWorker = TaskThread._pWorker;
    if ( pWorker != nullptr && pWorker->_pScheduler == this )
    {
        CZanPtr<CTask> Task = NewTask( pWorker->_Allocator, Function, pName, bQueued );
        if ( bQueued )
        {
            pWorker->_Queue.Push( Task->_pData );
            Maintain( pWorker->_Queue );
        }
        return Task;
    }
    const std::scoped_lock Lock( _SubmitLock );
    CZanPtr<CTask> Task = NewTask( _Allocator, Function, pName, bQueued );
    if ( bQueued )
    {
        _SharedQueue.Push( Task->_pData );
        WakeOne();
        if ( !Maintain( _SharedQueue ) )
        {
            WakeOne();
        }
    }
    return Task;
}

// --- CZanTaskScheduler: waking, for which see the top

void CZanTaskScheduler::WakeSlot( SSleepSlot& Slot )
{
    bool bWasSleeping;
    {
        const std::scoped_lock Lock( Slot._Lock );
        bWasSleeping = Slot._SleepState.exchange( Woken ) == Sleeping;
    }
    if ( bWasSleeping )
    {
        Slot._Condition.notify_all();
    }
}

void CZanTaskScheduler::WakeOne()
{
    for ( int32 i = 0; i < _MaxThreads; ++i )
    {
        if ( _pSleepSlots[ i ]._SleepState.load() == Sleeping )
        {
            WakeSlot( _pSleepSlots[ i ] );
            return;
        }
    }
    WakeAll();
}

void CZanTaskScheduler::WakeAll()
{
    for ( int32 i = 0; i < _MaxThreads; ++i )
    {
        if ( _pSleepSlots[ i ]._SleepState.load() != Woken )
        {
            WakeSlot( _pSleepSlots[ i ] );
        }
    }
}

// --- CZanTaskScheduler: the worker's side

void CZanTaskScheduler::RunWorker( CWorkerThread& Worker )
{
    STaskData* pEntry = nullptr;
    while ( GetWork( Worker, pEntry ) )
    {
        if ( pEntry == nullptr )
        {
            continue;
        }
        if ( _ActiveWorkers.fetch_add( 1 ) == 0 && _SearchingWorkers.load() == 0 )
        {
            WakeOne();
        }
        Worker._bBusy = true;
        int64 StartNs = 0;
        int64 NowNs = 0;
        for ( ; pEntry != nullptr; pEntry = Worker._Queue.Pop() )
        {
            if ( pEntry->TryRun( NowNs ) && StartNs == 0 ) // else one with a handle was first
            {
                StartNs = pEntry->_StartTimeNs;
            }
            pEntry->Release();
        }
        _ActiveWorkers.fetch_sub( 1 );
        AddMicroseconds( Worker._BusyMicroseconds, StartNs, NowNs );
        Worker._bBusy = false;
    }
}

/// Gives false when the worker is to end, and otherwise an entry or null, to look again. Sleeps when there is
/// nothing to do.
bool CZanTaskScheduler::GetWork( CWorkerThread& Worker, STaskData*& pEntry )
{
    _SearchingWorkers.fetch_add( 1 );
    pEntry = Search( Worker );
    if ( pEntry == nullptr && _SharedQueue.GetSize() > 0 )
    {
        pEntry = _SharedQueue.Steal();
    }
    const bool bStopping = pEntry == nullptr && Worker.IsStopRequested();
    const bool bWasLast = _SearchingWorkers.fetch_sub( 1 ) == 1;
    if ( pEntry != nullptr )
    {
        if ( bWasLast ) // hands the search on
        {
            WakeOne();
        }
        return true;
    }
    if ( bStopping )
    {
        WakeAll();
        return false;
    }
    if ( !( bWasLast && _ActiveWorkers.load() != 0 ) && !HasQueuedOnWorkers() )
    {
        Sleep( Worker );
    }
    return true;
}

/// Looks at the shared queue first, in the place of the worker's own, and then at random.
STaskData* CZanTaskScheduler::Search( CWorkerThread& Worker )
{
    const int32 Count = std::max( GetNumThreads(), 1 ); // a new worker may run before it is counted
    int32 Victim = Worker._Index;
    int32 Rounds = 0;
    int32 Yields = 0;
    do
    {
        CZanDeque<STaskData>& Queue = Victim == Worker._Index ? _SharedQueue : _Workers[ Victim ]->_Queue;
        if ( STaskData* const pEntry = Queue.Steal() )
        {
            return pEntry;
        }
        if ( ++Rounds > _SpinCount )
        {
            NZanPlatform::YieldThread();
            if ( ++Yields > MaxYields )
            {
                return nullptr;
            }
        }
        Victim = Worker.DrawBelow( Count );
    } while ( !Worker.IsStopRequested() );
    return nullptr;
}

bool CZanTaskScheduler::HasQueuedOnWorkers() const
{
    const int32 Count = GetNumThreads();
    int32 i = 0;
    while ( i < Count && _Workers[ i ]->_Queue.GetSize() == 0 )
    {
        ++i;
    }
    return i < Count;
}

void CZanTaskScheduler::Sleep( CWorkerThread& Worker )
{
    Worker._bSleeping = true;
    const int64 StartNs = NZanPlatform::GetTimeNs();
    SSleepSlot& Slot = _pSleepSlots[ Worker._Index ];
    {
        const std::scoped_lock Lock( Slot._Lock );
        Slot._SleepState.store( Awake ); // announces
    }
    if ( !MustStayAwake( Worker ) )
    {
        std::unique_lock Lock( Slot._Lock );
        while ( Slot._SleepState.load() != Woken )
        {
            Slot._SleepState.store( Sleeping );
            Slot._Condition.wait( Lock );
        }
    }
    AddMicroseconds( Worker._IdleMicroseconds, StartNs, NZanPlatform::GetTimeNs() );
    Worker._bSleeping = false;
}

/// The last look between announcing and sleeping.
bool CZanTaskScheduler::MustStayAwake( const CWorkerThread& Worker )
{
    if ( Worker.IsStopRequested() || ( _ActiveWorkers.load() != 0 && _SearchingWorkers.load() == 0 ) )
    {
        return true;
    }
    const std::scoped_lock Lock( _SubmitLock );
    return _SharedQueue.GetSize() > 0;
}
