#include "zan_core/memory/zan_fixed_allocator.h"
#include "zan_core/zan_assert.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"
#include "zan_test/include/zan_test_threads.h"

#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

using namespace NZanTestUtils;

namespace
{
constexpr uint32 Alignments[] = { 1, 2, 4, 8, 16, 32, 64, 256, 4096, 32768 };

/// The allocator as a map of its buffer: what is free, by offset and size, first fit.
class CFixedModel
{
public:
    CFixedModel( uint64 Base, uint64 Size ) : _Base( Base ), _Free{ { 0, Size } } {}

    /// The address, or 0 when there is no room.
    uint64 Allocate( uint64 Size, uint64 Alignment )
    {
        for ( const auto& [ Start, Room ] : _Free )
        {
            const uint64 Address = ( _Base + Start + 16 + Alignment - 1 ) / Alignment * Alignment;
            const uint64 Total = Address + Size - _Base - Start;
            if ( Total <= Room )
            {
                const uint64 Rest = Room - Total > 16 ? Room - Total : 0;
                _Used[ Address ] = { Start, Room - Rest };
                if ( Rest > 0 )
                {
                    _Free[ Start + Total ] = Rest;
                }
                _Free.erase( Start );
                return Address;
            }
        }
        return 0;
    }

    void Free( uint64 Address )
    {
        _Free.insert( _Used.extract( Address ).mapped() );
        for ( auto iLeft = _Free.begin(), iRight = std::next( iLeft ); iRight != _Free.end();
              iRight = std::next( iLeft ) )
        {
            if ( iLeft->first + iLeft->second != iRight->first )
            {
                iLeft = iRight;
                continue;
            }
            iLeft->second += iRight->second;
            _Free.erase( iRight );
        }
    }

    bool Matches( const CZanFixedAllocator& Allocator ) const
    {
        uint64 UsedBytes = 0;
        for ( const auto& [ Address, Range ] : _Used )
        {
            UsedBytes += Range.second;
        }
        return Allocator.CheckInvariants() && Allocator.CalcFreeRangeCount() == _Free.size() &&
               Allocator.GetUsedBytes() == UsedBytes && Allocator.GetAllocationCount() == _Used.size();
    }

private:
    uint64 _Base;
    std::map<uint64, uint64> _Free;                    // size by offset
    std::map<uint64, std::pair<uint64, uint64>> _Used; // offset and size by address
};

uint64 GetAddress( const void* pData ) { return reinterpret_cast<std::uintptr_t>( pData ); }
} // namespace

TEST_CASE( "CZanFixedAllocator takes and returns all of its buffer", "[allocator][fixed_allocator]" )
{
    CLogCapture Log;
    for ( const uint64 Size : { 16u, 17u, 256u } )
    {
        CZanFixedAllocator Allocator( Size );
        REQUIRE( Allocator.Allocate( Size, 1 ) == nullptr );
        void* const pData = Allocator.Allocate( Size - 16, 16 );
        REQUIRE( ( pData != nullptr && Allocator.GetUsedBytes() == Size && Allocator.CheckInvariants() ) );
        REQUIRE( ( Allocator.CalcFreeRangeCount() == 0 && Allocator.Allocate( 0, 1 ) == nullptr ) );
        Allocator.Free( pData );
        Allocator.Free( nullptr );
        REQUIRE( ( Allocator.CalcFreeRangeCount() == 1 && Allocator.GetAllocationCount() == 0 ) );
    }
    REQUIRE( (
        CZanFixedAllocator( 0 ).Allocate( 0, 1 ) == nullptr && CZanFixedAllocator( 15 ).CheckInvariants() ) );
}

TEST_CASE( "CZanFixedAllocator reports what it cannot do", "[allocator][fixed_allocator]" )
{
    CZanFixedAllocator Allocator( 256 );
    static std::string Failures;
    Failures.clear();
    const auto pFormer = NZanAssert::SetFailureHook(
        []( const char* pText, const char*, int32, bool ) { Failures += *pText; } );
    constexpr uint64 Max = std::numeric_limits<uint64>::max();
    for ( const uint64 Size : { uint64{ 241 }, Max - 32, Max - 15, Max } )
    {
        REQUIRE( Allocator.Allocate( Size, 16 ) == nullptr );
    }
    for ( const uint32 Alignment : { 0u, 24u, 65536u, 0x80000000u } )
    {
        REQUIRE( Allocator.Allocate( 1, Alignment ) == nullptr );
    }
    NZanAssert::SetFailureHook( pFormer );
    REQUIRE( Failures == "OOOOAAAA" ); // out of memory, and alignments
    REQUIRE( ( Allocator.GetAllocationCount() == 0 && Allocator.Allocate( 240, 1 ) != nullptr ) );
}

TEST_CASE( "CZanFixedAllocator does what a map of its buffer does", "[allocator][fixed_allocator]" )
{
    CLogCapture Log;
    std::mt19937 Random( 7 );
    const auto [ Size, MaxSize ] =
        GENERATE( table<uint64, uint32>( { { 300, 20 }, { 5000, 400 }, { 80000, 1500 } } ) );
    CZanFixedAllocator Allocator( Size );
    void* const pFirst = Allocator.Allocate( 0, 1 );
    CFixedModel Model( GetAddress( pFirst ) - 16, Size );
    Allocator.Free( pFirst );

    std::vector<std::pair<uint8*, std::string>> Blocks; // with what they hold
    bool bRight = true;
    for ( uint32 i = 0; i < 4000 && bRight; ++i )
    {
        if ( Blocks.empty() || Random() % 100 < ( i / 500 % 2 == 0 ? 70u : 35u ) )
        {
            const uint64 BlockSize = Random() % MaxSize;
            const uint32 Alignment = Alignments[ Random() % ( Random() % std::size( Alignments ) + 1 ) ];
            auto* const pData = static_cast<uint8*>( Allocator.Allocate( BlockSize, Alignment ) );
            bRight = Model.Allocate( BlockSize, Alignment ) == GetAddress( pData );
            if ( pData != nullptr )
            {
                Blocks.emplace_back( pData, std::string( BlockSize, static_cast<char>( i ) ) );
                std::memcpy( pData, Blocks.back().second.data(), BlockSize );
            }
        }
        else
        {
            std::swap( Blocks[ Random() % Blocks.size() ], Blocks.back() );
            const auto [ pData, Content ] = Blocks.back();
            Blocks.pop_back();
            bRight = std::memcmp( pData, Content.data(), Content.size() ) == 0;
            Allocator.Free( pData );
            Model.Free( GetAddress( pData ) );
        }
        bRight = bRight && Model.Matches( Allocator );
    }
    REQUIRE( bRight );
}

TEST_CASE( "CZanFixedAllocator serves several threads", "[allocator][fixed_allocator]" )
{
    CZanFixedAllocator Allocator( 100000 );
    for ( int32 Round = 0; Round < 1000; ++Round ) // short ones, so that both threads run at once
    {
        RunOnTwoThreads( [ & ]( int32 ) {
            for ( uint32 i = 0; i < 20; ++i )
            {
                void* const pBlocks[] = { Allocator.Allocate( i, 8 ), Allocator.Allocate( 40, 1 ) };
                std::memset( pBlocks[ 1 ], 1, 40 );
                Allocator.Free( pBlocks[ 0 ] );
                Allocator.Free( pBlocks[ 1 ] );
            }
        } );
    }
    REQUIRE( ( Allocator.CheckInvariants() && Allocator.CalcFreeRangeCount() == 1 ) );
    REQUIRE( Allocator.GetAllocationCount() == 0 );
}

#if defined( ZAN_CHECK_PRECONDITIONS )

TEST_CASE( "CZanFixedAllocator reports what it cannot free", "[allocator][fixed_allocator]" )
{
    CLogCapture Log;
    CZanFixedAllocator Allocator( 256 );
    void* const pBlock = Allocator.Allocate( 20, 1 );
    Allocator.Free( pBlock );
    Allocator.Free( pBlock );
    Allocator.Free( &Log );
    REQUIRE(
        Log.GetOnlyMessage() == "Assertion failed: Free of a pointer that is no block of this allocator\n" );
    REQUIRE( ( Allocator.CheckInvariants() && Allocator.GetAllocationCount() == 0 ) );
}

#endif
