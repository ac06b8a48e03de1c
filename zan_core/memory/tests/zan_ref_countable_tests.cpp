#include "zan_core/memory/zan_ref_countable.h"
#include "zan_test/include/zan_test_allocator.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"
#include "zan_test/include/zan_test_threads.h"
#include "zan_test/include/zan_test_types.h"

using namespace NZanTestUtils;

namespace
{
struct SCounted : CZanRefCountable
{
    explicit SCounted( SLifeCounters& Counters ) : _Life( &Counters ) {}

    SMovable _Life;
};

struct SOtherBase
{
    virtual ~SOtherBase() = default;

    int64 _Data[ 4 ] = {};
};

// Counted by its second base, which therefore does not stand at the start of the block.
struct SAllocated : SOtherBase, CZanAllocatedRefCountable
{
    SAllocated( CZanAllocator& Allocator, SLifeCounters& Counters, bool bThrow = false )
        : CZanAllocatedRefCountable( Allocator ), _Life( &Counters )
    {
        static_cast<void>( bThrow ? throw 42 : 0 );
    }

    SMovable _Life;
};
} // namespace

TEST_CASE( "CZanRefCountable ends with its last reference", "[ref_countable]" )
{
    SLifeCounters Counters;
    const SCounted* const pObject = new SCounted( Counters );
    REQUIRE( pObject->GetReferenceCount() == 0 );
    pObject->AddReference();
    SCounted Copy = *pObject;
    REQUIRE( Copy.GetReferenceCount() == 0 );
    Copy.AddReference();
    Copy.AddReference();
    Copy = *pObject; // the target keeps its own references
    REQUIRE( ( Copy.GetReferenceCount() == 2 && pObject->GetReferenceCount() == 1 ) );

    // Two threads share it; the last of them ends it, once.
    pObject->AddReference();
    RunOnTwoThreads( [ & ]( int32 ) {
        for ( int32 i = 0; i < 200000; ++i )
        {
            pObject->AddReference();
            pObject->ReleaseReference();
        }
        pObject->ReleaseReference();
    } );
    REQUIRE( ( Counters._Destructions == 1 && Counters.GetLiveCount() == 1 ) );
}

TEST_CASE( "CZanAllocatedRefCountable frees the block it was built in", "[ref_countable]" )
{
    CZanTestAllocator Allocator;
    SLifeCounters Counters;
    SAllocated* const pObject = ZanNewAllocated<SAllocated>( Allocator, Counters );
    REQUIRE( Allocator.GetTotalAllocationByteCount() == sizeof( SAllocated ) );
    const CZanAllocatedRefCountable* const pBase = pObject;
    REQUIRE( static_cast<const void*>( pBase ) != static_cast<const void*>( pObject ) );
    pBase->AddReference();
    pObject->AddReference();
    pObject->ReleaseReference();
    REQUIRE( ( Counters.GetLiveCount() == 1 && Allocator.GetCurrentAllocationCount() == 1 ) );
    pBase->ReleaseReference();
    REQUIRE( ( Counters.GetLiveCount() == 0 && Allocator.GetCurrentAllocationCount() == 0 ) );
    REQUIRE_THROWS( ZanNewAllocated<SAllocated>( Allocator, Counters, true ) );
    REQUIRE( ( Counters.GetLiveCount() == 0 && Allocator.GetCurrentAllocationCount() == 0 ) );
    REQUIRE( Allocator.GetTotalAllocationCount() == 2 );
}

#if defined( ZAN_CHECK_PRECONDITIONS )
TEST_CASE( "CZanRefCountable reports a release without a reference", "[ref_countable]" )
{
    CLogCapture Log;
    SLifeCounters Counters;
    const SCounted Object( Counters );
    Object.ReleaseReference();
    REQUIRE( Object.GetReferenceCount() == 0 );
    REQUIRE( Log.GetOnlyMessage() == "Assertion failed: ReleaseReference of an object without references\n" );
}
#endif
