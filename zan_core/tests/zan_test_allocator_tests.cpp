#include "zan_test/include/zan_test_allocator.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_matchers.h"
#include "zan_test/include/zan_test_threads.h"

using NZanCatch2::EqualsSequence;
using NZanTestUtils::CZanTestAllocator;

TEST_CASE( "CZanTestAllocator counts blocks and bytes", "[zan_test]" )
{
    CZanTestAllocator Allocator;
    void* const pFirst = Allocator.Allocate( 10, 1 );
    void* const pSecond = Allocator.Allocate( 30, 64 );
    Allocator.Free( pFirst );
    REQUIRE( ( Allocator.GetCurrentAllocationCount() == 1 && Allocator.GetCurrentByteCount() == 30 ) );
    REQUIRE( ( Allocator.GetTotalAllocationCount() == 2 && Allocator.GetTotalAllocationByteCount() == 40 ) );
    REQUIRE( Allocator.GetTotalDeallocationCount() == 1 );
    REQUIRE( Allocator.GetTotalDeallocationByteCount() == 10 );
    Allocator.Free( pSecond );
    REQUIRE( ( Allocator.GetCurrentAllocationCount() == 0 && Allocator.GetCurrentByteCount() == 0 ) );
    REQUIRE_THAT( Allocator.GetAllocationSizes(), EqualsSequence<CZanArray<uint64>>( 10u, 30u ) );
    REQUIRE_THAT( Allocator.GetDeallocationSizes(), EqualsSequence<CZanArray<uint64>>( 10u, 30u ) );
    REQUIRE_FALSE( Allocator.IsInternalMemory( &Allocator ) );
}

TEST_CASE( "CZanTestAllocator counts the free of null apart", "[zan_test]" )
{
    CZanTestAllocator Allocator;
    Allocator.Free( nullptr );
    REQUIRE( ( Allocator.GetNullFreeCount() == 1 && Allocator.GetTotalDeallocationCount() == 0 ) );
    REQUIRE( Allocator.GetDeallocationSizes().IsEmpty() );
}

// These are to fail. They stay out of a plain run, whose report they would spoil.

TEST_CASE( "CZanTestAllocator fails the case that frees a block twice", "[.][zan_test][!shouldfail]" )
{
    CZanTestAllocator Allocator;
    void* const pBlock = Allocator.Allocate( 10, 1 );
    Allocator.Free( pBlock );
    Allocator.Free( pBlock );
}

TEST_CASE( "CZanTestAllocator fails the case that frees a block of the heap", "[.][zan_test][!shouldfail]" )
{
    CZanTestAllocator Allocator;
    int32 Value = 0;
    Allocator.Free( &Value );
}

TEST_CASE( "CZanTestAllocator counts what several threads do", "[zan_test]" )
{
    CZanTestAllocator Allocator;
    NZanTestUtils::RunOnTwoThreads( [ & ]( int32 ) {
        for ( uint64 i = 1; i <= 200; ++i )
        {
            Allocator.Free( Allocator.Allocate( i, 1 ) );
            Allocator.Free( nullptr );
        }
    } );
    REQUIRE( ( Allocator.GetTotalAllocationCount() == 400 && Allocator.GetNullFreeCount() == 400 ) );
    REQUIRE( Allocator.GetTotalDeallocationByteCount() == 40200 );
    REQUIRE( Allocator.GetCurrentByteCount() == 0 );
}
