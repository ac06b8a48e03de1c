#pragma once

#include "zan_core/hashing/zan_hash.h"
#include "zan_core/numerics/zan_fixed_point_arithmetic.h"
#include "zan_core/zan_types.h"

#include <compare>
#include <concepts>
#include <iosfwd>
#include <limits>
#include <type_traits>

namespace NFixedPoint
{
/// Selects the constructor that takes the underlying value.
struct SConstructWithUnderlying
{
    explicit constexpr SConstructWithUnderlying() = default;
};
inline constexpr SConstructWithUnderlying ConstructWithUnderlying;

namespace NDetail
{
template <typename T>
concept CInteger =
    std::integral<T> && !std::same_as<std::remove_cv_t<T>, bool> && sizeof( T ) <= sizeof( int64 );

template <typename T>
concept CFloat = std::same_as<T, float> || std::same_as<T, double>;

std::ostream& Write( std::ostream& Stream, int64 Underlying );
} // namespace NDetail

/// What CFixedPoint and fixed_int64 share: a decimal number of five decimals in 64 bits, from
/// -92233720368547.75808 to 92233720368547.75807, whose operations give the same bits on every machine. All
/// are constant expressions, defined for every operand and free of side effects, so any thread may call them.
///
/// Nothing reports. Sums, differences, negations and products beyond the range wrap; a quotient by 0 is
/// 42949.67295; decimals beyond the fifth are cut off, toward 0, in every step of a calculation.
///
/// Integers and floats convert implicitly, so they stand on either side of every operator.
template <typename TDerived>
class TFixedPoint
{
public:
    /// 0.
    constexpr TFixedPoint() = default;

    /// Any integer but bool. What is beyond the range wraps.
    template <NDetail::CInteger T>
    constexpr TFixedPoint( T Value )
        : _Underlying( NDetail::MultiplyWrapped( static_cast<int64>( Value ), Resolution ) )
    {}

    /// The nearest value, a half of the last decimal upward, calculated in the argument's own precision. What
    /// is beyond the range gives its nearest limit, and what is not a number gives 0.
    template <NDetail::CFloat T>
    constexpr TFixedPoint( T Value ) : _Underlying( NDetail::FromFloat( Value ) )
    {}

    constexpr TFixedPoint( SConstructWithUnderlying, int64 Underlying ) : _Underlying( Underlying ) {}

    /// The same value in the other type.
    template <typename TOther>
    constexpr explicit TFixedPoint( const TFixedPoint<TOther>& Other ) : _Underlying( Other._Underlying )
    {}

    static constexpr TDerived CreateFixedWithUnderlyingValue( int64 Underlying )
    {
        return TDerived( ConstructWithUnderlying, Underlying );
    }
    constexpr int64 GetUnderlying() const { return _Underlying; }

    // Whole numbers, of which a result beyond int32 keeps the low 32 bits.

    constexpr int32 GetTruncated() const { return static_cast<int32>( _Underlying / Resolution ); }
    constexpr int32 GetRounded() const; ///< Halves away from 0.
    constexpr int32 GetFloor() const;
    constexpr int32 GetCeiling() const;
    constexpr bool HasDecimals() const { return _Underlying % Resolution != 0; }

    constexpr float GetFloat() const { return static_cast<float>( _Underlying ) / 100000.0f; }

    /// Of the lowest value it is the lowest value.
    constexpr TDerived Abs() const { return _Underlying < 0 ? -Self() : Self(); }

    /// Makes it the nearest multiple of Step, halves away from 0, and gives how many steps that is. A
    /// negative Step counts as its magnitude; one of 0 changes nothing and gives 0.
    constexpr int64 RoundTo( TDerived Step ) { return NDetail::RoundTo( _Underlying, Step._Underlying ); }

    /// Radians. Three terms of the Taylor series, which is 0.0046 too much at half pi and better elsewhere;
    /// each full turn adds an error of 0.000005.
    constexpr TDerived Sin() const { return Create( NDetail::Sin( _Underlying ) ); }
    constexpr TDerived Cos() const
    {
        return Create( NDetail::Sin( NDetail::AddWrapped( _Underlying, NDetail::HalfPi ) ) );
    }

    /// By its Taylor series: 10 terms for a magnitude of 1, 90 for 32, up to which the result fits. Beyond,
    /// the terms wrap and the result means nothing; at most 10000 are taken.
    constexpr TDerived Exp() const { return Create( NDetail::Exp( _Underlying ) ); }

    /// The natural logarithm; 0 for what is not positive. Powers of e are taken out until the value is below
    /// 2, then a series takes up to 70 terms from 0.1 to 1.9, 500 at 0.01 and 1.99, 50000 at both ends.
    constexpr TDerived Log() const { return Create( NDetail::Log( _Underlying ) ); }
    constexpr TDerived Log10() const { return Create( NDetail::Log10( _Underlying ) ); }

    /// As Exp( Exponent * Log( |this| ) ), with the sign of this when Exponent is whole and odd. 0 to any
    /// power is 1.
    constexpr TDerived Pow( TDerived Exponent ) const
    {
        return Create( NDetail::Pow( _Underlying, Exponent._Underlying ) );
    }

    /// The square root by Newton's iteration, which stops when the square is within a hundredth and is then
    /// one step better; 0 for what is below 0.00002. Meant for values that are not TooBigToSqrt(): SafeSqrt
    /// is more precise below 0.1, and takes values up to 92233720368.54775.
    constexpr TDerived Sqrt() const { return Create( NDetail::Sqrt( _Underlying ) ); }
    constexpr TDerived SafeSqrt() const { return Create( NDetail::SafeSqrt( _Underlying ) ); }
    constexpr bool TooBigToSqrt() const { return _Underlying >= NDetail::TooBigToSqrt; } ///< From 30000 on.

    // By reference: g++ does not vectorise a loop around a copy of the operand.
    constexpr TDerived& operator+=( const TDerived& Right ) { return Assign( Self() + Right ); }
    constexpr TDerived& operator-=( const TDerived& Right ) { return Assign( Self() - Right ); }
    constexpr TDerived& operator*=( const TDerived& Right ) { return Assign( Self() * Right ); }
    constexpr TDerived& operator/=( const TDerived& Right ) { return Assign( Self() / Right ); }

    friend constexpr TDerived operator+( TDerived Value ) { return Value; }
    friend constexpr TDerived operator-( TDerived Value )
    {
        return Create( NDetail::Negate( Value._Underlying ) );
    }
    friend constexpr TDerived operator+( TDerived Left, TDerived Right )
    {
        return Create( NDetail::AddWrapped( Left._Underlying, Right._Underlying ) );
    }
    friend constexpr TDerived operator-( TDerived Left, TDerived Right )
    {
        return Create( NDetail::SubtractWrapped( Left._Underlying, Right._Underlying ) );
    }
    friend constexpr TDerived operator*( TDerived Left, TDerived Right )
    {
        return Create( NDetail::Multiply( Left._Underlying, Right._Underlying ) );
    }
    friend constexpr TDerived operator/( TDerived Left, TDerived Right )
    {
        return Create( NDetail::Divide( Left._Underlying, Right._Underlying ) );
    }

    friend constexpr bool operator==( TDerived Left, TDerived Right )
    {
        return Left._Underlying == Right._Underlying;
    }
    friend constexpr std::strong_ordering operator<=>( TDerived Left, TDerived Right )
    {
        return Left._Underlying <=> Right._Underlying;
    }

    /// True when the difference is less than Tolerance, also when it is beyond the range.
    friend constexpr bool AlmostEqual( TDerived Left, TDerived Right, TDerived Tolerance )
    {
        const uint64 Difference = Left < Right ? CalcDistance( Left, Right ) : CalcDistance( Right, Left );
        return Tolerance._Underlying > 0 && Difference < static_cast<uint64>( Tolerance._Underlying );
    }

    /// With a tolerance of 0.01. Not by a default argument: g++ 12 drops whole statements that use one of a
    /// friend in a template.
    friend constexpr bool AlmostEqual( TDerived Left, TDerived Right )
    {
        return AlmostEqual( Left, Right, Create( 1000 ) );
    }

    friend uint32 ZanHash( TDerived Value ) { return ZanHash( Value._Underlying ); }

    /// As its shortest decimal text: "-0.5".
    friend std::ostream& operator<<( std::ostream& Stream, TDerived Value )
    {
        return NDetail::Write( Stream, Value._Underlying );
    }

private:
    static constexpr TDerived Create( int64 Underlying )
    {
        return CreateFixedWithUnderlyingValue( Underlying );
    }
    static constexpr uint64 CalcDistance( TDerived Low, TDerived High )
    {
        return static_cast<uint64>( High._Underlying ) - static_cast<uint64>( Low._Underlying );
    }
    constexpr TDerived Self() const { return Create( _Underlying ); }
    constexpr TDerived& Assign( TDerived Value )
    {
        _Underlying = Value._Underlying;
        return static_cast<TDerived&>( *this );
    }

public:
    int64 _Underlying = 0; ///< The value times 100000.
};
} // namespace NFixedPoint

/// The deterministic number of the library, for whatever has to be equal on all machines; see
/// NFixedPoint::TFixedPoint for what it does. For geometry, where speed and range count more, choose float.
///
///     CFixedPoint Price = 19.99_fixed * 3; // 59.97, exactly
///     Price.RoundTo( 0.5_fixed );          // 60
class CFixedPoint : public NFixedPoint::TFixedPoint<CFixedPoint>
{
public:
    using TFixedPoint::TFixedPoint;
};

/// The same number under the name of a plain type. The two do not mix; each constructs from the other.
class fixed_int64 // NOLINT(readability-identifier-naming): named as plain types are
    : public NFixedPoint::TFixedPoint<fixed_int64>
{
public:
    using TFixedPoint::TFixedPoint;
};

static_assert( sizeof( CFixedPoint ) == sizeof( int64 ) && std::is_trivially_copyable_v<CFixedPoint>,
    "it is stored and passed as its integer" );

/// A number with up to five decimals, exactly: 32.123_fixed, -0.00001_fixed. What the type cannot hold does
/// not compile, nor does another base or an exponent. The lowest value, as for integers, has no literal,
/// because the minus is an operator.
// Not consteval: clang++ 14 then misses the definition where a lambda in a template uses a literal. The
// checks are on template arguments, and so made at compile time anyway.
template <char... Characters>
constexpr CFixedPoint operator""_fixed();

// --- Bodies --------------------------------------------------------------------------------------

template <typename TDerived>
constexpr int32 NFixedPoint::TFixedPoint<TDerived>::GetRounded() const
{
    constexpr int64 Half = Resolution / 2;
    return static_cast<int32>(
        NDetail::AddWrapped( _Underlying, _Underlying < 0 ? -Half : Half ) / Resolution );
}

template <typename TDerived>
constexpr int32 NFixedPoint::TFixedPoint<TDerived>::GetFloor() const
{
    return static_cast<int32>( _Underlying / Resolution - ( _Underlying < 0 && HasDecimals() ? 1 : 0 ) );
}

template <typename TDerived>
constexpr int32 NFixedPoint::TFixedPoint<TDerived>::GetCeiling() const
{
    return static_cast<int32>( _Underlying / Resolution + ( _Underlying > 0 && HasDecimals() ? 1 : 0 ) );
}

namespace NFixedPoint::NDetail
{
struct SLiteral
{
    int64 _Underlying = 0;
    bool _bIsDecimal = true;
    bool _bIsInRange = true;
    int32 _DecimalCount = 0;
};

constexpr void AppendDigit( SLiteral& Literal, int64 Digit )
{
    Literal._bIsInRange = Literal._bIsInRange && Literal._Underlying <= ( HighestUnderlying - Digit ) / 10;
    Literal._Underlying = Literal._bIsInRange ? Literal._Underlying * 10 + Digit : 0;
}

template <char... Characters>
constexpr SLiteral ParseLiteral()
{
    constexpr char Text[] = { Characters..., '\0' };
    SLiteral Literal;
    bool bIsFraction = false;
    for ( const char* pCharacter = Text; *pCharacter != '\0'; ++pCharacter )
    {
        if ( *pCharacter == '.' )
        {
            bIsFraction = true;
        }
        else if ( *pCharacter >= '0' && *pCharacter <= '9' )
        {
            Literal._DecimalCount += bIsFraction ? 1 : 0;
            if ( Literal._DecimalCount <= NumDecimals )
            {
                AppendDigit( Literal, *pCharacter - '0' );
            }
        }
        else if ( *pCharacter != '\'' )
        {
            Literal._bIsDecimal = false;
        }
    }
    for ( int32 Decimal = Literal._DecimalCount; Decimal < NumDecimals; ++Decimal )
    {
        AppendDigit( Literal, 0 );
    }
    const bool bIsOctal = !bIsFraction && Text[ 0 ] == '0' && Text[ 1 ] != '\0';
    Literal._bIsDecimal = Literal._bIsDecimal && !bIsOctal;
    return Literal;
}
} // namespace NFixedPoint::NDetail

template <char... Characters>
constexpr CFixedPoint operator""_fixed()
{
    constexpr NFixedPoint::NDetail::SLiteral Literal = NFixedPoint::NDetail::ParseLiteral<Characters...>();
    static_assert( Literal._bIsDecimal, "a _fixed literal is decimal, without an exponent" );
    static_assert( Literal._DecimalCount <= NFixedPoint::NumDecimals || !Literal._bIsDecimal,
        "a _fixed literal has at most five decimals" );
    static_assert(
        Literal._bIsInRange || !Literal._bIsDecimal, "a _fixed literal is at most 92233720368547.75807" );
    return CFixedPoint::CreateFixedWithUnderlyingValue( Literal._Underlying );
}

// --- The standard library ------------------------------------------------------------------------

namespace NFixedPoint::NDetail
{
template <typename T>
struct SHash
{
    size_t operator()( T Value ) const { return ZanHash( Value ); }
};

/// A number of 18 full decimal digits, of which five are decimals. min() is the lowest value, as for
/// integers.
template <typename T>
struct SLimits
{
    static constexpr bool is_specialized = true;
    static constexpr bool is_signed = true;
    static constexpr bool is_integer = false;
    static constexpr bool is_exact = true;
    static constexpr bool has_infinity = false;
    static constexpr bool has_quiet_NaN = false;
    static constexpr bool has_signaling_NaN = false;
    static constexpr std::float_denorm_style has_denorm = std::denorm_absent;
    static constexpr bool has_denorm_loss = false;
    static constexpr std::float_round_style round_style = std::round_toward_zero;
    static constexpr bool is_iec559 = false;
    static constexpr bool is_bounded = true;
    static constexpr bool is_modulo = true; // sums wrap
    static constexpr int digits = 18;
    static constexpr int digits10 = 18;
    static constexpr int max_digits10 = 19;
    static constexpr int radix = 10;
    static constexpr int min_exponent = 0;
    static constexpr int min_exponent10 = 0;
    static constexpr int max_exponent = 0;
    static constexpr int max_exponent10 = 0;
    static constexpr bool traps = false;
    static constexpr bool tinyness_before = false;

    static constexpr T min() noexcept { return T( ConstructWithUnderlying, LowestUnderlying ); }
    static constexpr T max() noexcept { return T( ConstructWithUnderlying, HighestUnderlying ); }
    static constexpr T lowest() noexcept { return min(); }
    static constexpr T epsilon() noexcept
    {
        return T( ConstructWithUnderlying, 1 );
    }                                                            ///< The step of all values.
    static constexpr T round_error() noexcept { return T( 1 ); } ///< In steps: results are truncated.
    static constexpr T infinity() noexcept { return T(); }
    static constexpr T quiet_NaN() noexcept { return T(); }
    static constexpr T signaling_NaN() noexcept { return T(); }
    static constexpr T denorm_min() noexcept { return epsilon(); }
};
} // namespace NFixedPoint::NDetail

template <>
struct std::hash<CFixedPoint> : NFixedPoint::NDetail::SHash<CFixedPoint>
{};
template <>
struct std::hash<fixed_int64> : NFixedPoint::NDetail::SHash<fixed_int64>
{};

template <>
class std::numeric_limits<CFixedPoint> : public NFixedPoint::NDetail::SLimits<CFixedPoint>
{};
template <>
class std::numeric_limits<fixed_int64> : public NFixedPoint::NDetail::SLimits<fixed_int64>
{};
