#include "zan_core/containers/zan_inline_array.h"
#include "zan_core/memory/zan_allocator.h"
#include "zan_core/memory/zan_inline_allocator.h"
#include "zan_test/include/zan_test_catch.h"

#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

namespace
{
struct SCountingAllocator final : CZanAllocator
{
    void* Allocate( uint64 Size, uint32 ) override
    {
        ++_Allocations;
        return ::operator new( Size );
    }
    void Free( void* pData ) override
    {
        ++( pData != nullptr ? _Frees : _NullFrees );
        ::operator delete( pData );
    }

    int32 _Allocations = 0;
    int32 _Frees = 0;
    int32 _NullFrees = 0;
};
} // namespace

TEST_CASE( "Default allocator", "[allocator]" )
{
    CZanAllocator& Allocator = GetDefaultAllocator();
    REQUIRE( &Allocator == &GetDefaultAllocator() );
    Allocator.Free( nullptr );
    for ( const uint32 Alignment : { 4u, 64u } )
    {
        void* const pBlock = Allocator.Allocate( 100, Alignment );
        REQUIRE( reinterpret_cast<std::uintptr_t>( pBlock ) % __STDCPP_DEFAULT_NEW_ALIGNMENT__ == 0 );
        std::memset( pBlock, 0xab, 100 );
        CHECK_FALSE( Allocator.IsInternalMemory( pBlock ) );
        Allocator.Free( pBlock );
    }
    CHECK_FALSE( Allocator.IsInternalMemory( nullptr ) );
}

TEST_CASE( "Hybrid inline-buffer allocator", "[allocator]" )
{
    SCountingAllocator Parent;
    CZanHybridInlineBufferAllocator<double, 64> Allocator( Parent );
    double* pBuffer = nullptr;
    int32 Capacity = 0;
    Allocator.GetBuffer( &pBuffer, &Capacity );
    REQUIRE( Capacity == 64 );
    CHECK( Allocator.GetParentAllocator() == &Parent );
    CHECK( Allocator.IsInternalMemory( pBuffer ) );
    CHECK_FALSE( Allocator.IsInternalMemory( pBuffer + 1 ) );

    void* const pBlock = Allocator.Allocate( 1000, alignof( double ) );
    CHECK_FALSE( Allocator.IsInternalMemory( pBlock ) );
    Allocator.Free( pBuffer );
    CHECK( Parent._Frees == 0 );
    Allocator.Free( pBlock );
    CHECK( Parent._Frees == 1 );
    Allocator.Free( nullptr );
    CHECK( Parent._NullFrees == 1 );

    CHECK( CZanHybridInlineBufferAllocator<char, 3>().GetParentAllocator() == &GetDefaultAllocator() );
}

TEST_CASE( "Inline-buffer allocators without a parent", "[allocator]" )
{
    struct alignas( 64 ) SOverAligned
    {
        char _Data[ 64 ];
    };
    CZanStaticInlineBufferAllocator<SOverAligned, 2> Static;
    SOverAligned Lent[ 3 ];
    CZanPreAllocatedAllocator<SOverAligned> PreAllocated( Lent, 3 );
    SOverAligned* pBuffer = nullptr;
    int32 Capacity = 0;
    Static.GetBuffer( &pBuffer, &Capacity );
    CHECK( reinterpret_cast<std::uintptr_t>( pBuffer ) % 64 == 0 );
    CHECK( Capacity == 2 );
    PreAllocated.GetBuffer( &pBuffer, &Capacity );
    CHECK( pBuffer == Lent );
    CHECK( Capacity == 3 );
    CHECK( Static.Allocate( 64, 64 ) == nullptr );
    CHECK( Static.IsInternalMemory( &Capacity ) );
    CHECK( PreAllocated.IsInternalMemory( &Capacity ) );
    CHECK( Static.GetParentAllocator() == nullptr );
    CHECK( PreAllocated.GetParentAllocator() == nullptr );
}

TEST_CASE( "An inline array asks its parent for the element that does not fit", "[allocator]" )
{
    SCountingAllocator Parent;
    {
        CZanInlineBufArray<int32, 4> Array( Parent );
        Array.Append( { 1, 2, 3, 4 } );
        CHECK( Parent._Allocations == 0 );
        Array.Append( 5 );
        CHECK( Parent._Allocations == 1 );
        CZanInlineBufArray<int32, 4> Embedded( Parent );
        Embedded.Append( 6 );
        Array = std::move( Embedded );
        CHECK( Parent._Frees == 1 );
        CHECK( Array.IsUsingInternalMemory() );
        CHECK( Array.GetTailData() == 6 );
    }
    CHECK( Parent._Allocations == 1 );
    CHECK( Parent._Frees == 1 );
}
