#include "benchmarks/zan_bench_data.h"
#include "zan_core/containers/zan_deque.h"
#include "zan_core/tasks/zan_graph_job.h"
#include "zan_core/tasks/zan_job.h"
#include "zan_core/zan_types.h"

#include <boost/function.hpp>
#include <tbb/flow_graph.h>
#include <tbb/global_control.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace
{
// --- Work-stealing deque -----------------------------------------------------------------------------------

class CLockedDeque
{
public:
    explicit CLockedDeque( uint64 ) {}

    void Push( int32* pItem )
    {
        const std::scoped_lock Lock( _Mutex );
        _Items.push_back( pItem );
    }

    int32* Pop()
    {
        const std::scoped_lock Lock( _Mutex );
        if ( _Items.empty() )
        {
            return nullptr;
        }
        int32* const pItem = _Items.back();
        _Items.pop_back();
        return pItem;
    }

    int32* Steal()
    {
        const std::scoped_lock Lock( _Mutex );
        if ( _Items.empty() )
        {
            return nullptr;
        }
        int32* const pItem = _Items.front();
        _Items.pop_front();
        return pItem;
    }

private:
    std::mutex _Mutex;
    std::deque<int32*> _Items;
};

/// A second thread, which steals until the measurement ends, or only exists: a mutex is cheaper in a process
/// that has but one.
template <typename TDeque>
class CThief
{
public:
    CThief( TDeque& Deque, bool bSteals )
        : _Thread( [ this, &Deque, bSteals ] {
              if ( !bSteals )
              {
                  _bEnds.wait( false );
              }
              while ( !_bEnds.load( std::memory_order_relaxed ) )
              {
                  if ( Deque.Steal() != nullptr )
                  {
                      _StolenCount.fetch_add( 1, std::memory_order_relaxed );
                  }
              }
          } )
    {}

    ~CThief()
    {
        _bEnds = true;
        _bEnds.notify_one();
        _Thread.join();
    }

    int64 GetStolenCount() const { return _StolenCount.load( std::memory_order_relaxed ); }

private:
    std::atomic<bool> _bEnds = false;
    std::atomic<int64> _StolenCount = 0;
    std::thread _Thread; // last, as it uses the others
};

/// The owner pushes the items and pops so many of them; the thief has to take the rest, so that a round in
/// which it does not run is none.
template <typename TDeque>
void PushAndPop( benchmark::State& State, int32 ItemCount, int32 PopCount )
{
    TDeque Deque( 1024 );
    CThief<TDeque> Thief( Deque, PopCount < ItemCount );
    std::vector<int32> Items( static_cast<size_t>( ItemCount ) );
    int64 LeftCount = 0, Sum = 0;
    for ( auto _ : State )
    {
        for ( int32& Item : Items )
        {
            Deque.Push( &Item );
        }
        LeftCount += ItemCount;
        for ( int32 i = 0; i < PopCount; ++i )
        {
            if ( const int32* const pItem = Deque.Pop() )
            {
                Sum += *pItem;
                --LeftCount;
            }
        }
        while ( Thief.GetStolenCount() < LeftCount )
        {}
    }
    benchmark::DoNotOptimize( Sum );
}

void AddDequeRows()
{
    const auto Ours = []( benchmark::State& State ) { PushAndPop<CZanDeque<int32>>( State, 100, 100 ); };
    ZanBench( "deque, 100 pushes and pops by the owner",
        { { "ours", Ours },
            { "std::deque under a mutex",
                []( benchmark::State& State ) { PushAndPop<CLockedDeque>( State, 100, 100 ); } } },
        0.25 );
    ZanBench( "deque, 1,000 pushes, 500 pops, the rest to one thief",
        { { "ours", []( benchmark::State& State ) { PushAndPop<CZanDeque<int32>>( State, 1000, 500 ); } },
            { "std::deque under a mutex",
                []( benchmark::State& State ) { PushAndPop<CLockedDeque>( State, 1000, 500 ); } } },
        0.25 );
    // What each Pop cannot do without.
    ZanBench( "deque, 100 pushes and pops by the owner",
        { { "ours", Ours }, { "100 atomic exchanges", []( benchmark::State& State ) {
                                 std::atomic<int64> Value = 0;
                                 for ( auto _ : State )
                                 {
                                     for ( int64 i = 0; i < 100; ++i )
                                     {
                                         benchmark::DoNotOptimize( Value.exchange( i ) );
                                     }
                                 }
                             } } } );
}

struct SScheduler : CZanTaskScheduler
{
    explicit SScheduler( int32 Workers ) : CZanTaskScheduler( "Bench" ) { Start( Workers ); }
};

/// Workers besides this thread, for the peer.
struct SPeerThreads
{
    explicit SPeerThreads( int32 Workers )
        : _Limit( tbb::global_control::max_allowed_parallelism, static_cast<size_t>( Workers ) + 1 ),
          _Arena( Workers + 1, 1 )
    {}

    tbb::global_control _Limit;
    tbb::task_arena _Arena;
};

// --- Empty tasks from outside, in jobs

void RunOurJobs( benchmark::State& State, int32 Workers, int32 Jobs, int32 JobSize )
{
    SScheduler Scheduler( Workers );
    for ( auto _ : State )
    {
        for ( int32 i = 0; i < Jobs; ++i )
        {
            CJob Job;
            for ( int32 Task = 0; Task < JobSize; ++Task )
            {
                Job.Add( Scheduler.Schedule( []() {}, "Empty" ) );
            }
            Job.WaitAndClear();
        }
    }
}

void RunPeerJobs( benchmark::State& State, int32 Workers, int32 Jobs, int32 JobSize )
{
    SPeerThreads Threads( Workers );
    for ( auto _ : State )
    {
        Threads._Arena.execute( [ & ]() {
            for ( int32 i = 0; i < Jobs; ++i )
            {
                tbb::task_group Group;
                for ( int32 Task = 0; Task < JobSize; ++Task )
                {
                    Group.run( []() {} );
                }
                Group.wait();
            }
        } );
    }
}

// --- Fork and join from inside tasks. The waiting thread does not help, so that only workers count.

struct SSignal
{
    void Set()
    {
        const std::scoped_lock Lock( _Mutex );
        _bSet = true;
        _Condition.notify_one();
    }
    void Wait()
    {
        std::unique_lock Lock( _Mutex );
        _Condition.wait( Lock, [ & ]() { return _bSet; } );
        _bSet = false;
    }

    std::mutex _Mutex;
    std::condition_variable _Condition;
    bool _bSet = false;
};

int32 CalcOurFibonacci( CZanTaskScheduler& Scheduler, int32 Number )
{
    if ( Number < 2 )
    {
        return Number;
    }
    int32 First = 0;
    const CZanPtr<CTask> Task = Scheduler.Schedule(
        [ &, Number ]() { First = CalcOurFibonacci( Scheduler, Number - 1 ); }, "Fibonacci" );
    const int32 Second = CalcOurFibonacci( Scheduler, Number - 2 );
    Task->Wait();
    return First + Second;
}

int32 CalcPeerFibonacci( int32 Number )
{
    if ( Number < 2 )
    {
        return Number;
    }
    int32 First = 0;
    tbb::task_group Group;
    Group.run( [ &, Number ]() { First = CalcPeerFibonacci( Number - 1 ); } );
    const int32 Second = CalcPeerFibonacci( Number - 2 );
    Group.wait();
    return First + Second;
}

constexpr int32 FibonacciNumber = 20;

void RunOurFibonacci( benchmark::State& State, int32 Workers )
{
    SScheduler Scheduler( Workers );
    SSignal Done;
    for ( auto _ : State )
    {
        const CZanPtr<CTask> Task = Scheduler.Schedule(
            [ & ]() {
                benchmark::DoNotOptimize( CalcOurFibonacci( Scheduler, FibonacciNumber ) );
                Done.Set();
            },
            "Root" );
        Done.Wait();
    }
}

void RunPeerFibonacci( benchmark::State& State, int32 Workers )
{
    const tbb::global_control Limit(
        tbb::global_control::max_allowed_parallelism, static_cast<size_t>( Workers ) + 1 );
    tbb::task_arena Arena( Workers, 0 );
    SSignal Done;
    for ( auto _ : State )
    {
        Arena.enqueue( [ & ]() {
            benchmark::DoNotOptimize( CalcPeerFibonacci( FibonacciNumber ) );
            Done.Set();
        } );
        Done.Wait();
    }
}

// --- The same work by more workers

/// Arithmetic of about a microsecond, in 10,000 tasks that one task schedules. Only workers run them.
void RunOurLoad( benchmark::State& State, int32 Workers )
{
    constexpr int32 TaskCount = 10000;
    SScheduler Scheduler( Workers );
    SSignal Done;
    for ( auto _ : State )
    {
        std::atomic<int32> LeftCount = TaskCount;
        const auto Work = [ & ]() {
            uint32 Bits = 1;
            for ( int32 i = 0; i < 300; ++i )
            {
                Bits = NZanBench::Scramble( Bits + 1 );
            }
            benchmark::DoNotOptimize( Bits );
            if ( --LeftCount == 0 )
            {
                Done.Set();
            }
        };
        std::vector<CZanPtr<CTask>> Tasks( TaskCount );
        const CZanPtr<CTask> Root = Scheduler.Schedule(
            [ & ]() {
                for ( CZanPtr<CTask>& Task : Tasks )
                {
                    Task = Scheduler.Schedule( Work, "Work" );
                }
            },
            "Root" );
        Done.Wait();
        Root->Wait();
    }
}

// --- A layered graph of short tasks, built and run

constexpr int32 Layers = 100;
constexpr int32 LayerSize = 100;

void SpinMicrosecond()
{
    const int64 EndNs = NZanPlatform::GetTimeNs() + 1000;
    while ( NZanPlatform::GetTimeNs() < EndNs )
    {}
}

/// Calls AddNode() for each node and AddEdge( Before, After ) for three edges to each but the first layer's.
template <typename TAddNode, typename TAddEdge>
void BuildLayers( TAddNode&& AddNode, TAddEdge&& AddEdge )
{
    for ( int32 i = 0; i < Layers * LayerSize; ++i )
    {
        AddNode();
        for ( int32 Edge = 0; i >= LayerSize && Edge < 3; ++Edge )
        {
            AddEdge( ( i / LayerSize - 1 ) * LayerSize + ( i * 7 + Edge * 31 ) % LayerSize, i );
        }
    }
}

void RunOurGraph( benchmark::State& State, int32 Workers )
{
    SScheduler Scheduler( Workers );
    CZanGraphJob Job( &Scheduler );
    std::vector<CZanGraphJob::CTaskNode*> Nodes;
    for ( auto _ : State )
    {
        Nodes.clear();
        BuildLayers( [ & ]() { Nodes.push_back( Job.AddTask( "Spin", SpinMicrosecond ) ); },
            [ & ]( int32 Before, int32 After ) {
                Job.AddDependencies( Nodes[ size_t( After ) ], SDependentOn( Nodes[ size_t( Before ) ] ) );
            } );
        Job.Execute();
    }
}

void RunPeerGraph( benchmark::State& State, int32 Workers )
{
    using CNode = tbb::flow::continue_node<tbb::flow::continue_msg>;
    SPeerThreads Threads( Workers );
    Threads._Arena.execute( [ & ]() {
        for ( auto _ : State )
        {
            tbb::flow::graph Graph;
            std::vector<std::unique_ptr<CNode>> Nodes;
            BuildLayers(
                [ & ]() {
                    Nodes.push_back(
                        std::make_unique<CNode>( Graph, []( const tbb::flow::continue_msg& Message ) {
                            SpinMicrosecond();
                            return Message;
                        } ) );
                },
                [ & ]( int32 Before, int32 After ) {
                    tbb::flow::make_edge( *Nodes[ size_t( Before ) ], *Nodes[ size_t( After ) ] );
                } );
            for ( size_t i = 0; i < size_t( LayerSize ); ++i )
            {
                Nodes[ i ]->try_put( tbb::flow::continue_msg() );
            }
            Graph.wait_for_all();
        }
    } );
}

// --- Hand-over to a sleeping thread and back

template <typename THandOver>
void MeasureHandOver( benchmark::State& State, THandOver&& HandOver )
{
    for ( auto _ : State )
    {
        State.PauseTiming();
        std::this_thread::sleep_for( std::chrono::microseconds( 300 ) ); // both sleep by then
        State.ResumeTiming();
        HandOver();
    }
}

void HandOverToOurs( benchmark::State& State )
{
    SScheduler Scheduler( 1 );
    SSignal Back;
    CZanPtr<CTask> Task; // ends when the next one begins: that may wait for the worker to leave the function
    MeasureHandOver( State, [ & ]() {
        Task = Scheduler.Schedule( [ & ]() { Back.Set(); }, "Back" );
        Back.Wait();
    } );
}

void HandOverToThread( benchmark::State& State )
{
    SSignal There;
    SSignal Back;
    std::atomic<bool> bEnd = false;
    std::thread Thread( [ & ]() {
        for ( There.Wait(); !bEnd; There.Wait() )
        {
            Back.Set();
        }
    } );
    MeasureHandOver( State, [ & ]() {
        There.Set();
        Back.Wait();
    } );
    bEnd = true;
    There.Set();
    Thread.join();
}

void AddSchedulerRows()
{
    for ( const int32 Workers : { 1, 2 } )
    {
        const std::string With = std::to_string( Workers ) + ( Workers == 1 ? " worker" : " workers" );
        const auto Row = [ & ]( const std::string& Name, auto Ours, const char* pPeer, auto Theirs,
                             double Limit ) {
            ZanBench( Name + ", " + With,
                { { "ours", [ = ]( benchmark::State& State ) { Ours( State, Workers ); } },
                    { pPeer, [ = ]( benchmark::State& State ) { Theirs( State, Workers ); } } },
                Limit );
        };
        const auto JobRow = [ & ]( const std::string& Name, int32 Jobs, int32 JobSize, double Limit ) {
            Row(
                Name,
                [ = ]( benchmark::State& State, int32 Count ) { RunOurJobs( State, Count, Jobs, JobSize ); },
                "tbb::task_group",
                [ = ]( benchmark::State& State, int32 Count ) { RunPeerJobs( State, Count, Jobs, JobSize ); },
                Limit );
        };
        JobRow( "1,000,000 empty tasks in jobs of 500", 2000, 500, 2.0 );
        for ( const int32 JobSize : { 1, 10, 100, 1000, 10000, 100000, 1000000 } )
        {
            JobRow( "a job of empty tasks: " + std::to_string( JobSize ), 1, JobSize, 0 );
        }
        Row(
            "Fibonacci of 20 by fork and join", &RunOurFibonacci, "tbb::task_group", &RunPeerFibonacci, 1.5 );
        Row( "graph of 10,000 tasks of 1 us", &RunOurGraph, "tbb::flow::graph", &RunPeerGraph, 1.0 );
    }
    ZanBench( "10,000 tasks of arithmetic, 2 workers",
        { { "ours", []( benchmark::State& State ) { RunOurLoad( State, 2 ); } },
            { "ours, 1 worker", []( benchmark::State& State ) { RunOurLoad( State, 1 ); } } } );
    ZanBench( "hand-over to a sleeping thread and back",
        { { "ours", HandOverToOurs }, { "std::condition_variable", HandOverToThread } }, 1.2 );
}
} // namespace

void RegisterRows()
{
    AddDequeRows();
    AddSchedulerRows();
}
