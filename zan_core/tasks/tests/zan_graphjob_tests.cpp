#include "zan_core/tasks/zan_graph_job.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"

#include <string>

namespace
{
using CNode = CZanGraphJob::CTaskNode;

constexpr int32 TaskCount = 200;
} // namespace

TEST_CASE( "CZanGraphJob Concurrency Tests", "[.][thread]" )
{
    const int32 Threads = GENERATE( 0, 1, 3 );
    CZanTaskScheduler Scheduler( "Test" );
    Scheduler.Start( Threads );
    CZanGraphJob Job( &Scheduler );
    CZanArray<int32> Values;
    CZanArray<int32> ExpectedValues;
    const auto Append = [ & ]( int32 Value ) { return [ &Values, Value ]() { Values.Append( Value ); }; };

    SECTION( "Multiple independent tasks" )
    {
        std::atomic<int32> Count = 0;
        for ( int32 Round = 1; Round <= 2; ++Round ) // the job is filled again
        {
            for ( int32 i = 0; i < TaskCount; ++i )
            {
                Job.AddTask( "Add", [ & ]() { ++Count; } );
            }
            Job.Execute();
            REQUIRE( Count == Round * TaskCount );
        }
    }

    SECTION( "Linear chain of tasks, using SDependentOn" )
    {
        CNode* pPrevious = nullptr;
        for ( int32 i = 0; i < TaskCount; ++i )
        {
            pPrevious = Job.AddTask( "Append", Append( i ), SDependentOn( pPrevious ) );
            ExpectedValues.Append( i );
        }
        Job.Execute();
        REQUIRE( Values == ExpectedValues );
    }

    SECTION( "Linear chain of tasks, using SRequiredBy" )
    {
        CNode* pPrevious = nullptr;
        for ( int32 i = 0; i < TaskCount; ++i )
        {
            pPrevious = Job.AddTask( "Append", Append( i ), SRequiredBy( pPrevious ) );
            ExpectedValues.Append( TaskCount - 1 - i );
        }
        Job.Execute();
        REQUIRE( Values == ExpectedValues );
    }

    SECTION( "Two parallel chains of tasks" )
    {
        CZanArray<int32> Chains[ 2 ];
        CNode* pPrevious[ 2 ] = {};
        for ( int32 i = 0; i < TaskCount; ++i )
        {
            ExpectedValues.Append( i );
            for ( int32 Chain = 0; Chain < 2; ++Chain )
            {
                const auto AppendOwn = [ &Own = Chains[ Chain ], i ]() { Own.Append( i ); };
                pPrevious[ Chain ] = Job.AddTask( "Append", AppendOwn, SDependentOn( pPrevious[ Chain ] ) );
            }
        }
        Job.Execute();
        REQUIRE( Chains[ 0 ] == ExpectedValues );
        REQUIRE( Chains[ 1 ] == ExpectedValues );
    }

    SECTION( "Two parallel chains of tasks with shared fork and join tasks" )
    {
        Values.SetSize( TaskCount, -1 );
        std::atomic<int32> Next = 0;
        const auto Place = [ & ]( int32 Value ) { return [ &, Value ]() { Values[ Next++ ] = Value; }; };
        CNode* const pJoin = Job.AddTask( "Join", Place( TaskCount - 1 ) );
        CNode* const pFork = Job.AddTask( "Fork", Place( 0 ) );
        CNode* pPrevious[ 2 ] = { pFork, pFork };
        for ( int32 i = 1; i < TaskCount - 1; ++i )
        {
            CNode*& pLast = pPrevious[ i % 2 ];
            pLast = Job.AddTask( "Chain", Place( i ), SRequiredBy( pJoin ), SDependentOn( pLast, nullptr ) );
        }
        Job.Execute();
        REQUIRE( Values.GetHeadData() == 0 );
        REQUIRE( Values.GetTailData() == TaskCount - 1 );
        int32 Last[ 2 ] = {};
        for ( const int32 Value : Values )
        {
            REQUIRE( Value >= std::exchange( Last[ Value & 1 ], Value ) );
        }
    }
}

TEST_CASE( "CZanGraphJob Compile Checks", "[.][thread]" )
{
    CZanTaskScheduler Scheduler( "Test" );
    CZanGraphJob Job( &Scheduler );
    Job.Execute(); // empty

    SECTION( "tags in any mix" )
    {
        std::string Order;
        const auto Write = [ & ]( char Char ) { return [ &Order, Char ]() { Order += Char; }; };
        CNode* const pA = Job.AddTask( "A", Write( 'A' ) );
        CNode* const pB = Job.AddTask( "B", Write( 'B' ), SDependentOn( pA ), SDependentOn() );
        CNode* const pC = Job.AddTask( "C", Write( 'C' ), SRequiredBy( pA, pB ) );
        CNode* const pD = Job.AddTask( "D", Write( 'D' ), SRequiredBy( pC ), SDependentOn( nullptr ) );
        CNode* const pE = Job.AddTask( "E", Write( 'E' ), SDependentOn( pA, pB, pC, pD ), SRequiredBy() );
        Job.AddDependencies( pE, SDependentOn( pB ), SRequiredBy( nullptr ) );
        REQUIRE( pE->GetData()._PrerequisiteCount == 5 ); // what is told twice counts twice
        REQUIRE( pD->GetData()._PrerequisiteCount == 0 );
        Job.Execute();
        REQUIRE( Order == "DCABE" );
    }

    SECTION( "what may not be" )
    {
        NZanTestUtils::CLogCapture Log;
        CNode* const pA = Job.AddTask( "A", [ & ]() {
            CHECK( Job.AddTask( "while it runs", []() {} ) == nullptr );
            Job.Execute();
        } );
        CNode* const pB = Job.AddTask(
            "B", [ & ]() { Job.AddDependencies( pA, SRequiredBy( pA ) ); }, SDependentOn( pA ) );
        Job.AddTask(
            "cycle", []() { FAIL( "ran" ); }, SDependentOn( pB ), SRequiredBy( pB ) );
        bool bRan = false;
        Job.AddTask( "free", [ & ]() { bRan = true; } );
        Job.Execute();
        REQUIRE( bRan );

        Job.AddTask( "once more", [ & ]() { Job.AddDependencies( nullptr, SRequiredBy( pA ) ); } );
        Job.Execute();
        REQUIRE( Log.GetMessages() ==
                 "Assertion failed: CZanGraphJob tasks cannot be added once the job has begun executing.\n"
                 "Assertion failed: !WasExecuting\n"
                 "Assertion failed: The graph job was cleared without all task nodes being scheduled and "
                 "completed.\n"
                 "Assertion failed: CZanGraphJob tasks dependencies cannot be added once the job has begun "
                 "executing.\n" );
    }

    SECTION( "a task that throws leaves the others to Clear" )
    {
        NZanTestUtils::CLogCapture Log; // Clear reports what has not run
        std::string Order;
        CNode* const pThrow = Job.AddTask( "throw", []() { throw 42; } );
        Job.AddTask(
            "never", [ & ]() { Order += 'N'; }, SDependentOn( pThrow ) );
        Job.AddTask( "later", [ & ]() { Order += 'L'; } );
        REQUIRE_THROWS_AS( Job.Execute(), int );
        Job.Clear();
        REQUIRE( Order == "L" );
        Job.AddTask( "after", [ & ]() { Order += 'A'; } );
        Job.Execute();
        REQUIRE( Order == "LA" );
    }
}
