#include "zan_core/tasks/zan_job.h"
#include "zan_core/tasks/zan_task_thread_storage.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"
#include "zan_test/include/zan_test_threads.h"

#include <boost/function.hpp>

#include <thread>

using NZanTestUtils::SpinUntil;

TEST_CASE( "CTaskThreadStorage", "[.][thread]" )
{
    constexpr int32 TaskCount = 500;
    CZanTaskScheduler Scheduler( "Test" );
    Scheduler.Start( Scheduler.GetMaxThreads() );
    CTaskThreadStorage<int32> Storage( Scheduler.GetNumThreads() );
    int32 Total = 0;
    const auto RunJobs = [ & ]() {
        Storage.AssociateMainThread();
        CJob Job;
        for ( int32 i = 0; i < TaskCount; ++i )
        {
            Job.Add( Scheduler.Schedule( [ & ]() { ++Storage.Get(); }, "Add" ) );
            ++Storage.Get();
        }
        Job.WaitAndClear();
        for ( const int32 Count : Storage )
        {
            Total += Count;
        }
    };

    SECTION( "Jobs on main thread" )
    {
        RunJobs();
        REQUIRE( Total == TaskCount * 2 );
    }

    SECTION( "Jobs on other scheduler task thread" )
    {
        CZanTaskScheduler Other( "Other Test" );
        Other.Start( 1 );
        CZanPtr<CTask> Task = Other.Schedule( RunJobs, "Jobs" );
        SpinUntil( [ & ]() { return Task->IsDone(); } ); // does not help: the other thread is to run it
        REQUIRE( Total == TaskCount * 2 );
    }

    SECTION( "threads without a place" )
    {
        NZanTestUtils::CLogCapture Log;
        const CTaskThreadStorage<int32> Empty( -5 );
        REQUIRE( Empty.end() - Empty.begin() == 1 );
        CTaskThreadStorage<int32> Single( 1 );
        REQUIRE( &Single.Get() == Single.begin() + 1 );
        std::thread( [ & ]() { Single.AssociateMainThread(); } ).join();
        REQUIRE( &Single.Get() == Single.begin() + 1 );
        std::atomic<bool> bOutside = false;
        CZanPtr<CTask> Tasks[ 4 ]; // the workers with an index above 0 have no place
        std::atomic<int32> Arrived = 0;
        for ( CZanPtr<CTask>& Task : Tasks )
        {
            Task = Scheduler.Schedule(
                [ & ]() {
                    ++Arrived;
                    SpinUntil( [ & ]() { return Arrived == 4; } );
                    const int32* const pValue = &Single.Get();
                    bOutside = bOutside || pValue < Single.begin() || pValue >= Single.end();
                },
                "Get" );
        }
        for ( CZanPtr<CTask>& Task : Tasks )
        {
            SpinUntil( [ & ]() { return Task->IsDone(); } );
        }
        REQUIRE_FALSE( bOutside );
        const std::string Messages = Log.GetMessages();
        REQUIRE_THAT( Messages, Catch::Contains( "Did you forget to call AssociateMainThread?" ) );
        REQUIRE_THAT( Messages, Catch::Contains( "Trying to access task thread storage for a non-task" ) );
        REQUIRE_THAT( Messages, Catch::Contains( "Task thread has invalid thread index" ) );
    }
}
