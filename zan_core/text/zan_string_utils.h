#pragma once

#include "zan_core/containers/zan_array.h"
#include "zan_core/holders/zan_optional.h"
#include "zan_core/text/zan_string.h"
#include "zan_core/text/zan_string_view.h"
#include "zan_core/zan_types.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>

/// Free functions over text: trimming, paths, comparing without regard to case, joining and splitting, and
/// sizes for people to read. None depends on the locale, none fails, and none changes its arguments; upper
/// and lower case are those of ASCII. Functions that give a view give a part of their argument, terminated if
/// that was and its end is kept, and do not allocate.
///
///     SplitLong( TrimBack( "assets/tree.png\n" ), "/" );  // "assets", "tree.png"
///     FormatBytes( 2047, 3, 0 );                           // "1.99 KB"
namespace NZanStringUtils
{
/// Without the characters at the start, at the end, or at both, that occur in Chars: blanks, tabs and the
/// ends of lines, " \t\r\n", when not given.
CZanStringView TrimFront( CZanStringView View );
CZanStringView TrimBack( CZanStringView View );
CZanStringView Trim( CZanStringView View );
CZanStringView TrimFront( CZanStringView View, CZanStringView Chars );
CZanStringView TrimBack( CZanStringView View, CZanStringView Chars );
CZanStringView Trim( CZanStringView View, CZanStringView Chars );

/// Without the characters before the first, or behind the last, that occurs in Chars: empty if none does.
CZanStringView TrimFrontUntil( CZanStringView View, CZanStringView Chars );
CZanStringView TrimBackUntil( CZanStringView View, CZanStringView Chars );

// Components of paths are separated by any number of '/' and '\\'.

/// The last component without separators, also of a path that ends with some.
CZanStringView LastPathComponent( CZanStringView Path );

/// What stands before the last component, including the separators between.
CZanStringView TrimLastPathComponent( CZanStringView Path );

bool StartsWith( CZanStringView View, CZanStringView Prefix );
bool EndsWith( CZanStringView View, CZanStringView Suffix );
bool StartsWithIgnoreCase( CZanStringView View, CZanStringView Prefix );
bool EndsWithIgnoreCase( CZanStringView View, CZanStringView Suffix );

/// True when Needle occurs in Haystack. An empty needle always does. At worst the product of the sizes.
bool ContainsIgnoreCase( CZanStringView Haystack, CZanStringView Needle );

/// A copy with the ASCII letters in lower case.
CString ToLower( CZanStringView View );

/// True when no byte has its top bit set.
bool IsAscii( CZanStringView View );

/// True for exactly "yes", false for exactly "no", and otherwise not set.
CZanOptional<bool> TryParseBool( CZanStringView View );

/// Value divided by the highest power of Base that leaves a whole part, or by that of the last suffix, and
/// the suffix of that power; the first suffix is that of the power of 0. Decimals fill up to
/// MinSignificantDigits, or to MinDecimals + 1 digits, and where the whole part alone has so many,
/// MinDecimals are shown; at most 18. Digits are cut off, never rounded. Empty when the text would have more
/// than 32 characters. A Base below 2 divides nothing, and without suffixes there is none.
CString FormatIntegerWithExponentialSuffix( int64 Value, uint32 MinSignificantDigits, uint32 MinDecimals,
    uint32 Base, const CZanStringView* pSuffixes, int32 SuffixCount );
template <size_t N>
CString FormatIntegerWithExponentialSuffix( int64 Value, uint32 MinSignificantDigits, uint32 MinDecimals,
    uint32 Base, const CZanStringView ( &Suffixes )[ N ] );
CString FormatIntegerWithExponentialSuffix( int64 Value, uint32 MinSignificantDigits, uint32 MinDecimals,
    uint32 Base, const CZanArray<CZanStringView>& Suffixes );

/// The same by powers of 1000, "12 K", and by powers of 1024, "12 KB".
CString FormatMetric( int64 Value, uint32 MinSignificantDigits, uint32 MinDecimals );
CString FormatBytes( int64 Value, uint32 MinSignificantDigits, uint32 MinDecimals );

/// The elements of a sequence of CString, CZanStringView or const char*, with Delimiter between any two of
/// them. Walks twice through the sequence and allocates once.
template <typename TContainer>
CString Join( const TContainer& Container, CZanStringView Delimiter );

/// What stands between the delimiters, empty pieces included. The last of MaxElementCount elements keeps the
/// delimiters in it. One element, the text, for an empty text or delimiter and a MaxElementCount below 2.
CZanArray<CString> SplitLong(
    CZanStringView Text, CZanStringView Delimiter, int32 MaxElementCount = 2147483647 );

// The bodies of what is short or a template.

namespace NDetail
{
constexpr bool IsBlank( char Char ) { return Char == ' ' || Char == '\t' || Char == '\r' || Char == '\n'; }

/// How many blanks a text starts or ends with, when it is known to have Count of them there.
int32 CountMoreBlanks( const char* pFirst, int32 Size, int32 Count );
int32 CountMoreBlanksBackwards( const char* pFirst, int32 Size, int32 Count );

constexpr int32 FewBlanks = 4; // so many are counted inline

/// Copies a text and gives the place behind it. Up to 16 bytes go by copies that overlap, without a call.
inline char* Put( char* pTarget, CZanStringView Text )
{
    const size_t Size = static_cast<uint32>( Text.GetSize() );
    const char* const pSource = Text.GetData();
    const auto CopyBothEnds = [ = ]<size_t Part>( std::integral_constant<size_t, Part> ) {
        std::memcpy( pTarget, pSource, Part );
        std::memcpy( pTarget + Size - Part, pSource + Size - Part, Part );
    };
    if ( Size > 16 )
    {
        std::memcpy( pTarget, pSource, Size );
    }
    else if ( Size >= 8 )
    {
        CopyBothEnds( std::integral_constant<size_t, 8>() );
    }
    else if ( Size >= 4 )
    {
        CopyBothEnds( std::integral_constant<size_t, 4>() );
    }
    else if ( Size != 0 )
    {
        pTarget[ 0 ] = pSource[ 0 ];
        pTarget[ Size / 2 ] = pSource[ Size / 2 ];
        pTarget[ Size - 1 ] = pSource[ Size - 1 ];
    }
    return pTarget + Size;
}
} // namespace NDetail

inline CZanStringView TrimFront( CZanStringView View )
{
    const char* const pFirst = View.GetData();
    const int32 Size = View.GetSize();
    int32 Count = 0;
    while ( Count < Size && NDetail::IsBlank( pFirst[ Count ] ) )
    {
        if ( ++Count == NDetail::FewBlanks )
        {
            Count = NDetail::CountMoreBlanks( pFirst, Size, Count );
            break;
        }
    }
    View.RemovePrefix( Count );
    return View;
}

inline CZanStringView TrimBack( CZanStringView View )
{
    const char* const pFirst = View.GetData();
    const int32 Size = View.GetSize();
    int32 Count = 0;
    while ( Count < Size && NDetail::IsBlank( pFirst[ Size - 1 - Count ] ) )
    {
        if ( ++Count == NDetail::FewBlanks )
        {
            Count = NDetail::CountMoreBlanksBackwards( pFirst, Size, Count );
            break;
        }
    }
    View.RemoveSuffix( Count );
    return View;
}

inline CZanStringView Trim( CZanStringView View ) { return TrimBack( TrimFront( View ) ); }

inline bool StartsWith( CZanStringView View, CZanStringView Prefix )
{
    using NZanStringView::NDetail::CompareBytes;
    return View.GetSize() >= Prefix.GetSize() &&
           CompareBytes( View.GetData(), Prefix.GetData(), Prefix.GetSize() ) == 0;
}

inline bool EndsWith( CZanStringView View, CZanStringView Suffix )
{
    using NZanStringView::NDetail::CompareBytes;
    return View.GetSize() >= Suffix.GetSize() &&
           CompareBytes( View.GetIterEnd() - Suffix.GetSize(), Suffix.GetData(), Suffix.GetSize() ) == 0;
}

template <size_t N>
inline CString FormatIntegerWithExponentialSuffix( int64 Value, uint32 MinSignificantDigits,
    uint32 MinDecimals, uint32 Base, const CZanStringView ( &Suffixes )[ N ] )
{
    return FormatIntegerWithExponentialSuffix(
        Value, MinSignificantDigits, MinDecimals, Base, Suffixes, static_cast<int32>( N ) );
}

inline CString FormatIntegerWithExponentialSuffix( int64 Value, uint32 MinSignificantDigits,
    uint32 MinDecimals, uint32 Base, const CZanArray<CZanStringView>& Suffixes )
{
    return FormatIntegerWithExponentialSuffix(
        Value, MinSignificantDigits, MinDecimals, Base, Suffixes.GetData(), Suffixes.GetSize() );
}

template <typename TContainer>
inline CString Join( const TContainer& Container, CZanStringView Delimiter )
{
    size_t Size = 0;
    size_t Count = 0;
    for ( const CZanStringView Element : Container )
    {
        Size += static_cast<uint32>( Element.GetSize() );
        ++Count;
    }
    if ( Count == 0 )
    {
        return CString();
    }
    std::string Text( Size + ( Count - 1 ) * static_cast<uint32>( Delimiter.GetSize() ), '\0' );
    char* pTarget = Text.data();
    CZanStringView Separator;
    for ( const CZanStringView Element : Container )
    {
        pTarget = NDetail::Put( NDetail::Put( pTarget, Separator ), Element );
        Separator = Delimiter;
    }
    return CString( std::move( Text ) );
}
} // namespace NZanStringUtils
