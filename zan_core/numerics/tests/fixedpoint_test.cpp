#include "zan_core/numerics/zan_fixed_point.h"

#include "zan_core/hashing/zan_hash.h"
#include "zan_core/numerics/zan_noise_random.h"
#include "zan_test/include/zan_test_catch.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <type_traits>
#include <vector>

namespace
{
__extension__ typedef __int128 CWide; // NOLINT: pedantic compilers want the old form

constexpr int64 Lowest = std::numeric_limits<int64>::min();
constexpr int64 Highest = std::numeric_limits<int64>::max();

template <typename T = CFixedPoint>
constexpr T Raw( int64 Underlying )
{
    return T( NFixedPoint::ConstructWithUnderlying, Underlying );
}

double GetDouble( CFixedPoint Value ) { return static_cast<double>( Value.GetUnderlying() ) / 100000.0; }

// --- The reference: the steps one by one, in 128 bits, cut to 64 at the end of each --------------

constexpr int64 Cut( CWide Value ) { return static_cast<int64>( static_cast<uint64>( Value ) ); }

int64 MultiplyExactly( int64 A, int64 B )
{
    const CWide FromFraction = CWide( A ) * ( B % 100000 );
    return FromFraction == Cut( FromFraction )
               ? Cut( CWide( A ) * B / 100000 )
               : Cut( CWide( A ) * ( B / 100000 ) + Cut( FromFraction ) / 100000 );
}

int64 DivideExactly( int64 A, int64 B )
{
    const CWide Scaled = CWide( A ) * 100000, Fraction = A % 100000;
    return B == 0                    ? 0xFFFFFFFF
           : Scaled == Cut( Scaled ) ? Cut( Scaled / B )
           : std::abs( B / 100000 ) < 100000
               ? Cut( ( Scaled - Fraction * 100000 ) / B + Fraction * 100000 / B )
               : A / ( B / 100000 );
}

// --- Operands ----------------------------------------------------------------------------------------------

constexpr SNoiseRandom SampleRandom{ 0xEDE419C6, 0 };

/// Both sides of every threshold, and random values of all magnitudes; always the same.
std::vector<int64> MakeOperands( size_t RandomCount )
{
    std::vector<int64> Operands = { 0, Lowest, Highest };
    for ( const int64 Edge : { int64( 1 ), int64( 10000 ), int64( 99999 ), int64( 157080 ), int64( 314159 ),
              int64( 596191598 ), int64( 3000000000 ), int64( 3037000499 ), int64( 9999999999 ),
              int64( 92233720368547 ), int64( 92233720368547758 ), Highest - 1 } )
    {
        Operands.insert( Operands.end(), { Edge, -Edge, Edge + 1, -Edge - 1 } );
    }
    SNoiseRandom Random = SampleRandom;
    for ( size_t i = 0; i < RandomCount; ++i )
    {
        const int64 Bits = static_cast<int64>( Random.DrawUint64() << 1 ); // with either sign
        Operands.push_back( Bits >> Random.DrawInRange( 0, 61 ) );
    }
    return Operands;
}

template <typename TCheck>
void ForAllPairs( const TCheck& Check )
{
    for ( const int64 A : MakeOperands( 500 ) )
    {
        for ( const int64 B : MakeOperands( 200 ) )
        {
            CAPTURE( A, B );
            Check( A, B );
        }
    }
}

/// Values from Low to High, both with decimals that no table would pick.
std::vector<CFixedPoint> MakeSamples( double Low, double High )
{
    SNoiseRandom Random = SampleRandom;
    std::vector<CFixedPoint> Samples( 1000 );
    for ( CFixedPoint& Sample : Samples )
    {
        Sample = Low + ( High - Low ) * static_cast<double>( Random.DrawFloat() );
    }
    return Samples;
}

/// A hash of what the function gives at every threshold and for both signs of all magnitudes.
uint32 HashResults( CFixedPoint ( CFixedPoint::*Function )() const )
{
    std::vector<int64> Operands = MakeOperands( 0 );
    for ( int64 X = 1; X < Highest / 4 * 3; X += X / 8 + 1 )
    {
        Operands.insert( Operands.end(), { X, -X } );
    }
    for ( int64& X : Operands )
    {
        X = ( Raw( X ).*Function )().GetUnderlying();
    }
    return Zan::HashRange( Operands.begin(), Operands.end() );
}

template <typename TLeft, typename TRight>
constexpr bool bCanAdd = std::is_invocable_v<std::plus<>, TLeft, TRight>;
} // namespace

// Constants come from the same functions, and no two types mix by accident.
static_assert( ( 1_fixed ).Exp().GetUnderlying() == 271824 && ( 100_fixed ).Log10().GetRounded() == 2 );
static_assert( ( 4_fixed ).SafeSqrt().GetRounded() == 2 && ( 0_fixed ).Sin() == 0 && 2 / 4_fixed == 0.5 );
static_assert( ( 2_fixed ).Pow( -3 ).GetRounded() == 0 && Raw( Lowest ) / Raw( -1 ) == 0 );
static_assert( bCanAdd<CFixedPoint, double> && bCanAdd<uint8, fixed_int64> && !bCanAdd<CFixedPoint, bool> );
static_assert( !bCanAdd<CFixedPoint, fixed_int64> && !std::is_convertible_v<fixed_int64, CFixedPoint> );
static_assert( !bCanAdd<CFixedPoint, long double> && !std::is_constructible_v<CFixedPoint, const char*> );
static_assert( fixed_int64( -0.5_fixed ) == -0.5 && CFixedPoint( 1e308 ) == Raw( Highest ) );

TEST_CASE( "FixedPoint Resolution", "[fixedpoint]" )
{
    REQUIRE( CFixedPoint::CreateFixedWithUnderlyingValue( NFixedPoint::Resolution ) == 1 );
    REQUIRE( fixed_int64::CreateFixedWithUnderlyingValue( -NFixedPoint::Resolution ) == -1 );
    REQUIRE( ( CFixedPoint( 1 ) / NFixedPoint::Resolution ) * NFixedPoint::Resolution == 1 );

    SECTION( "integers" )
    {
        REQUIRE( fixed_int64( 2000000000 ).GetUnderlying() == 200000000000000 );
        REQUIRE( CFixedPoint( int8( -128 ) ).GetUnderlying() == -12800000 );
        REQUIRE( CFixedPoint( std::numeric_limits<uint64>::max() ) == -1 ); // wraps
        REQUIRE( CFixedPoint( Lowest ) == 0 );
    }
    SECTION( "floats" )
    {
        REQUIRE( ( CFixedPoint( 0.7f ) == Raw( 70000 ) && CFixedPoint( -1.25f ) == Raw( -125000 ) ) );
        REQUIRE( ( CFixedPoint( -0.000015 ) == Raw( -1 ) && CFixedPoint( -0.000016 ) == Raw( -2 ) ) );
        REQUIRE( ( CFixedPoint( 16777217.0f ) == 16777216 && ( 0.25_fixed ).GetFloat() == 0.25f ) );
        REQUIRE( ( CFixedPoint( std::nan( "" ) ) == 0 && fixed_int64( std::nanf( "" ) ) == 0 ) );
        for ( const double Beyond : { 92233720368547.765, 1e14, std::numeric_limits<double>::infinity() } )
        {
            const float Float = static_cast<float>( Beyond );
            REQUIRE( ( CFixedPoint( Beyond ) == Raw( Highest ) && CFixedPoint( -Beyond ) == Raw( Lowest ) ) );
            REQUIRE( ( CFixedPoint( Float ) == Raw( Highest ) && CFixedPoint( -Float ) == Raw( Lowest ) ) );
        }
    }
    SECTION( "literals" )
    {
        REQUIRE( ( 32.123_fixed == Raw( 3212300 ) && -32.5_fixed == Raw( -3250000 ) ) );
        REQUIRE( ( 32_fixed == Raw( 3200000 ) && 0_fixed == Raw( 0 ) && .00001_fixed == Raw( 1 ) ) );
        REQUIRE( ( 5._fixed == Raw( 500000 ) && 010.5_fixed == Raw( 1050000 ) ) );
        REQUIRE( 92'233'720'368'547.758'07_fixed == Raw( Highest ) );
    }
    SECTION( "limits" )
    {
        using CLimits = std::numeric_limits<const CFixedPoint>;
        REQUIRE(
            ( CLimits::is_specialized && CLimits::is_signed && CLimits::is_exact && CLimits::is_bounded ) );
        REQUIRE( ( CLimits::min() == Raw( Lowest ) && CLimits::lowest() == Raw( Lowest ) ) );
        REQUIRE( ( CLimits::max() == Raw( Highest ) && CLimits::epsilon() == 0.00001_fixed ) );
    }
}

TEST_CASE( "FixedPoint Rounding", "[fixedpoint]" )
{
    REQUIRE( ( ( .7_fixed ).GetRounded() == 1 && ( -.5_fixed ).GetRounded() == -1 ) ); // the samples say more
    REQUIRE( CFixedPoint( int64( 1 ) << 32 ).GetRounded() == 0 );                      // the low 32 bits
    REQUIRE( ( CFixedPoint( int64( 1 ) << 32 ) + 7.5 ).GetFloor() == 7 );
    REQUIRE( ( CFixedPoint( -( int64( 1 ) << 32 ) ) - 7.5 ).GetCeiling() == -7 );
}

TEST_CASE( "FixedPoint OverflowSafe Division", "[fixedpoint]" )
{
    REQUIRE( Raw<fixed_int64>( 3518437208883100000 ) / Raw<fixed_int64>( -477768588594236149 ) ==
             Raw<fixed_int64>( -736431 ) ); // the pairs below say more
}

TEST_CASE( "FixedPoint Division Overflow", "[fixedpoint]" )
{
    REQUIRE( fixed_int64( int64( 35184372088831 ) ) / .5f == fixed_int64( int64( 70368744177662 ) ) );
    REQUIRE( fixed_int64( int64( 17592186044415 ) ) / 0.25 == fixed_int64( int64( 70368744177660 ) ) );
    REQUIRE( Raw( Lowest ) / 0 == 42949.67295_fixed );
    ForAllPairs( []( int64 A, int64 B ) {
        REQUIRE( ( Raw( A ) / Raw( B ) ).GetUnderlying() == DivideExactly( A, B ) );
    } );
}

TEST_CASE( "FixedPoint Multiplication", "[fixedpoint]" )
{
    REQUIRE(
        Raw<fixed_int64>( -53299958 ) * Raw<fixed_int64>( -49993665 ) == Raw<fixed_int64>( 26646602447 ) );
    REQUIRE( ( Raw( 17623 ) * Raw( 497 ) == Raw( 87 ) && Raw( 497 ) * Raw( 17623 ) == Raw( 87 ) ) );
    ForAllPairs( []( int64 A, int64 B ) {
        REQUIRE( ( Raw( A ) * Raw( B ) ).GetUnderlying() == MultiplyExactly( A, B ) );
    } );
}

TEST_CASE( "FixedPoint Rounding Sampled", "[fixedpoint]" )
{
    for ( const int32 Base : { 0, 1, -1, 5, -5, 20000, -20000, 2147483000, -2147483000 } )
    {
        for ( int64 d = -100000; d <= 100000; d += ( d + 200050 ) % 50000 < 100 ? 1 : 97 )
        {
            const CFixedPoint Value = Base + Raw( d );
            const double Double = GetDouble( Value );
            CAPTURE( Value );
            REQUIRE( Value.HasDecimals() == ( d % 100000 != 0 ) );
            REQUIRE( (
                Value.GetTruncated() == std::trunc( Double ) && Value.GetFloor() == std::floor( Double ) ) );
            REQUIRE(
                ( Value.GetCeiling() == std::ceil( Double ) && Value.GetRounded() == std::round( Double ) ) );
        }
    }
}

TEST_CASE( "FixedPoint RoundTo", "[fixedpoint]" )
{
    const struct
    {
        CFixedPoint Value, Step, Rounded;
        int64 Count;
    } Cases[] = { { 1.3_fixed, 0.5_fixed, 1.5_fixed, 3 }, { 1.25_fixed, 0.5_fixed, 1.5_fixed, 3 },
        { -1.25_fixed, 0.5_fixed, -1.5_fixed, -3 }, { 1.2499_fixed, 0.5_fixed, 1_fixed, 2 },
        { -1.25_fixed, -0.5_fixed, -1.5_fixed, -3 }, { 3.7_fixed, 0, 3.7_fixed, 0 },
        { 5_fixed, Raw( Lowest ), 0, 0 }, { 1_fixed, 3_fixed, 0, 0 } };
    for ( auto [ Value, Step, Rounded, Count ] : Cases )
    {
        CAPTURE( Value, Step );
        REQUIRE( ( Value.RoundTo( Step ) == Count && Value == Rounded ) );
    }
}

TEST_CASE( "FixedPoint RoundTo Sampled", "[fixedpoint]" )
{
    for ( const CFixedPoint Sample : MakeSamples( 0, 1 ) )
    {
        CFixedPoint Value = Sample;
        REQUIRE( ( Value.RoundTo( 1 ) == Sample.GetRounded() && Value == Sample.GetRounded() ) );
        Value = Sample;
        REQUIRE( ( Value.RoundTo( 0.00001_fixed ) == Sample.GetUnderlying() && Value == Sample ) );
    }
}

TEST_CASE( "FixedPoint Trigonometry", "[fixedpoint]" )
{
    REQUIRE( ( 0_fixed ).Sin() == 0 );
    REQUIRE( ( 1.5708_fixed ).Sin() == 1.00453_fixed ); // what three terms give
    REQUIRE( ( 0_fixed ).Cos() == 1.00453_fixed );
    REQUIRE( ( 3.14159_fixed ).Sin() == 0.00001_fixed ); // mirrored at the greater pi
    REQUIRE( ( 3.1416_fixed ).Sin() == -0.00001_fixed ); // folded by the smaller one
    REQUIRE( ( ( 1_fixed ).Exp() == 2.71824_fixed && ( 0_fixed ).Exp() == 1 ) );
    for ( const CFixedPoint NoLog : { 1_fixed, 0_fixed, -0.00001_fixed, Raw( Lowest ) } )
    {
        REQUIRE( ( NoLog.Log() == 0 && NoLog.Log10() == 0 ) );
    }
    REQUIRE( ( AlmostEqual( ( 10_fixed ).Log10(), 1 ) && AlmostEqual( ( 100_fixed ).Log10(), 2 ) ) );
}

TEST_CASE( "FixedPoint Trigonometry Sampled", "[fixedpoint]" )
{
    for ( const CFixedPoint X : MakeSamples( -2, 2 ) )
    {
        CAPTURE( X );
        const double Double = GetDouble( X );
        REQUIRE(
            ( AlmostEqual( X.Sin(), std::sin( Double ) ) && AlmostEqual( X.Cos(), std::cos( Double ) ) ) );
        REQUIRE(
            ( AlmostEqual( X.Exp(), std::exp( Double ), 0.02 ) && AlmostEqual( X.Exp().Log(), X, 0.04 ) ) );
    }
}

TEST_CASE( "FixedPoint Sqrt", "[fixedpoint]" )
{
    for ( const double Root : { 0., .1, 1., 2., 10. } )
    {
        const CFixedPoint Value = Root * Root;
        REQUIRE( ( AlmostEqual( Value.Sqrt(), Root ) && AlmostEqual( Value.SafeSqrt(), Root ) ) );
    }
    REQUIRE( ( ( 0_fixed ).Sqrt() == 0 && ( 0.00001_fixed ).Sqrt() == 0 && ( -4_fixed ).SafeSqrt() == 0 ) );
    REQUIRE( ( 0.00001_fixed ).SafeSqrt() >= 0.00001_fixed );
    REQUIRE( ( ( 30000_fixed ).TooBigToSqrt() && !( 29999.99999_fixed ).TooBigToSqrt() ) );
    REQUIRE( AlmostEqual( ( 10000000000_fixed ).SafeSqrt() / 100000, 1 ) );
}

TEST_CASE( "FixedPoint Pow", "[fixedpoint]" )
{
    REQUIRE( ( CFixedPoint( 1 ).Pow( 1 ) == 1 && CFixedPoint( 2 ).Pow( 0 ) == 1 ) );
    const double Powers[][ 3 ] = { { 0.00001, 0, 1 }, { 0.5, 2, 0.25 }, { 0.1, 2, 0.01 }, { 2, 2, 4 },
        { -2, 2, 4 }, { 2, -2, 0.25 }, { -2, -2, 0.25 }, { 2, -3, 0.125 }, { -2, -3, -0.125 }, { 4, 0.5, 2 },
        { 4, -1, 0.25 }, { 10000, 0, 1 }, { 0, 5, 1 }, { -2, 1.5, 2.828 } };
    for ( const auto& [ Base, Exponent, Power ] : Powers )
    {
        CAPTURE( Base, Exponent );
        REQUIRE( AlmostEqual( CFixedPoint( Base ).Pow( Exponent ), Power ) );
    }
    REQUIRE(
        ( AlmostEqual( ( -2_fixed ).Pow( 4 ), 16, 0.1 ) && AlmostEqual( ( -2_fixed ).Pow( 3 ), -8, 0.1 ) ) );
}

TEST_CASE( "FixedPoint Pow Sampled", "[fixedpoint]" )
{
    for ( const CFixedPoint X : MakeSamples( -10, 10 ) )
    {
        CAPTURE( X );
        REQUIRE( ( AlmostEqual( X.Pow( 0 ), 1 ) && AlmostEqual( CFixedPoint( 1 ).Pow( X ), 1 ) ) );
        REQUIRE( AlmostEqual( ( X.Abs() + 1 ).Pow( 1.5 ), std::pow( GetDouble( X.Abs() + 1 ), 1.5 ), 0.1 ) );
    }
}

TEST_CASE( "fixed_int64 Equality Comparison", "[fixedpoint]" )
{
    REQUIRE( !( fixed_int64( 5528.94464 ) == 2000000000 ) );
    REQUIRE( !( fixed_int64( -10182.67296 ) == static_cast<int16>( 32767 ) ) );
    REQUIRE( ( fixed_int64( 7 ) == 7u && 7.0f == fixed_int64( 7 ) && fixed_int64( 7 ) != 7.5 ) );
    const fixed_int64 Below = Raw<fixed_int64>( Lowest );
    REQUIRE(
        ( Below < -1 && Below <= Below && !( Below < Below ) && 1 > Below && 1 >= Below && Below != 1 ) );
    REQUIRE( ( AlmostEqual( 0.00999_fixed, 0 ) && !AlmostEqual( 0.01_fixed, 0 ) ) );
    REQUIRE( std::max<fixed_int64>( Below, 2 ) == std::clamp<fixed_int64>( 3, Below, 2 ) );
}

TEMPLATE_TEST_CASE( "FixedPoint Operands", "[fixedpoint]", int8, uint8, int16, uint16, int32, uint32, int64,
    uint64, long long, float, double )
{
    const auto Check = []<typename TFixed>( TFixed Value ) {
        const TestType Two = 2;
        REQUIRE( ( Value + Two == 9.5 && Two + Value == 9.5 && Value - Two == 5.5 && Two - Value == -5.5 ) );
        REQUIRE( ( Value * Two == 15 && Two * Value == 15 && Value / Two == 3.75 &&
                   Two / Value == TFixed( 0.26666_fixed ) ) );
        REQUIRE( ( Two < Value && Value > Two && Two != Value && Value != Two && Two == TFixed( 2 ) ) );
        REQUIRE( ( ( Value += Two ) == 9.5 && ( Value -= Two ) == 7.5 && ( Value *= Two ) == 15 ) );
        REQUIRE( ( ( Value /= Two ) == 7.5 && +Value == 7.5 && -Value == -7.5 && ( -Value ).Abs() == 7.5 ) );
        REQUIRE( ( Value -= Value ) == 0 );
    };
    Check( 7.5_fixed );
    Check( fixed_int64( 7.5 ) );
}

TEST_CASE( "FixedPoint Text And Hash", "[fixedpoint]" )
{
    REQUIRE( Catch::Detail::stringify( Raw( Lowest ) ) == "-92233720368547.75808" ); // the longest
    REQUIRE( Catch::Detail::stringify( Raw<fixed_int64>( -3202000 ) ) == "-32.02" );
    REQUIRE(
        ( ZanHash( 0.5_fixed ) == ZanHash( Raw( 50000 ) ) && ZanHash( 0.5_fixed ) != ZanHash( 5_fixed ) ) );
    REQUIRE( std::hash<CFixedPoint>()( 2 ) != std::hash<CFixedPoint>()( 3 ) );
    REQUIRE( std::hash<fixed_int64>()( 2 ) == std::hash<fixed_int64>()( 2.0 ) );
}

TEST_CASE( "FixedPoint Over The Whole Range", "[fixedpoint]" )
{
    // Machines in lockstep need the same bits: those of the steps in 128 bits, each cut to 64.
    REQUIRE( HashResults( &CFixedPoint::Sin ) == 1283229563 );
    REQUIRE( HashResults( &CFixedPoint::Cos ) == 3370682359 );
    REQUIRE( HashResults( &CFixedPoint::Exp ) == 2963828906 );
    REQUIRE( HashResults( &CFixedPoint::Log ) == 1723890732 );
    REQUIRE( HashResults( &CFixedPoint::Sqrt ) == 3210317529 );
    REQUIRE( HashResults( &CFixedPoint::SafeSqrt ) == 3301811789 );

    const std::vector<int64> Operands = MakeOperands( 100 );
    for ( size_t i = 0; i < Operands.size(); ++i )
    {
        const int64 A = Operands[ i ], B = Operands[ Operands.size() - 1 - i ];
        const CFixedPoint X = Raw( A );
        CAPTURE( A, B );
        const int64 Power = ( Raw( B ) * X.Abs().Log() ).Exp().GetUnderlying();
        const bool bIsNegative = A < 0 && B % 100000 == 0 && B / 100000 % 2 != 0;
        REQUIRE( X.Pow( Raw( B ) ).GetUnderlying() == ( bIsNegative ? Cut( -CWide( Power ) ) : Power ) );
        REQUIRE( ( X + Raw( B ) ).GetUnderlying() == Cut( CWide( A ) + B ) );
        REQUIRE( ( X - Raw( B ) ).GetUnderlying() == Cut( CWide( A ) - B ) );
        REQUIRE( ( -X ).GetUnderlying() == Cut( -CWide( A ) ) );
        REQUIRE(
            X.GetRounded() == static_cast<int32>( Cut( CWide( A ) + ( A < 0 ? -50000 : 50000 ) ) / 100000 ) );
        REQUIRE( ( X.GetTruncated() == X.GetFloor() || X.GetTruncated() == X.GetCeiling() ) );

        const CWide Difference = CWide( A ) > B ? CWide( A ) - B : CWide( B ) - A;
        REQUIRE( AlmostEqual( X, Raw( B ) ) == ( Difference < 1000 ) );
        REQUIRE( AlmostEqual( X, Raw( B ), Raw( Highest ) ) == ( Difference < Highest ) );
        REQUIRE( !AlmostEqual( X, X, -X.Abs() ) );

        CFixedPoint Rounded = X;
        const int64 Count = Rounded.RoundTo( Raw( B ) );
        const CWide Step = B == Lowest ? CWide( B ) : CWide( B < 0 ? -B : B );
        REQUIRE( ( B == 0 ? Count == 0 && Rounded == X : Rounded.GetUnderlying() == Cut( Step * Count ) ) );
    }
}
