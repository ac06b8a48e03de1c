#include "zan_core/views/zan_bit.h"
#include "zan_test/include/zan_test_catch.h"

#include <array>
#include <limits>

using namespace ZanStd;

// Up to the last case, one or two constant expressions each; that one has all values that matter.

namespace
{
constexpr uint8 operator""_8( unsigned long long Value ) { return static_cast<uint8>( Value ); }
constexpr uint16 operator""_16( unsigned long long Value ) { return static_cast<uint16>( Value ); }
} // namespace

TEST_CASE( "bit_cast", "[bit]" )
{
    STATIC_REQUIRE( ( bit_cast<float>( 0x3F800000u ) == 1.0f && bit_cast<uint64>( 1.0 ) == 0x3FFull << 52 ) );
    STATIC_REQUIRE(
        bit_cast<std::array<uint32, 2>>( std::array{ 1.0f, 0.0f } ) == std::array{ 0x3F800000u, 0u } );
}

TEST_CASE( "byteswap", "[bit]" )
{
    STATIC_REQUIRE(
        ( byteswap( 0x17_8 ) == 0x17 && byteswap( int8{ -0x80 } ) == -0x80 && byteswap( true ) ) );
    STATIC_REQUIRE( ( byteswap( 0x1234_16 ) == 0x3412 && byteswap( int16{ 0x7FFF } ) == -0x0081 ) );
    STATIC_REQUIRE( ( byteswap( 0x12345678u ) == 0x78563412u && byteswap( -0x12345678 ) == -0x77563413 ) );
    STATIC_REQUIRE( byteswap( 0x123456789ABCDEF0ull ) == 0xF0DEBC9A78563412ull );
    STATIC_REQUIRE( ( byteswap( 0x7FFFFFFFFFFFFFFFll ) == -0x81ll && byteswap( u'\x1234' ) == u'\x3412' ) );
}

TEST_CASE( "has_single_bit", "[bit]" ) { STATIC_REQUIRE( has_single_bit( 8_8 ) > has_single_bit( 0_8 ) ); }

TEST_CASE( "bit_ceil", "[bit]" ) { STATIC_REQUIRE( ( bit_ceil( 3_8 ) == 4 && bit_ceil( 0x81_8 ) == 0 ) ); }

TEST_CASE( "bit_floor", "[bit]" ) { STATIC_REQUIRE( ( bit_floor( 0_8 ) == 0 && bit_floor( 9_8 ) == 8 ) ); }

TEST_CASE( "bit_width", "[bit]" ) { STATIC_REQUIRE( ( bit_width( 0_8 ) == 0 && bit_width( 9_8 ) == 4 ) ); }

TEST_CASE( "rotl", "[bit]" )
{
    STATIC_REQUIRE(
        ( rotl( 0xAB_8, 1 ) == 0x57 && rotl( 0xAB_8, 11 ) == 0x5D && rotl( 0xAB_8, -11 ) == 0x75 ) );
    STATIC_REQUIRE( ( rotl( 0xABCD_16, -19 ) == 0xB579 && rotl( 0xABCDEF01u, -35 ) == 0x3579BDE0u ) );
    STATIC_REQUIRE( rotl( 0xABCDEF0123456789ull, -67 ) == 0x3579BDE02468ACF1ull );
    STATIC_REQUIRE( rotl( 0xABCDEF01u, std::numeric_limits<int32>::min() ) == 0xABCDEF01u );
}

TEST_CASE( "rotr", "[bit]" )
{
    STATIC_REQUIRE( ( rotr( 0xAB_8, -1 ) == 0x57 && rotr( 0xAB_8, 9 ) == 0xD5 ) );
}

TEST_CASE( "countl_zero", "[bit]" ) { STATIC_REQUIRE( countl_zero( 0x18_8 ) == 3 ); }

TEST_CASE( "countl_one", "[bit]" ) { STATIC_REQUIRE( countl_one( 0xE7_8 ) == 3 ); }

TEST_CASE( "countr_zero", "[bit]" ) { STATIC_REQUIRE( countr_zero( 0_16 ) == 16 ); }

TEST_CASE( "countr_one", "[bit]" ) { STATIC_REQUIRE( countr_one( 0x7F_8 ) == 7 ); }

TEST_CASE( "popcount", "[bit]" ) { STATIC_REQUIRE( popcount( 0x66_8 ) == 4 ); }

TEMPLATE_TEST_CASE( "Bit operations at run time", "[bit]", uint8, uint16, uint32, uint64 )
{
    constexpr int32 Width = std::numeric_limits<TestType>::digits;
    // Each run of ones, and the same with a bit turned over.
    for ( int32 i = 0; i < Width * Width * Width; ++i )
    {
        const auto Ones = static_cast<TestType>( static_cast<TestType>( -1 ) >> i % Width );
        const auto Run = static_cast<TestType>( Ones << i / Width % Width );
        const auto Value = static_cast<TestType>( Run ^ TestType{ 1 } << i / Width / Width );
        const auto Complement = static_cast<TestType>( ~Value );
        int32 Count = 0, Highest = -1, Lowest = Width;
        for ( int32 j = 0; j < Width; ++j )
        {
            const bool bSet = ( Value >> j & 1 ) != 0;
            Count += bSet;
            Highest = bSet ? j : Highest;
            Lowest = bSet && Lowest == Width ? j : Lowest;
        }
        const int32 Leading = Width - 1 - Highest;
        const auto Floor = static_cast<TestType>( Highest < 0 ? 0 : TestType{ 1 } << Highest );
        const auto Ceil = static_cast<TestType>( Count == 0 ? 1 : Count == 1 ? Floor : Floor * 2 );
        bool bRight = popcount( Value ) == Count && has_single_bit( Value ) == ( Count == 1 );
        bRight = bRight && bit_width( Value ) == Highest + 1 && bit_floor( Value ) == Floor &&
                 bit_ceil( Value ) == Ceil;
        bRight = bRight && countl_zero( Value ) == Leading && countl_one( Complement ) == Leading;
        bRight = bRight && countr_zero( Value ) == Lowest && countr_one( Complement ) == Lowest;
        if ( !bRight || rotl( rotr( Value, i ), i - 3 * Width ) != Value ||
             byteswap( byteswap( Value ) ) != Value )
        {
            FAIL( +Value );
        }
    }
    SUCCEED();
}
