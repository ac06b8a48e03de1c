#include "zan_core/memory/zan_allocator.h"
#include "zan_core/memory/zan_inline_allocator.h"
#include "zan_test/include/zan_test_allocator.h"
#include "zan_test/include/zan_test_catch.h"

#include <cstdint>
#include <cstring>

using namespace NZanTestUtils;

TEST_CASE( "Default allocator", "[allocator]" )
{
    CZanAllocator& Allocator = GetDefaultAllocator();
    REQUIRE( ( &Allocator == &GetDefaultAllocator() && !Allocator.IsInternalMemory( nullptr ) ) );
    Allocator.Free( nullptr );
    for ( const uint32 Alignment : { 4u, 64u } )
    {
        void* const pBlock = Allocator.Allocate( 100, Alignment );
        REQUIRE( reinterpret_cast<std::uintptr_t>( pBlock ) % __STDCPP_DEFAULT_NEW_ALIGNMENT__ == 0 );
        std::memset( pBlock, 0xab, 100 );
        CHECK_FALSE( Allocator.IsInternalMemory( pBlock ) );
        Allocator.Free( pBlock );
    }
}

TEST_CASE( "Hybrid inline-buffer allocator", "[allocator]" )
{
    CZanTestAllocator Parent;
    CZanHybridInlineBufferAllocator<double, 64> Allocator( Parent );
    double* pBuffer = nullptr;
    int32 Capacity = 0;
    Allocator.GetBuffer( &pBuffer, &Capacity );
    void* const pBlock = Allocator.Allocate( 1000, alignof( double ) );
    CHECK( ( Capacity == 64 && Allocator.GetParentAllocator() == &Parent ) );
    CHECK( Parent.GetCurrentByteCount() == 1000 );
    CHECK( Allocator.IsInternalMemory( pBuffer ) );
    CHECK_FALSE( ( Allocator.IsInternalMemory( pBuffer + 1 ) || Allocator.IsInternalMemory( pBlock ) ) );
    Allocator.Free( pBuffer );
    CHECK( Parent.GetTotalDeallocationCount() == 0 );
    Allocator.Free( pBlock );
    Allocator.Free( nullptr );
    CHECK( ( Parent.GetTotalDeallocationCount() == 1 && Parent.GetNullFreeCount() == 1 ) );
    CHECK( CZanHybridInlineBufferAllocator<char, 3>().GetParentAllocator() == &GetDefaultAllocator() );
}

TEST_CASE( "Inline-buffer allocators without a parent", "[allocator]" )
{
    struct alignas( 64 ) SOverAligned
    {
        char _Data[ 64 ];
    };
    SOverAligned Lent[ 3 ];
    CZanStaticInlineBufferAllocator<SOverAligned, 2> Static;
    CZanPreAllocatedAllocator<SOverAligned> PreAllocated( Lent, 3 );
    SOverAligned* pBuffer = nullptr;
    int32 Capacity = 0;
    Static.GetBuffer( &pBuffer, &Capacity );
    CHECK( ( reinterpret_cast<std::uintptr_t>( pBuffer ) % 64 == 0 && Capacity == 2 ) );
    PreAllocated.GetBuffer( &pBuffer, &Capacity );
    CHECK( ( pBuffer == Lent && Capacity == 3 && Static.Allocate( 64, 64 ) == nullptr ) );
    for ( CZanSmallSingleBufferAllocator<SOverAligned>* const pAllocator :
        { static_cast<CZanSmallSingleBufferAllocator<SOverAligned>*>( &Static ),
            static_cast<CZanSmallSingleBufferAllocator<SOverAligned>*>( &PreAllocated ) } )
    {
        CHECK( ( pAllocator->IsInternalMemory( &Capacity ) && pAllocator->GetParentAllocator() == nullptr ) );
    }
}
