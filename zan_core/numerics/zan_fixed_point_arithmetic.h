#pragma once

#include "zan_core/zan_types.h"

#include <limits>
#include <type_traits>

/// The arithmetic of zan_fixed_point.h on underlying values: the value times 100000. Every function is
/// defined for all operands, gives the same bits on every machine, and ends. Which intermediate result is
/// truncated, and when, is part of each result: none of these formulas may be reordered.

namespace NFixedPoint
{
inline constexpr int32 NumDecimals = 5;
inline constexpr int64 Resolution = 100000; ///< The underlying value of 1.
} // namespace NFixedPoint

namespace NFixedPoint::NDetail
{
inline constexpr int64 LowestUnderlying = std::numeric_limits<int64>::min();
inline constexpr int64 HighestUnderlying = std::numeric_limits<int64>::max();
inline constexpr int64 QuotientByZero = 0xFFFFFFFF;

inline constexpr int64 TwoPi = 628319;
inline constexpr int64 Pi = 314159;
inline constexpr int64 PiOfMirror = 314160; // the mirror rounds pi up, the fold rounds it down
inline constexpr int64 HalfPi = 157080;
inline constexpr int64 EToThe8 = 298095799;
inline constexpr int64 InverseOfE = 36788;
inline constexpr int64 LogOf10 = 230259;
inline constexpr int64 TooBigToSqrt = 30000 * Resolution;

// --- Integers that wrap ------------------------------------------------------------------------------------

constexpr int64 AddWrapped( int64 Left, int64 Right )
{
    return static_cast<int64>( static_cast<uint64>( Left ) + static_cast<uint64>( Right ) );
}
constexpr int64 SubtractWrapped( int64 Left, int64 Right )
{
    return static_cast<int64>( static_cast<uint64>( Left ) - static_cast<uint64>( Right ) );
}
constexpr int64 MultiplyWrapped( int64 Left, int64 Right )
{
    return static_cast<int64>( static_cast<uint64>( Left ) * static_cast<uint64>( Right ) );
}
constexpr int64 Negate( int64 Value ) { return SubtractWrapped( 0, Value ); }

// --- Product and quotient ----------------------------------------------------------------------------------

/// Of operands whose product is beyond 64 bits. Out of line, as what follows: both are rare.
[[gnu::const, gnu::noinline]] constexpr int64 MultiplyWide( int64 Left, int64 Right )
{
    const int64 Whole = Right / Resolution;
    const int64 Fraction = Right - Whole * Resolution;
    return AddWrapped( MultiplyWrapped( Left, Whole ), MultiplyWrapped( Fraction, Left ) / Resolution );
}

/// Of a Left whose product with Resolution is beyond 64 bits. Requires a Right that is not 0.
[[gnu::const, gnu::noinline]] constexpr int64 DivideWide( int64 Left, int64 Right )
{
    constexpr int64 SplitLimit = 10000000000;
    if ( Right <= -SplitLimit || Right >= SplitLimit )
    {
        return Left / ( Right / Resolution );
    }
    // WholeLeft is a multiple of 5, which the lowest value is not: a Right of -1 has no overflow.
    const int64 WholeLeft = Left / Resolution * Resolution;
    const int64 FromFraction = ( Left - WholeLeft ) * Resolution / Right;
    const int64 FromRemainder = WholeLeft % Right * Resolution / Right;
    return AddWrapped(
        AddWrapped( FromFraction, FromRemainder ), MultiplyWrapped( WholeLeft / Right, Resolution ) );
}

__extension__ typedef __int128 CWideInteger; // NOLINT: no alias declaration takes the keyword

/// As long as the product fits 64 bits, truncating it once equals splitting Right into whole and fraction,
/// because both parts have its sign. So the operands need no look at their ranges.
constexpr int64 Multiply( int64 Left, int64 Right )
{
#if defined( __x86_64__ )
    // The instruction gives the product, the bits above it, which are its sign if it fits, and whether it
    // does. No expression makes compilers use all three, and a loop takes a quarter longer without. Constants
    // are better left to them.
    if ( !std::is_constant_evaluated() && !__builtin_constant_p( Left ) && !__builtin_constant_p( Right ) )
    {
        constexpr int64 Inverse = 0x29F16B11C6D1E109; // 2^78 / Resolution, rounded up: exact for 64 bits
        int64 Product = Left;
        int64 Sign = 0;
        bool bOverflow = false;
        asm( "imulq %3" : "+a"( Product ), "=d"( Sign ), "=@cco"( bOverflow ) : "r"( Right ) );
        if ( bOverflow ) [[unlikely]]
        {
            return MultiplyWide( Left, Right );
        }
        return static_cast<int64>( static_cast<CWideInteger>( Product ) * Inverse >> 78 ) - Sign;
    }
#endif
    int64 Product = 0;
    if ( __builtin_mul_overflow( Left, Right, &Product ) ) [[unlikely]]
    {
        return MultiplyWide( Left, Right );
    }
    return Product / Resolution;
}

constexpr int64 Divide( int64 Left, int64 Right )
{
    if ( Right == 0 ) [[unlikely]]
    {
        return QuotientByZero;
    }
    int64 Dividend = 0;
    if ( __builtin_mul_overflow( Left, Resolution, &Dividend ) ) [[unlikely]]
    {
        return DivideWide( Left, Right );
    }
    return Dividend / Right; // a multiple of 5, see above
}

// --- Binary fractions --------------------------------------------------------------------------------------

/// Stops g++ from joining a product and the sum behind it to one operation, which rounds once instead of
/// twice, on machines that have it. clang++ joins within one expression only.
template <typename TFloat>
constexpr TFloat RoundHere( TFloat Product )
{
#if defined( __GNUC__ ) && !defined( __clang__ )
    return __builtin_assoc_barrier( Product );
#else
    return Product;
#endif
}

template <typename TFloat>
constexpr int64 FromFloat( TFloat Value )
{
    constexpr TFloat BeyondAll = 1e14f; // where the product below may still be formed
    if ( Value != Value )
    {
        return 0;
    }
    if ( Value >= BeyondAll || Value <= -BeyondAll )
    {
        return Value < 0 ? LowestUnderlying : HighestUnderlying;
    }
    const TFloat Product = RoundHere( Value * static_cast<TFloat>( Resolution ) );
    const TFloat Scaled = Product + static_cast<TFloat>( 0.5 );
    constexpr TFloat Limit = static_cast<TFloat>( LowestUnderlying ); // exact, unlike the highest
    if ( Scaled < Limit || Scaled >= -Limit )
    {
        return Value < 0 ? LowestUnderlying : HighestUnderlying;
    }
    const int64 Truncated = static_cast<int64>( Scaled );
    return static_cast<TFloat>( Truncated ) > Scaled ? Truncated - 1 : Truncated;
}

// --- Series ------------------------------------------------------------------------------------------------

inline constexpr int64 ReciprocalCount = 999;

/// The truncated fixed-point values of 1 / N, for N from 1, so that a term costs no division by a variable.
struct SReciprocals
{
    consteval SReciprocals()
    {
        for ( int64 N = 1; N <= ReciprocalCount; ++N )
        {
            _Values[ N - 1 ] = Resolution / N;
        }
    }
    constexpr int64 operator[]( int64 N ) const { return _Values[ N - 1 ]; }

    int64 _Values[ ReciprocalCount ] = {};
};
inline constexpr SReciprocals Reciprocals;

constexpr int64 Sin( int64 X )
{
    int64 V = X % TwoPi;
    if ( V < 0 )
    {
        V += TwoPi;
    }
    const bool bNegative = V > Pi;
    if ( bNegative )
    {
        V -= Pi;
    }
    if ( V > HalfPi )
    {
        V = PiOfMirror - V;
    }
    const int64 Third = Multiply( Multiply( V, V ), V );
    const int64 Fifth = Multiply( Multiply( Third, V ), V );
    const int64 Sum = V - Third / 6 + Fifth / 120; // a quotient by a whole number truncates alike
    return bNegative ? -Sum : Sum;
}

/// Within the range of the result, so for X up to 32, the terms end long before the table. Beyond it they
/// wrap, and shrink only once N has passed |X|: up to the last term for |X| up to 9000, and cut off for more,
/// where to follow them could take years.
constexpr int64 Exp( int64 X )
{
    constexpr int64 TermCount = 10000;
    int64 Sum = Resolution;
    int64 Term = Resolution;
    for ( int64 N = 1; N <= TermCount && Term != 0; ++N )
    {
        const int64 Factor =
            N <= ReciprocalCount ? Multiply( X, Reciprocals[ N ] ) : Divide( X, N * Resolution );
        Term = Multiply( Term, Factor );
        Sum = AddWrapped( Sum, Term );
    }
    return Sum;
}

/// The series is that of ln( 1 + Z ). Z lies within +-0.99999, so that Power, below 1 as well, comes nearer
/// to 0 with every term, by truncation if by nothing else: at the latest with N of 100000 the term is 0.
constexpr int64 Log( int64 X )
{
    if ( X < 1 || X == Resolution )
    {
        return 0;
    }
    int64 PowerOfE = 0; // taken out of X
    for ( ; X >= 2 * EToThe8; X = Divide( X, EToThe8 ) )
    {
        PowerOfE += 8;
    }
    for ( ; X >= 2 * Resolution; X = Multiply( X, InverseOfE ) )
    {
        ++PowerOfE;
    }
    const int64 Z = X - Resolution;
    int64 Power = Z;
    int64 Sum = Z;
    int64 Term = Z;
    for ( int64 N = 2; Term != 0; ++N )
    {
        Power = Power * -Z / Resolution;
        Term = N <= ReciprocalCount ? Power * Reciprocals[ N ] / Resolution : Power / N;
        Sum += Term;
    }
    return PowerOfE * Resolution + Sum;
}

constexpr int64 Log10( int64 X ) { return Divide( Log( X ), LogOf10 ); }

constexpr int64 Pow( int64 Base, int64 Exponent )
{
    const int64 Magnitude = Base < 0 ? Negate( Base ) : Base;
    const int64 Result = Exp( Multiply( Exponent, Log( Magnitude ) ) );
    const bool bOddWhole =
        Exponent % ( 2 * Resolution ) == Resolution || Exponent % ( 2 * Resolution ) == -Resolution;
    return Base < 0 && bOddWhole ? Negate( Result ) : Result;
}

/// Newton's iteration. Where the square of the guess fits it takes up to 14 rounds; beyond, where it wraps,
/// either at most 18 or endlessly many, which the bound ends.
constexpr int64 Sqrt( int64 X )
{
    constexpr int32 MaxRounds = 64;
    if ( X < 2 )
    {
        return 0;
    }
    const int64 Tolerance = MultiplyWrapped( X, Resolution / 100 ) / Resolution;
    int64 Guess = Divide( X, 2 * Resolution );
    for ( int32 Round = 0; Round < MaxRounds; ++Round )
    {
        const int64 Error = SubtractWrapped( Multiply( Guess, Guess ), X );
        const int64 Step = Divide( Error, MultiplyWrapped( Guess, 2 ) );
        Guess = SubtractWrapped( Guess, Step );
        if ( Step == 0 || ( Error >= -Tolerance && Error <= Tolerance ) )
        {
            break;
        }
    }
    return Guess;
}

/// Hundredfold steps bring the value into the range in which the iteration is precise, and tenfold ones its
/// root back. A step down from beyond 2^63 / 1000 wraps, once; what is left then is small.
constexpr int64 SafeSqrt( int64 X )
{
    if ( X <= Resolution / 10 )
    {
        return MultiplyWrapped( Sqrt( MultiplyWrapped( X, 100 ) ), Resolution / 10 ) / Resolution;
    }
    int64 Scale = 1;
    for ( ; X >= TooBigToSqrt; X = MultiplyWrapped( X, Resolution / 100 ) / Resolution )
    {
        Scale *= 10;
    }
    return MultiplyWrapped( Sqrt( X ), Scale );
}

/// Rounds Value to a multiple of Step, away from 0 when it lies halfway, and gives the count of steps. A Step
/// of the lowest value, whose magnitude 64 bits cannot hold, is its own.
constexpr int64 RoundTo( int64& Value, int64 Step )
{
    if ( Step == 0 )
    {
        return 0;
    }
    const int64 Magnitude = Step < 0 ? Negate( Step ) : Step;
    const int64 Half = Divide( Magnitude, 2 * Resolution );
    const int64 Sum = Value < 0 ? SubtractWrapped( Value, Half ) : AddWrapped( Value, Half );
    Value = Sum - Sum % Magnitude;
    return Sum / Magnitude;
}
} // namespace NFixedPoint::NDetail
