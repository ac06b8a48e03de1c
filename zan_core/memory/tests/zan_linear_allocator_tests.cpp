#include "zan_core/memory/zan_linear_allocator.h"
#include "zan_test/include/zan_test_allocator.h"
#include "zan_test/include/zan_test_catch.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <optional>
#include <utility>

using namespace NZanTestUtils;

namespace
{
constexpr uint64 BlockSize = 48; // room for three elements

/// An allocator with its first block, and an element in it.
struct SFilled
{
    uint8* Allocate( uint64 Size = 8, uint32 Alignment = 8 )
    {
        auto* const pData = static_cast<uint8*>( _Allocator.Allocate( Size, Alignment ) );
        std::memset( pData, 0xab, Size ); // for the address sanitizer
        return pData;
    }

    /// Whether the upstream has handed out so many blocks of so many bytes together.
    bool HasBlocks( uint64 Count, uint64 ByteCount ) const
    {
        return _Upstream.GetCurrentAllocationCount() == Count && _Upstream.GetCurrentByteCount() == ByteCount;
    }

    CZanTestAllocator _Upstream;
    CZanLinearAllocator _Allocator = CZanLinearAllocator( BlockSize, &_Upstream );
    uint8* const _pFirst = Allocate();
};

bool IsAligned( const void* pData, uint32 Alignment )
{
    return reinterpret_cast<std::uintptr_t>( pData ) % Alignment == 0;
}
} // namespace

TEST_CASE( "CZanLinearAllocator equal-sized allocations", "[allocator][linear_allocator]" )
{
    SFilled Filled;
    REQUIRE( ( Filled.Allocate() == Filled._pFirst + 8 && Filled.Allocate() == Filled._pFirst + 16 ) );
    REQUIRE( ( Filled.HasBlocks( 1, 48 ) && Filled._Allocator.GetTotalAllocated() == 24 ) );
    uint8* const pFourth = Filled.Allocate();
    REQUIRE( ( pFourth != Filled._pFirst + 24 && Filled.HasBlocks( 2, 144 ) ) );
    Filled._Allocator.Free( pFourth );
    REQUIRE( ( Filled.Allocate() == pFourth + 8 && Filled._Allocator.GetTotalAllocated() == 40 ) );

    // The blocks that a reset leaves are used again, in order.
    Filled._Allocator.Reset();
    REQUIRE( Filled._Allocator.GetTotalAllocated() == 0 );
    REQUIRE( ( Filled.Allocate() == Filled._pFirst && Filled.Allocate( 17 ) == pFourth ) );
    REQUIRE( Filled.HasBlocks( 2, 144 ) );
}

TEST_CASE( "CZanLinearAllocator insufficient space for allocation", "[allocator][linear_allocator]" )
{
    SFilled Filled;
    REQUIRE( ( Filled.Allocate( 17 ) != Filled._pFirst + 8 && Filled.HasBlocks( 2, 48 + 96 ) ) );
    Filled.Allocate( 1000 ); // twice the block would not do
    REQUIRE( Filled.HasBlocks( 3, 144 + 2024 ) );

    // After a reset, a block that is too small is passed over, and a new one goes by the last.
    Filled._Allocator.Reset();
    Filled.Allocate( 2000 ); // exactly the last
    REQUIRE( Filled.HasBlocks( 3, 2168 ) );
    Filled.Allocate( 1001 );
    REQUIRE( Filled.HasBlocks( 4, 2168 + 4048 ) );
    for ( const uint64 FirstSize : { 0u, 24u, 25u } )
    {
        CZanTestAllocator Upstream;
        CZanLinearAllocator Allocator( FirstSize, &Upstream );
        REQUIRE( Upstream.GetCurrentByteCount() == ( FirstSize == 25 ? 25 : FirstSize + 24 ) );
    }
}

TEST_CASE( "CZanLinearAllocator insufficient space due to alignment for allocation",
    "[allocator][linear_allocator]" )
{
    SFilled Filled;
    Filled.Allocate( 1, 1 );
    uint8* const pLast = Filled.Allocate( 9, 8 ); // 15 bytes are left, but 7 of them are padding
    REQUIRE( ( pLast != Filled._pFirst + 16 && Filled.HasBlocks( 2, 144 ) ) );
    for ( const uint32 Alignment : { 64u, 256u, 4096u } ) // a new block may have to be passed over as well
    {
        REQUIRE( IsAligned( Filled.Allocate( 8, Alignment ), Alignment ) );
        REQUIRE( IsAligned( Filled.Allocate( 0, Alignment ), Alignment ) );
    }
}

TEST_CASE( "CZanLinearAllocator somewhat loose alignment for allocation", "[allocator][linear_allocator]" )
{
    SFilled Filled;
    REQUIRE( ( Filled.Allocate( 4, 4 ) == Filled._pFirst + 8 && Filled.Allocate() == Filled._pFirst + 16 ) );
}

TEST_CASE( "CZanLinearAllocator very loose alignment for allocation", "[allocator][linear_allocator]" )
{
    SFilled Filled;
    REQUIRE( ( Filled.Allocate( 1, 1 ) == Filled._pFirst + 8 && Filled.Allocate() == Filled._pFirst + 16 ) );
    REQUIRE( Filled._Allocator.GetTotalAllocated() == 17 );
}

TEST_CASE( "CZanLinearAllocator mixed-size allocations", "[allocator][linear_allocator]" )
{
    CZanLinearAllocator Allocator( 1024 );
    const auto* const pFirst = static_cast<const uint8*>( Allocator.Allocate( 8, 8 ) );
    for ( const auto& [ Size, Alignment, Offset ] : { std::tuple{ 1u, 1u, 8 }, { 3u, 1u, 9 }, { 8u, 8u, 16 },
              { 3u, 1u, 24 }, { 2u, 2u, 28 }, { 8u, 8u, 32 } } )
    {
        REQUIRE( static_cast<const uint8*>( Allocator.Allocate( Size, Alignment ) ) == pFirst + Offset );
    }
}

TEST_CASE( "CZanLinearAllocator move constructed", "[allocator][linear_allocator]" )
{
    SFilled Filled;
    {
        CZanLinearAllocator& Source = Filled._Allocator;
        CZanLinearAllocator Target( std::move( Source ) );
        REQUIRE( ( Target.Allocate( 8, 8 ) == Filled._pFirst + 8 && Target.GetTotalAllocated() == 16 ) );
        Target.Reset();
        REQUIRE( ( Target.Allocate( 8, 8 ) == Filled._pFirst && Filled.HasBlocks( 1, 48 ) ) );

        // The source counts nothing, and asks for a block of its own when it is used again.
        REQUIRE( Source.GetTotalAllocated() == 0 ); // NOLINT(bugprone-use-after-move)
        REQUIRE( Source.Allocate( 0, 1 ) != nullptr );
        REQUIRE( ( Source.Allocate( 8, 8 ) != nullptr && Filled.HasBlocks( 3, 48 + 24 + 48 ) ) );
    }
    REQUIRE( Filled._Upstream.GetCurrentAllocationCount() == 2 );
}

TEST_CASE( "CZanLinearAllocator move assigned", "[allocator][linear_allocator]" )
{
    CZanTestAllocator FormerUpstream;
    CZanLinearAllocator Target( 100, &FormerUpstream );
    Target.Allocate( 1000, 1 );
    SFilled Filled;
    std::optional<CZanLinearAllocator> Source( std::move( Filled._Allocator ) );
    Target = std::move( *Source );
    REQUIRE( ( FormerUpstream.GetCurrentAllocationCount() == 0 && Source->GetTotalAllocated() == 0 ) );
    Source.reset();
    CZanLinearAllocator& Self = Target;
    Target = std::move( Self );
    REQUIRE( ( Target.Allocate( 8, 8 ) == Filled._pFirst + 8 && Target.GetTotalAllocated() == 16 ) );
    Target.Reset();
    REQUIRE( ( Target.Allocate( 8, 8 ) == Filled._pFirst && Filled.HasBlocks( 1, 48 ) ) );
    Target = CZanLinearAllocator( 48 );
    REQUIRE( Filled.HasBlocks( 0, 0 ) );
}

TEST_CASE( "CZanLinearAllocator fails as its upstream does", "[allocator][linear_allocator]" )
{
    struct CUpstream final : CZanTestAllocator
    {
        void* Allocate( uint64 Size, uint32 Alignment ) override
        {
            _LastSize = Size;
            if ( Size >= 1000 && _bThrows )
            {
                throw std::bad_alloc();
            }
            return Size < 1000 ? CZanTestAllocator::Allocate( Size, Alignment ) : nullptr;
        }

        bool _bThrows = false;
        uint64 _LastSize = 0;
    };
    CUpstream Upstream;
    CZanLinearAllocator Allocator( BlockSize, &Upstream );
    auto* const pFirst = static_cast<uint8*>( Allocator.Allocate( 8, 8 ) );
    constexpr uint64 Max = std::numeric_limits<uint64>::max();
    for ( const uint64 Size : { uint64{ 1000 }, Max / 2 - 12, Max / 2 - 11, Max - 24, Max - 1, Max } )
    {
        Upstream._bThrows = false;
        REQUIRE( Allocator.Allocate( Size, 8 ) == nullptr );
        REQUIRE( Upstream._LastSize >= Size ); // nothing has wrapped
        Upstream._bThrows = true;
        REQUIRE_THROWS_AS( Allocator.Allocate( Size, 1 ), std::bad_alloc );
    }
    REQUIRE( ( Allocator.Allocate( 8, 8 ) == pFirst + 8 && Allocator.GetTotalAllocated() == 16 ) );

    Upstream._bThrows = false; // already for the first block
    REQUIRE( CZanLinearAllocator( 1000, &Upstream ).Allocate( 490, 1 ) == nullptr );
    REQUIRE( CZanLinearAllocator( 1000, &Upstream ).Allocate( 480, 1 ) != nullptr );
}
