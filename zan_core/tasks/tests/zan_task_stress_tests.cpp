#include "zan_core/tasks/zan_graph_job.h"
#include "zan_core/tasks/zan_job.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_threads.h"

#include <boost/function.hpp>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <random>
#include <thread>
#include <vector>

using NZanTestUtils::SpinUntil;

// By totals and by order only. ZAN_STRESS_ROUNDS raises the rounds, for 1,000 of them by hand.

namespace
{
int32 GetRounds()
{
    const char* const pText = std::getenv( "ZAN_STRESS_ROUNDS" );
    return pText != nullptr ? std::atoi( pText ) : 20;
}

/// Adds 1 to Count in each node of a tree of tasks.
void GrowTree( CZanTaskScheduler& Scheduler, std::atomic<int32>& Count, int32 Depth )
{
    ++Count;
    CJob Job;
    for ( int32 i = 0; i < 3 && Depth > 0; ++i )
    {
        Job.Add( Scheduler.Schedule( [ &, Depth ]() { GrowTree( Scheduler, Count, Depth - 1 ); }, "Tree" ) );
    }
    Job.WaitAndClear();
}
} // namespace

TEST_CASE( "CZanTaskScheduler loses no task and runs none twice", "[.][thread]" )
{
    std::mt19937 Random( 7 );
    for ( int32 Round = 0; Round < GetRounds(); ++Round )
    {
        CZanTaskScheduler Scheduler( "Stress" );
        CZanTaskScheduler Other( "Other" );
        Scheduler.Start( 1 );
        Other.Start( 1 );
        std::atomic<int32> Count = 0;
        std::atomic<int32> Working = 3;
        const auto Submit = [ & ]( CZanTaskScheduler& First, CZanTaskScheduler& Second ) {
            CJob Job; // more than the first ring takes
            for ( int32 i = 0; i < 1500; ++i )
            {
                Job.Add( ( i % 3 == 0 ? Second : First ).Schedule( [ & ]() { ++Count; }, "Add" ) );
            }
            GrowTree( First, Count, 5 );
            Job.WaitAndClear();
            for ( int32 i = 0; i < 1500; ++i ) // few at a time, so that records are used again at once
            {
                Job.Add( First.Schedule( [ & ]() { ++Count; }, "Again" ) );
                i % 3 == 0 ? Job.WaitAndClear() : static_cast<void>( 0 );
            }
            Job.WaitAndClear();
            --Working;
        };
        const CZanPtr<CTask> Inner = Other.Schedule( [ & ]() { Submit( Scheduler, Other ); }, "Submit" );
        std::thread Threads[ 2 ];
        for ( std::thread& Thread : Threads )
        {
            Thread = std::thread( [ & ]() { Submit( Scheduler, Other ); } );
        }
        while ( Working > 0 )
        {
            Scheduler.SetNumThreads( static_cast<int32>( Random() % 5 ) );
        }
        Threads[ 0 ].join();
        Threads[ 1 ].join();
        Inner->Wait();
        REQUIRE( Count == 3 * ( 1500 + 364 + 1500 ) );
    }
}

TEST_CASE( "CTask runs on one of those that want to run it", "[.][thread]" )
{
    constexpr int32 TaskCount = 5000;
    CZanTaskScheduler Scheduler( "Stress" );
    std::atomic<int32> Count = 0;
    for ( int32 i = 0; i < TaskCount; ++i )
    {
        const CZanPtr<CTask> Task = Scheduler.ScheduleOrDefer( [ & ]() { ++Count; }, "Wanted" );
        NZanTestUtils::RunOnTwoThreads( [ & ]( int32 ) { Task->TryRun(); } );
    }
    REQUIRE( Count == TaskCount );
}

TEST_CASE( "CZanTaskScheduler wakes a worker for each lone task", "[.][thread]" )
{
    for ( int32 Round = 0; Round < GetRounds(); ++Round )
    {
        CZanTaskScheduler Scheduler( "Stress" );
        Scheduler.Start( 1 + Round % 4 );
        for ( int32 i = 0; i < 200; ++i )
        {
            const CZanPtr<CTask> Task = Scheduler.Schedule( []() {}, "Lone" );
            SpinUntil( [ & ]() { return Task->IsDone(); } ); // hangs when the wake-up is lost: nobody helps
            for ( int32 Yield = 0; Yield < i % 70; ++Yield ) // about as long as they search
            {
                NZanPlatform::YieldThread();
            }
            Scheduler.RemoveThreads( i % 2 ); // hangs when a worker falls asleep over that
            Scheduler.AddThreads( i % 2 );
        }
    }
}

TEST_CASE( "CZanTaskScheduler takes what its blocks cannot hold from the heap", "[.][thread]" )
{
    CZanTaskScheduler Scheduler( "Full" );
    Scheduler.Start( 1 );
    constexpr int32 TaskCount = 30000;
    std::atomic<int32> Count = 0;
    CJob Job;
    for ( int32 i = 0; i < TaskCount; ++i )
    {
        Job.Add( Scheduler.Schedule( [ & ]() { ++Count; }, "Add" ) );
    }
    Job.WaitAndClear();
    REQUIRE( Count == TaskCount );
}

TEST_CASE( "CZanGraphJob keeps the order of random graphs", "[.][thread]" )
{
    std::mt19937 Random( 11 );
    for ( int32 Round = 0; Round < GetRounds(); ++Round )
    {
        CZanTaskScheduler Scheduler( "Stress" );
        Scheduler.Start( Round % 4 );
        CZanGraphJob Job( &Scheduler );
        const auto NodeCount = static_cast<uint32>( 1 + Random() % 400 );
        std::vector<CZanGraphJob::CTaskNode*> Nodes;
        const auto pDone = std::make_unique<int32[]>( NodeCount ); // plain: the order is to make it safe
        std::atomic<int32> Bad = 0;
        for ( uint32 i = 0; i < NodeCount; ++i )
        {
            std::vector<uint32> Before;
            for ( auto Edge = i == 0 ? 0 : Random() % 4; Edge > 0; --Edge )
            {
                Before.push_back( static_cast<uint32>( Random() ) % i );
            }
            Nodes.push_back( Job.AddTask( "Node", [ &, i, Before ]() {
                for ( const uint32 Index : Before )
                {
                    Bad += pDone[ Index ] != 1;
                }
                ++pDone[ i ];
            } ) );
            for ( const uint32 Index : Before )
            {
                Job.AddDependencies( Nodes[ i ], SDependentOn( Nodes[ Index ] ) );
            }
        }
        Job.Execute();
        REQUIRE( Bad == 0 );
        REQUIRE( std::count( pDone.get(), pDone.get() + NodeCount, 1 ) == NodeCount );
    }
}
