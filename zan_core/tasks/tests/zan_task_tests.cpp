#include "zan_core/runtime/zan_tweakable.h"
#include "zan_core/tasks/zan_job.h"
#include "zan_core/tasks/zan_task_schedulers.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"
#include "zan_test/include/zan_test_threads.h"

#include <boost/function.hpp>

#include <sys/prctl.h>

namespace
{
std::string SetCount( const CZanArray<CString>& Args, int32 Status )
{
    SCommandResult Result;
    GetCommandRegistry().Find( "threading.taskthreadcount" )->_pHandler( Result, Args );
    return Result._Status == Status ? Result._Text.GetString() : "status";
}
} // namespace

TEST_CASE( "CJob", "[.][thread]" )
{
    CZanTaskScheduler Scheduler( "Test" );
    std::atomic<int32> Count = 0;
    const auto Add = [ & ]() { ++Count; };

    SECTION( "500 tasks" )
    {
        Scheduler.Start( Scheduler.GetMaxThreads() );
        CJob Job;
        for ( int32 i = 0; i < 500; ++i )
        {
            Job.Add( Scheduler.Schedule( Add, "Add" ) );
        }
        Job.WaitAndClear();
        REQUIRE( ( Job.IsDone() && Count == 500 ) );
    }

    SECTION( "waiting ends with the task that runs elsewhere" )
    {
        Scheduler.Start( 1 );
        for ( int32 Try = 0; Try < 50; ++Try )
        {
            std::atomic<bool> bStarted = false;
            std::atomic<bool> bOther = false;
            std::atomic<bool> bEnded = false;
            CJob Job;
            Job.Add( Scheduler.Schedule(
                [ & ]() {
                    bStarted = true;
                    for ( int32 Yields = 0; !bOther || Yields < 200; ++Yields )
                    {
                        NZanPlatform::YieldThread();
                    }
                    bEnded = true;
                },
                "Long" ) );
            NZanTestUtils::SpinUntil( [ & ]() { return bStarted.load(); } );
            Job.Add( Scheduler.Schedule( [ & ]() { bOther = true; }, "Short" ) );
            Job.Wait();
            REQUIRE( ( bEnded && Job.IsDone() ) );
        }
    }

    SECTION( "without takers a task runs before it is given" )
    {
        const int32 Threads = GENERATE( 0, 2 );
        Scheduler.Start( Threads );
        CTweakable* const pEnable = NTweakable::Find( "threading.enabletaskthreads" );
        REQUIRE( std::string( pEnable->Execute( {} )._Text.GetCharPtr() ) == "Disabled" );
        CZanPtr<CTask> Task = Scheduler.Schedule( Add, "Add" );
        REQUIRE( ( Task->IsDone() && !Task->TryRun() && Count == 1 ) );
        REQUIRE_FALSE( Scheduler.ScheduleOrDefer( Add, "Add" )->IsDone() );
        REQUIRE( Count == 2 ); // the last handle ran it
        REQUIRE_THROWS_AS( Scheduler.Schedule( boost::function<void()>(), "" ), boost::bad_function_call );
        REQUIRE( std::string( pEnable->Execute( {} )._Text.GetCharPtr() ) == "Enabled" );
    }

    SECTION( "left undone" )
    {
        NZanTestUtils::CLogCapture Log;
        {
            CJob Job;
            Job.Add( CZanPtr<CTask>() );
            Job.Add( Scheduler.ScheduleOrDefer( Add, "Add" ) );
            REQUIRE_FALSE( Job.IsDone() );
        }
        REQUIRE( Count == 1 );
        REQUIRE( Log.GetOnlyMessage() ==
                 "Assertion failed: Every task should be done before the job is destroyed, did you forget to "
                 "call WaitAndClear on the job?\n" );
    }
}

TEST_CASE( "CZanTaskScheduler Thread Creation", "[.][thread]" )
{
    CZanTaskScheduler Scheduler( "Test" );
    const int32 Max = Scheduler.GetMaxThreads();
    REQUIRE( ( Max >= 4 && Max <= 32 ) );
    Scheduler.Start( Max );
    REQUIRE( Scheduler.GetNumThreads() == Max );
    REQUIRE( ( Scheduler.AddThreads( 1 ) == 0 && Scheduler.AddThreads( 2147483647 ) == 0 ) );
    for ( int32 Round = 0; Round < 10; ++Round )
    {
        Scheduler.SetNumThreads( Max / 2 );
        REQUIRE( ( Scheduler.GetNumThreads() == Max / 2 && Scheduler.AddThreads( -1 ) == 0 ) );
        Scheduler.SetNumThreads( Max );
        Scheduler.SetNumThreads( Max + 1 );
        Scheduler.SetNumThreads( -1 );
        REQUIRE( Scheduler.GetNumThreads() == Max );
    }
    Scheduler.RemoveThreads( Max + 5 );
    REQUIRE( Scheduler.GetNumThreads() == 0 );

    SECTION( "a worker keeps what it schedules, newest first, and shows its name" )
    {
        static constinit std::atomic<int32> Hooked = 0;
        CZanTaskScheduler::SetThreadHook( []( void ( *pFunction )( void* ), void* pArgument ) {
            ++Hooked;
            pFunction( pArgument );
        } );
        Scheduler.Start( 1 );
        std::atomic<int32> Done = 0;
        std::string Order;
        char Name[ 16 ] = {};
        CZanPtr<CTask> Tasks[ 2000 ]; // more than the first ring has room for
        const CZanPtr<CTask> Outer = Scheduler.Schedule(
            [ & ]() {
                prctl( PR_GET_NAME, Name );
                for ( int32 i = 0; i < 2000; ++i )
                {
                    Tasks[ i ] = Scheduler.Schedule(
                        [ &, i ]() {
                            Order += i % 500 == 0 ? std::to_string( i ) + ' ' : std::string();
                            ++Done;
                        },
                        "Inner" );
                }
            },
            "Outer" );
        NZanTestUtils::SpinUntil( [ & ]() { return Done == 2000; } );
        CZanTaskScheduler::SetThreadHook( nullptr );
        REQUIRE( Hooked == 1 );
        REQUIRE( std::string( Name ) == "Test 1" );
        REQUIRE( Order.find( "1500 " ) < Order.find( "1000 " ) );
    }

    SECTION( "Threading.TaskThreadCount" )
    {
        const std::string Usage = "Use Threading.TaskThreadCount [count].";
        REQUIRE( ( SetCount( { "2" }, 1 ) == "0" && SetCount( {}, 1 ) == "0" ) ); // no scheduler
        MakeTaskSchedulers( 3 );
        REQUIRE( ( SetCount( {}, 1 ) == "3" && GetTaskScheduler()->GetNumThreads() == 3 ) );
        GetTaskScheduler()->RemoveThreads( 2 );
        REQUIRE( ( SetCount( { "99" }, 1 ) == "1" && SetCount( {}, 1 ) == "1" ) );
        for ( const char* const pText : { "abc", "", "-0", "+0" } )
        {
            REQUIRE( SetCount( { pText }, 0 ) == Usage );
        }
        REQUIRE( ( SetCount( { "1", "1" }, 0 ) == Usage && SetCount( { "2x" }, 1 ) == "2" ) );
        const int32 Hardware = NZanPlatform::GetHardwareConcurrency();
        REQUIRE( ( Hardware > 4 || SetCount( { "-1" }, 1 ) == std::to_string( Hardware - 1 ) ) );
        REQUIRE( ( SetCount( { "-7" }, 1 ) != Usage && SetCount( { "00" }, 1 ) == "0" ) );
        REQUIRE( GetGraphTaskScheduler()->GetNumThreads() == 0 );
        SetTaskScheduler( nullptr );
        SetGraphTaskScheduler( nullptr );
    }
}
