#pragma once

#include "zan_core/holders/zan_optional.h"
#include "zan_core/text/zan_string_view.h"
#include "zan_core/zan_types.h"

#include <charconv>
#include <concepts>
#include <limits>
#include <type_traits>

class CFixedPoint;

/// Numbers to text and back: every integer type and CFixedPoint, exact, without locale, allocation and
/// floating point, in the manner of the standard's functions of the same names, which these outrun. The one
/// way in which numbers are written to and read from files and consoles. Pure functions; any thread may call
/// them.
///
///     int32 Count = 1;
///     const auto [ pEnd, Error ] = NZanStringUtils::from_chars( pFirst, pLast, Count );
///     char Buffer[ NZanStringUtils::MaxNumberSize ];
///     Text += NZanStringUtils::ToString( Buffer, Buffer + sizeof( Buffer ), Count );
namespace NZanStringUtils
{
using std::from_chars_result; // ptr and ec
using std::to_chars_result;

/// Enough for any integer in base 10, and for any CFixedPoint.
constexpr int32 MaxNumberSize = 21;

/// The integer types that are numbers; bool and the types of wide characters are not.
template <typename T>
concept CTextInteger = std::same_as<T, char> || std::same_as<T, signed char> ||
    std::same_as<T, unsigned char> || std::same_as<T, short> || std::same_as<T, unsigned short> ||
    std::same_as<T, int> || std::same_as<T, unsigned int> || std::same_as<T, long> ||
    std::same_as<T, unsigned long> || std::same_as<T, long long> || std::same_as<T, unsigned long long>;

template <typename T>
concept CTextNumber = CTextInteger<T> || std::same_as<T, CFixedPoint>;

/// Reads the digits at the start of the range, letters of either case among them, behind a minus sign if the
/// type has one. Nothing is skipped: no white space, no plus sign, no prefix. Gives the position behind the
/// last digit and sets Value. On failure Value stays: std::errc::invalid_argument at pFirst without a digit
/// or with a Base outside 2 to 36, and std::errc::result_out_of_range behind the last digit of a number that
/// T cannot hold.
template <CTextInteger T>
from_chars_result from_chars( const char* pFirst, const char* pLast, T& Value, int32 Base = 10 );

/// Reads a whole part as above and, behind a point, up to five decimals; ends at the first other character. A
/// point without anything behind it is not part of the number. On failure Value stays, and ptr is behind what
/// counts of whole part, point and decimals: std::errc::invalid_argument without digits on either side of the
/// point, std::errc::result_out_of_range for numbers beyond the limits and for more decimals.
from_chars_result from_chars( const char* pFirst, const char* pLast, CFixedPoint& Value );

/// Writes the shortest text, letters in lower case, without a terminator, and gives the position behind it.
/// On failure ptr is pLast: std::errc::value_too_large when the text does not fit, of which nothing but the
/// minus sign is written then, and std::errc::invalid_argument for a Base outside 2 to 36.
template <CTextInteger T>
to_chars_result to_chars( char* pFirst, char* pLast, T Value, int32 Base = 10 );

/// Writes the shortest text, "-0.5" or "32" or "32.123", without a terminator, and gives the position behind
/// it. When it does not fit, nothing is written, and the result is pLast and std::errc::value_too_large.
template <std::same_as<CFixedPoint> T> // not what converts to it, such as double
to_chars_result to_chars( char* pFirst, char* pLast, T Value );

/// Writes as to_chars does in base 10 and gives what was written, a view into the range, or a null view when
/// it does not fit.
template <CTextNumber T>
CZanStringView ToString( char* pFirst, char* pLast, const T& Value );

/// The number that the whole view is, in base 10 as from_chars reads it; not set otherwise.
template <CTextNumber T>
CZanOptional<T> FromString( CZanStringView View );

// The bodies, which lead all types to the two widest ones.

namespace NDetail
{
/// Numbers whose magnitudes are at most Max, or one more behind a minus sign.
from_chars_result ReadSigned( const char* pFirst, const char* pLast, int64& Value, int32 Base, int64 Max );

/// Numbers up to Max.
from_chars_result ReadUnsigned(
    const char* pFirst, const char* pLast, uint64& Value, int32 Base, uint64 Max );

/// The magnitude's digits, behind a minus sign if bNegative.
to_chars_result WriteInteger( char* pFirst, char* pLast, uint64 Magnitude, bool bNegative, int32 Base );
to_chars_result WriteInteger( char* pFirst, char* pLast, uint32 Magnitude, bool bNegative, int32 Base );

to_chars_result WriteFixedPoint( char* pFirst, char* pLast, CFixedPoint Value );
} // namespace NDetail

template <CTextInteger T>
inline from_chars_result from_chars( const char* pFirst, const char* pLast, T& Value, int32 Base )
{
    constexpr T Max = std::numeric_limits<T>::max();
    std::conditional_t<std::is_signed_v<T>, int64, uint64> Wide = 0;
    from_chars_result Result;
    if constexpr ( std::is_signed_v<T> )
    {
        Result = NDetail::ReadSigned( pFirst, pLast, Wide, Base, Max );
    }
    else
    {
        Result = NDetail::ReadUnsigned( pFirst, pLast, Wide, Base, Max );
    }
    if ( Result.ec == std::errc() ) [[likely]]
    {
        Value = static_cast<T>( Wide );
    }
    return Result;
}

template <CTextInteger T>
inline to_chars_result to_chars( char* pFirst, char* pLast, T Value, int32 Base )
{
    using TMagnitude = std::conditional_t<( sizeof( T ) > sizeof( uint32 ) ), uint64, uint32>;
    const TMagnitude Bits = static_cast<TMagnitude>( Value );
    const bool bNegative = Value < T( 0 );
    return NDetail::WriteInteger( pFirst, pLast, bNegative ? TMagnitude( 0 ) - Bits : Bits, bNegative, Base );
}

template <std::same_as<CFixedPoint> T>
inline to_chars_result to_chars( char* pFirst, char* pLast, T Value )
{
    return NDetail::WriteFixedPoint( pFirst, pLast, Value );
}

template <CTextNumber T>
inline CZanStringView ToString( char* pFirst, char* pLast, const T& Value )
{
    const to_chars_result Result = to_chars( pFirst, pLast, Value );
    return Result.ec == std::errc() ? CZanStringView( pFirst, static_cast<int32>( Result.ptr - pFirst ) )
                                    : CZanStringView();
}

template <CTextNumber T>
inline CZanOptional<T> FromString( CZanStringView View )
{
    T Value = T();
    const from_chars_result Result = from_chars( View.GetIterStart(), View.GetIterEnd(), Value );
    const bool bIsNumber = Result.ec == std::errc() && Result.ptr == View.GetIterEnd();
    return bIsNumber ? CZanOptional<T>( Value ) : CZanOptional<T>();
}
} // namespace NZanStringUtils
