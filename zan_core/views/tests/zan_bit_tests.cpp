#include "zan_core/views/zan_bit.h"
#include "zan_test/include/zan_test_catch.h"

#include <array>
#include <limits>
#include <type_traits>

using namespace ZanStd;

// The values here are constant expressions. The last case is for run time.

namespace
{
constexpr uint8 operator""_8( unsigned long long Value ) { return static_cast<uint8>( Value ); }
constexpr uint16 operator""_16( unsigned long long Value ) { return static_cast<uint16>( Value ); }

/// A constant expression that has the value and type of Expected.
template <typename T>
constexpr bool Is( T Value, std::type_identity_t<T> Expected )
{
    return Value == Expected;
}
} // namespace

TEST_CASE( "bit_cast", "[bit]" )
{
    STATIC_REQUIRE( ( bit_cast<float>( 0x3F800000u ) == 1.0f && bit_cast<uint32>( 1.0f ) == 0x3F800000u ) );
    STATIC_REQUIRE( bit_cast<double>( 0x3FF0000000000000ull ) == 1.0 );
    STATIC_REQUIRE( bit_cast<uint64>( 1.0 ) == 0x3FF0000000000000ull );
    struct SPair
    {
        float _Left, _Right;
    };
    constexpr float Values[] = { 1.5f, -2.0f, 3.25f, 0.0f };
    constexpr auto Pairs = bit_cast<std::array<SPair, 2>>( Values );
    STATIC_REQUIRE( ( Pairs[ 0 ]._Right == -2.0f && Pairs[ 1 ]._Left == 3.25f ) );
    STATIC_REQUIRE( bit_cast<std::array<float, 4>>( Pairs ) == std::array{ 1.5f, -2.0f, 3.25f, 0.0f } );
}

TEST_CASE( "byteswap", "[bit]" )
{
    STATIC_REQUIRE( ( Is( byteswap( 0x17_8 ), 0x17 ) && Is( byteswap( int8{ -0x80 } ), -0x80 ) ) );
    STATIC_REQUIRE( ( Is( byteswap( 0x1234_16 ), 0x3412 ) && byteswap( 0x12345678u ) == 0x78563412u ) );
    STATIC_REQUIRE( byteswap( 0x123456789ABCDEF0ull ) == 0xF0DEBC9A78563412ull );
    STATIC_REQUIRE(
        ( Is( byteswap( int16{ 0x7FFF } ), -0x0081 ) && Is( byteswap( int16{ -0x8000 } ), 0x80 ) ) );
    STATIC_REQUIRE( byteswap( std::numeric_limits<int32>::min() ) == 0x80 );
    STATIC_REQUIRE( byteswap( int32{ -0x12345678 } ) == -0x77563413 );
    STATIC_REQUIRE( byteswap( 0x7FFFFFFFFFFFFFFFll ) == -0x81ll );
    STATIC_REQUIRE( ( byteswap( true ) && !byteswap( false ) && byteswap( 'a' ) == 'a' ) );
    STATIC_REQUIRE(
        ( byteswap( u'\x1234' ) == u'\x3412' && byteswap( char32_t{ 0x12345678 } ) == 0x78563412 ) );
    STATIC_REQUIRE( byteswap( byteswap( L'\x1234' ) ) == L'\x1234' );
}

TEST_CASE( "has_single_bit", "[bit]" )
{
    STATIC_REQUIRE( ( has_single_bit( 0x01_8 ) && has_single_bit( 0x08_8 ) && has_single_bit( 0x80_8 ) ) );
    STATIC_REQUIRE( !( has_single_bit( 0x00_8 ) || has_single_bit( 0x03_8 ) || has_single_bit( 0xFF_8 ) ) );
    STATIC_REQUIRE( ( has_single_bit( uint64{ 1 } << 63 ) && !has_single_bit( ~uint64{ 0 } ) ) );
}

TEST_CASE( "bit_ceil", "[bit]" )
{
    STATIC_REQUIRE( ( Is( bit_ceil( 0_8 ), 1 ) && Is( bit_ceil( 1_8 ), 1 ) && Is( bit_ceil( 2_8 ), 2 ) ) );
    STATIC_REQUIRE(
        ( Is( bit_ceil( 3_8 ), 4 ) && Is( bit_ceil( 0x40_8 ), 0x40 ) && bit_ceil( 0x7F_8 ) == 0x80 ) );
    STATIC_REQUIRE( ( bit_ceil( 0x303030u ) == 0x400000u && bit_ceil( 0x7FFFFFFFu ) == 0x80000000u ) );
    STATIC_REQUIRE( ( bit_ceil( 0x81_8 ) == 0 && bit_ceil( 0x8001_16 ) == 0 && bit_ceil( ~0u ) == 0 ) );
    STATIC_REQUIRE( ( bit_ceil( ~0ull ) == 0 && bit_ceil( ( 1ull << 62 ) + 1 ) == 1ull << 63 ) );
}

TEST_CASE( "bit_floor", "[bit]" )
{
    STATIC_REQUIRE( ( Is( bit_floor( 0_8 ), 0 ) && Is( bit_floor( 3_8 ), 2 ) && Is( bit_floor( 9_8 ), 8 ) ) );
    STATIC_REQUIRE( ( Is( bit_floor( 0x7F_8 ), 0x40 ) && Is( bit_floor( 0xB3_8 ), 0x80 ) ) );
}

TEST_CASE( "bit_width", "[bit]" )
{
    STATIC_REQUIRE( ( Is( bit_width( 0_8 ), 0 ) && Is( bit_width( 0xFF_8 ), 8 ) && bit_width( 1_8 ) == 1 ) );
    STATIC_REQUIRE( ( bit_width( 0x42_8 ) == 7 && bit_width( 0x18_8 ) == 5 && bit_width( ~0ull ) == 64 ) );
}

TEST_CASE( "rotl", "[bit]" )
{
    STATIC_REQUIRE( ( Is( rotl( 0xAB_8, 1 ), 0x57 ) && Is( rotl( 0xAB_8, 4 ), 0xBA ) ) );
    STATIC_REQUIRE(
        ( rotl( 0xAB_8, 11 ) == 0x5D && rotl( 0xAB_8, -1 ) == 0xD5 && rotl( 0xAB_8, 0 ) == 0xAB ) );
    STATIC_REQUIRE( ( rotl( 0xAB_8, -11 ) == 0x75 && Is( rotl( 0xABCD_16, -19 ), 0xB579 ) ) );
    STATIC_REQUIRE( rotl( 0xABCDEF01u, -35 ) == 0x3579BDE0u );
    STATIC_REQUIRE( rotl( 0xABCDEF0123456789ull, -67 ) == 0x3579BDE02468ACF1ull );
    STATIC_REQUIRE( rotl( 0xABCDEF01u, std::numeric_limits<int32>::min() ) == 0xABCDEF01u );
}

TEST_CASE( "rotr", "[bit]" )
{
    STATIC_REQUIRE( ( Is( rotr( 0xAB_8, -1 ), 0x57 ) && Is( rotr( 0xAB_8, 1 ), 0xD5 ) ) );
    STATIC_REQUIRE( rotr( 0xABCDEF0123456789ull, 67 ) == 0x3579BDE02468ACF1ull );
}

TEST_CASE( "countl_zero", "[bit]" )
{
    STATIC_REQUIRE(
        ( Is( countl_zero( 0_8 ), 8 ) && countl_zero( 0x80_8 ) == 0 && countl_zero( 1_8 ) == 7 ) );
    STATIC_REQUIRE(
        ( countl_zero( 0x42_8 ) == 1 && countl_zero( 0x18_8 ) == 3 && countl_zero( 0ull ) == 64 ) );
}

TEST_CASE( "countl_one", "[bit]" )
{
    STATIC_REQUIRE(
        ( Is( countl_one( 0xFF_8 ), 8 ) && countl_one( 0xFE_8 ) == 7 && countl_one( 0x7F_8 ) == 0 ) );
    STATIC_REQUIRE( ( countl_one( 0xBD_8 ) == 1 && countl_one( 0xE7_8 ) == 3 && countl_one( ~0ull ) == 64 ) );
}

TEST_CASE( "countr_zero", "[bit]" )
{
    STATIC_REQUIRE(
        ( Is( countr_zero( 0_8 ), 8 ) && countr_zero( 0x80_8 ) == 7 && countr_zero( 0_16 ) == 16 ) );
    STATIC_REQUIRE( ( countr_zero( 0x42_8 ) == 1 && countr_zero( 0x18_8 ) == 3 ) );
}

TEST_CASE( "countr_one", "[bit]" )
{
    STATIC_REQUIRE(
        ( Is( countr_one( 0xFF_8 ), 8 ) && countr_one( 0x7F_8 ) == 7 && countr_one( ~0u ) == 32 ) );
}

TEST_CASE( "popcount", "[bit]" )
{
    STATIC_REQUIRE( ( Is( popcount( 0_8 ), 0 ) && popcount( 0xFF_8 ) == 8 && popcount( 0x66_8 ) == 4 ) );
    STATIC_REQUIRE( popcount( 0x8000000000000001ull ) == 2 );
}

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
        const auto Floor = static_cast<TestType>( Highest < 0 ? 0 : TestType{ 1 } << Highest );
        const auto Ceil = static_cast<TestType>( Count == 0 ? 1 : Count == 1 ? Floor : Floor * 2 );
        const bool bCounted = popcount( Value ) == Count && has_single_bit( Value ) == ( Count == 1 ) &&
                              bit_width( Value ) == Highest + 1 && bit_floor( Value ) == Floor &&
                              bit_ceil( Value ) == Ceil;
        const bool bRuns = countl_zero( Value ) == Width - 1 - Highest && countr_zero( Value ) == Lowest &&
                           countl_one( Complement ) == Width - 1 - Highest &&
                           countr_one( Complement ) == Lowest;
        const bool bMoved =
            rotl( rotr( Value, i ), i - 3 * Width ) == Value && byteswap( byteswap( Value ) ) == Value;
        if ( !( bCounted && bRuns && bMoved ) )
        {
            FAIL( +Value );
        }
    }
    SUCCEED();
}
