#include "zan_core/text/zan_string_utils.h"

#include "zan_core/text/zan_byte_words.h"
#include "zan_core/text/zan_charconv.h"
#include "zan_core/zan_platform.h"

#include <algorithm>
#include <bit>
#include <cstring>

using NZanByteWords::EachByte;
using NZanByteWords::LoadWord;

namespace
{
constexpr CZanStringView Separators = "/\\";

/// Which of the 256 bytes occur in a text: 32 bytes, which are made faster than a table is.
class CByteSet
{
public:
    explicit CByteSet( CZanStringView Chars )
    {
        for ( const char Char : Chars )
        {
            _Bits[ static_cast<uint8>( Char ) / 64 ] |= uint64( 1 ) << static_cast<uint8>( Char ) % 64;
        }
    }
    bool Has( char Char ) const
    {
        return ( _Bits[ static_cast<uint8>( Char ) / 64 ] >> static_cast<uint8>( Char ) % 64 & 1 ) != 0;
    }

private:
    uint64 _Bits[ 4 ] = {};
};

/// Without the characters at the start, or at the end, whose membership in Chars is bMember.
CZanStringView TrimFrontWhile( CZanStringView View, CZanStringView Chars, bool bMember )
{
    const CByteSet Set( Chars );
    int32 Count = 0;
    while ( Count < View.GetSize() && Set.Has( View[ Count ] ) == bMember )
    {
        ++Count;
    }
    View.RemovePrefix( Count );
    return View;
}

CZanStringView TrimBackWhile( CZanStringView View, CZanStringView Chars, bool bMember )
{
    const CByteSet Set( Chars );
    int32 Kept = View.GetSize();
    while ( Kept > 0 && Set.Has( View[ Kept - 1 ] ) == bMember )
    {
        --Kept;
    }
    View.RemoveSuffix( View.GetSize() - Kept );
    return View;
}

/// Top bits of the bytes that are not Char.
uint64 FindOthers( uint64 Word, char Char )
{
    const uint64 Bytes = Word ^ static_cast<uint8>( Char ) * EachByte;
    return ( ( ( Bytes & 0x7F * EachByte ) + 0x7F * EachByte ) | Bytes ) & 0x80 * EachByte;
}

uint64 FindNonBlanks( uint64 Word )
{
    return FindOthers( Word, ' ' ) & FindOthers( Word, '\t' ) & FindOthers( Word, '\r' ) &
           FindOthers( Word, '\n' );
}

char ToUpper( char Char ) { return Char >= 'a' && Char <= 'z' ? static_cast<char>( Char - 32 ) : Char; }
char ToLower( char Char ) { return Char >= 'A' && Char <= 'Z' ? static_cast<char>( Char + 32 ) : Char; }

using SBlock [[gnu::vector_size( 16 )]] = signed char; // compares give 0 or -1 in each byte

SBlock LoadBlock( const char* pBytes )
{
    SBlock Block;
    std::memcpy( &Block, pBytes, sizeof( Block ) );
    return Block;
}

/// True when any byte has its top bit set.
bool HasTopBit( SBlock Block )
{
    uint64 Halves[ 2 ];
    std::memcpy( Halves, &Block, sizeof( Block ) );
    return ( ( Halves[ 0 ] | Halves[ 1 ] ) & 0x80 * EachByte ) != 0;
}

bool AreBlanks( SBlock Block )
{
    return !HasTopBit( ~( SBlock( Block == ' ' ) | SBlock( Block == '\t' ) | SBlock( Block == '\r' ) |
                          SBlock( Block == '\n' ) ) );
}

/// A letter in both of its cases, in each byte of a block.
struct SCaseBlindChar
{
    explicit SCaseBlindChar( char Char )
        : Upper( SBlock{} + static_cast<signed char>( ToUpper( Char ) ) ),
          Lower( SBlock{} + static_cast<signed char>( ToLower( Char ) ) )
    {}
    SBlock Find( SBlock Block ) const { return SBlock( Block == Upper ) | SBlock( Block == Lower ); }

    SBlock Upper;
    SBlock Lower;
};

/// A character, and a letter's other case, which differs in one bit.
struct SFoldedChar
{
    explicit SFoldedChar( char Char )
        : CaseBit( ( Char | 32 ) >= 'a' && ( Char | 32 ) <= 'z' ? 32 : 0 ),
          Lower( static_cast<char>( Char | CaseBit ) )
    {}
    bool IsAlike( char Char ) const { return static_cast<char>( Char | CaseBit ) == Lower; }

    /// Whether any byte of Word is alike.
    bool IsIn( uint64 Word ) const
    {
        return FindOthers( Word | static_cast<uint8>( CaseBit ) * EachByte, Lower ) != 0x80 * EachByte;
    }

    char CaseBit; // 0 for all but letters
    char Lower;
};

/// Whether the needle is at a place where its last character is known to match.
bool IsAt( CZanStringView Haystack, int32 Place, CZanStringView Needle )
{
    return NZanPlatform::CompareIgnoreCase( Haystack.GetData() + Place, Needle.GetData(),
               static_cast<size_t>( Needle.GetSize() - 1 ) ) == 0;
}

// Neither of the next two is inlined, so that short texts without a match do not pay for their registers.
[[gnu::noinline]] bool ContainsIgnoreCaseFrom( int32 Place, CZanStringView Haystack, CZanStringView Needle )
{
    const int32 Last = Needle.GetSize() - 1;
    const SFoldedChar FirstChar( Needle[ 0 ] ), LastChar( Needle[ Last ] );
    for ( int32 i = Place; i < Haystack.GetSize() - Last; ++i )
    {
        if ( FirstChar.IsAlike( Haystack[ i ] ) && LastChar.IsAlike( Haystack[ i + Last ] ) &&
             IsAt( Haystack, i, Needle ) )
        {
            return true;
        }
    }
    return false;
}

/// Looks in sixteen places at once for those where both the first and the last character of the needle match.
[[gnu::noinline]] bool ContainsIgnoreCaseInBlocks( CZanStringView Haystack, CZanStringView Needle )
{
    const int32 Last = Needle.GetSize() - 1;
    const SCaseBlindChar FirstChar( Needle[ 0 ] ), LastChar( Needle[ Last ] );
    int32 i = 0;
    for ( ; Haystack.GetSize() - Last - i >= 16; i += 16 )
    {
        const char* const pPlace = Haystack.GetData() + i;
        const SBlock Matches =
            FirstChar.Find( LoadBlock( pPlace ) ) & LastChar.Find( LoadBlock( pPlace + Last ) );
        if ( !HasTopBit( Matches ) )
        {
            continue;
        }
        for ( int32 Byte = 0; Byte < 16; ++Byte )
        {
            if ( Matches[ Byte ] != 0 && IsAt( Haystack, i + Byte, Needle ) )
            {
                return true;
            }
        }
    }
    return ContainsIgnoreCaseFrom( i, Haystack, Needle );
}

uint32 CountDigits( uint64 Value )
{
    uint32 Count = 1;
    for ( ; Value >= 10; Value /= 10 )
    {
        ++Count;
    }
    return Count;
}

int32 CountOf( CZanStringView Text, char Char )
{
    const SBlock Wanted = SBlock{} + static_cast<signed char>( Char );
    int32 Count = 0;
    int32 i = 0;
    while ( Text.GetSize() - i >= 16 )
    {
        SBlock Negative = {}; // counts of up to 127 in each byte
        for ( int32 Round = 0; Round < 127 && Text.GetSize() - i >= 16; ++Round, i += 16 )
        {
            Negative += SBlock( LoadBlock( Text.GetData() + i ) == Wanted );
        }
        for ( int32 Byte = 0; Byte < 16; ++Byte )
        {
            Count -= Negative[ Byte ];
        }
    }
    for ( ; i < Text.GetSize(); ++i )
    {
        Count += Text[ i ] == Char;
    }
    return Count;
}

/// Appends what each delimiter ends, while less than MaxCount - 1 elements are there, and gives where the
/// rest starts.
int32 AppendPieces(
    CZanArray<CString>& Result, CZanStringView Text, CZanStringView Delimiter, int32 MaxCount )
{
    int32 Start = 0;
    while ( Result.GetSize() + 1 < MaxCount )
    {
        const int32 Size = Text.GetSubstring( Start ).Find( Delimiter );
        if ( Size < 0 )
        {
            break;
        }
        Result.AppendEmplace( Text.GetSubstring( Start, Start + Size ) );
        Start += Size + Delimiter.GetSize();
    }
    return Start;
}

/// The same, faster for the short pieces that are usual: they are counted and allocated at once, and no
/// search starts anew for each.
int32 AppendPieces( CZanArray<CString>& Result, CZanStringView Text, char Delimiter, int32 MaxCount )
{
    const int32 Count = std::min( CountOf( Text, Delimiter ), MaxCount - 1 );
    Result.Reserve( Count + 1 );
    int32 Start = 0;
    const auto EndPiece = [ & ]( int32 End ) {
        Result.AppendEmplace( Text.GetData() + Start, static_cast<uint32>( End - Start ) );
        Start = End + 1;
    };
    int32 i = 0;
    for ( ; Text.GetSize() - i >= 8 && Result.GetSize() < Count; i += 8 )
    {
        uint64 Delimiters = ~FindOthers( LoadWord( Text.GetData() + i ), Delimiter ) & 0x80 * EachByte;
        for ( ; Delimiters != 0 && Result.GetSize() < Count; Delimiters &= Delimiters - 1 )
        {
            EndPiece( i + std::countr_zero( Delimiters ) / 8 );
        }
    }
    for ( ; Result.GetSize() < Count; ++i )
    {
        if ( Text[ i ] == Delimiter )
        {
            EndPiece( i );
        }
    }
    return Start;
}

constexpr CZanStringView MetricSuffixes[] = { "", " K", " M", " G", " T", " P", " E" };
constexpr CZanStringView ByteSuffixes[] = { " B", " KB", " MB", " GB", " TB", " PB", " EB" };
constexpr uint64 MaxDecimals = 18;
constexpr int32 MaxFormattedSize = 32;

/// A number that may not become longer than what fits.
class CFormatBuffer
{
public:
    void Append( CZanStringView Text )
    {
        _bFits = _bFits && Text.GetSize() <= MaxFormattedSize - _Size;
        if ( _bFits && !Text.IsEmpty() )
        {
            std::memcpy( _Chars + _Size, Text.GetData(), static_cast<size_t>( Text.GetSize() ) );
            _Size += Text.GetSize();
        }
    }
    void Append( uint64 Value, uint64 MinDigits = 1 )
    {
        char Digits[ NZanStringUtils::MaxNumberSize ];
        const CZanStringView Text = NZanStringUtils::ToString( Digits, Digits + sizeof( Digits ), Value );
        for ( uint64 Count = static_cast<uint64>( Text.GetSize() ); Count < MinDigits; ++Count )
        {
            Append( "0" );
        }
        Append( Text );
    }
    CString Get() const { return _bFits ? CString( _Chars, static_cast<uint32>( _Size ) ) : CString(); }

private:
    char _Chars[ MaxFormattedSize ];
    int32 _Size = 0;
    bool _bFits = true;
};

struct SParts
{
    uint64 Whole;
    uint64 Decimals;
    uint64 DecimalCount;
};

/// Magnitude / Divisor with its decimals cut off.
SParts Divide( uint64 Magnitude, uint64 Divisor, uint32 Base, uint64 DecimalCount )
{
    const uint64 Whole = Magnitude / Divisor;
    uint64 Remainder = Magnitude % Divisor;
    while ( Remainder != 0 && CountDigits( Remainder ) + DecimalCount > MaxDecimals )
    {
        Remainder /= Base;
        Divisor /= Base;
    }
    for ( uint64 i = 0; i < DecimalCount; ++i )
    {
        Remainder *= 10; // 18 digits at most
    }
    return { Whole, Remainder / Divisor, DecimalCount };
}
} // namespace

int32 NZanStringUtils::NDetail::CountMoreBlanks( const char* pFirst, int32 Size, int32 Count )
{
    while ( Size - Count >= 16 && AreBlanks( LoadBlock( pFirst + Count ) ) )
    {
        Count += 16;
    }
    for ( ; Size - Count >= 8; Count += 8 )
    {
        const uint64 NonBlanks = FindNonBlanks( LoadWord( pFirst + Count ) );
        if ( NonBlanks != 0 )
        {
            return Count + std::countr_zero( NonBlanks ) / 8;
        }
    }
    while ( Count < Size && IsBlank( pFirst[ Count ] ) )
    {
        ++Count;
    }
    return Count;
}

int32 NZanStringUtils::NDetail::CountMoreBlanksBackwards( const char* pFirst, int32 Size, int32 Count )
{
    while ( Size - Count >= 16 && AreBlanks( LoadBlock( pFirst + Size - Count - 16 ) ) )
    {
        Count += 16;
    }
    for ( ; Size - Count >= 8; Count += 8 )
    {
        const uint64 NonBlanks = FindNonBlanks( LoadWord( pFirst + Size - Count - 8 ) );
        if ( NonBlanks != 0 )
        {
            return Count + std::countl_zero( NonBlanks ) / 8;
        }
    }
    while ( Count < Size && IsBlank( pFirst[ Size - 1 - Count ] ) )
    {
        ++Count;
    }
    return Count;
}

CZanStringView NZanStringUtils::TrimFront( CZanStringView View, CZanStringView Chars )
{
    return TrimFrontWhile( View, Chars, true );
}

CZanStringView NZanStringUtils::TrimBack( CZanStringView View, CZanStringView Chars )
{
    return TrimBackWhile( View, Chars, true );
}

CZanStringView NZanStringUtils::Trim( CZanStringView View, CZanStringView Chars )
{
    return TrimBack( TrimFront( View, Chars ), Chars );
}

CZanStringView NZanStringUtils::TrimFrontUntil( CZanStringView View, CZanStringView Chars )
{
    return TrimFrontWhile( View, Chars, false );
}

CZanStringView NZanStringUtils::TrimBackUntil( CZanStringView View, CZanStringView Chars )
{
    return TrimBackWhile( View, Chars, false );
}

CZanStringView NZanStringUtils::LastPathComponent( CZanStringView Path )
{
    const CZanStringView Components = TrimBack( Path, Separators );
    return Components.GetSubstring( TrimBackUntil( Components, Separators ).GetSize() );
}

CZanStringView NZanStringUtils::TrimLastPathComponent( CZanStringView Path )
{
    return TrimBackUntil( TrimBack( Path, Separators ), Separators );
}

bool NZanStringUtils::StartsWithIgnoreCase( CZanStringView View, CZanStringView Prefix )
{
    return View.GetSize() >= Prefix.GetSize() &&
           NZanPlatform::CompareIgnoreCase(
               View.GetData(), Prefix.GetData(), static_cast<size_t>( Prefix.GetSize() ) ) == 0;
}

bool NZanStringUtils::EndsWithIgnoreCase( CZanStringView View, CZanStringView Suffix )
{
    return View.GetSize() >= Suffix.GetSize() &&
           NZanPlatform::CompareIgnoreCase( View.GetIterEnd() - Suffix.GetSize(), Suffix.GetData(),
               static_cast<size_t>( Suffix.GetSize() ) ) == 0;
}

bool NZanStringUtils::ContainsIgnoreCase( CZanStringView Haystack, CZanStringView Needle )
{
    if ( Needle.IsEmpty() )
    {
        return true;
    }
    const int32 PlaceCount = Haystack.GetSize() - Needle.GetSize() + 1;
    if ( PlaceCount >= 16 )
    {
        return ContainsIgnoreCaseInBlocks( Haystack, Needle );
    }
    int32 i = 0; // no match before it
    if ( Haystack.GetSize() >= 8 )
    {
        const SFoldedChar FirstChar( Needle[ 0 ] );
        while ( i < PlaceCount &&
                !FirstChar.IsIn( LoadWord( Haystack.GetData() + std::min( i, Haystack.GetSize() - 8 ) ) ) )
        {
            i += 8;
        }
    }
    return i < PlaceCount && ContainsIgnoreCaseFrom( i, Haystack, Needle );
}

CString NZanStringUtils::ToLower( CZanStringView View )
{
    CString Lower;
    Lower.Reserve( View.GetSize() );
    for ( const char Char : View )
    {
        Lower += ::ToLower( Char );
    }
    return Lower;
}

bool NZanStringUtils::IsAscii( CZanStringView View )
{
    const char* const pText = View.GetData();
    const int32 Size = View.GetSize();
    if ( Size < 16 )
    {
        uint64 All = 0;
        if ( Size >= 8 )
        {
            All = LoadWord( pText ) | LoadWord( pText + Size - 8 );
        }
        else
        {
            for ( int32 i = 0; i < Size; ++i )
            {
                All |= static_cast<uint8>( pText[ i ] );
            }
        }
        return ( All & 0x80 * EachByte ) == 0;
    }
    SBlock All = LoadBlock( pText + Size - 16 );
    int32 i = 0;
    for ( ; Size - i >= 64; i += 64 ) // by four, which do not wait for each other
    {
        All |= ( LoadBlock( pText + i ) | LoadBlock( pText + i + 16 ) ) |
               ( LoadBlock( pText + i + 32 ) | LoadBlock( pText + i + 48 ) );
    }
    for ( ; Size - i >= 16; i += 16 )
    {
        All |= LoadBlock( pText + i );
    }
    return !HasTopBit( All );
}

CZanOptional<bool> NZanStringUtils::TryParseBool( CZanStringView View )
{
    if ( View == "yes" )
    {
        return true;
    }
    return View == "no" ? CZanOptional<bool>( false ) : CZanOptional<bool>();
}

CString NZanStringUtils::FormatIntegerWithExponentialSuffix( int64 Value, uint32 MinSignificantDigits,
    uint32 MinDecimals, uint32 Base, const CZanStringView* pSuffixes, int32 SuffixCount )
{
    const uint64 Magnitude = Value < 0 ? 0 - static_cast<uint64>( Value ) : static_cast<uint64>( Value );
    uint64 Divisor = 1;
    int32 Level = 0;
    while ( Base >= 2 && Level < SuffixCount - 1 && Magnitude / Divisor >= Base )
    {
        Divisor *= Base;
        ++Level;
    }
    const uint64 Shown = MinDecimals;
    const uint64 Wanted = MinSignificantDigits > Shown + 1 ? MinSignificantDigits : Shown + 1;
    const uint64 DigitCount = CountDigits( Magnitude / Divisor );
    const uint64 DecimalCount = Wanted > DigitCount ? Wanted - DigitCount : Shown;
    const SParts Parts =
        Divide( Magnitude, Divisor, Base, DecimalCount < MaxDecimals ? DecimalCount : MaxDecimals );

    CFormatBuffer Text;
    Text.Append( Value < 0 ? "-" : "" );
    Text.Append( Parts.Whole );
    if ( Parts.DecimalCount > 0 )
    {
        Text.Append( "." );
        Text.Append( Parts.Decimals, Parts.DecimalCount );
    }
    Text.Append( SuffixCount > 0 ? pSuffixes[ Level ] : CZanStringView() );
    return Text.Get();
}

CString NZanStringUtils::FormatMetric( int64 Value, uint32 MinSignificantDigits, uint32 MinDecimals )
{
    return FormatIntegerWithExponentialSuffix(
        Value, MinSignificantDigits, MinDecimals, 1000, MetricSuffixes );
}

CString NZanStringUtils::FormatBytes( int64 Value, uint32 MinSignificantDigits, uint32 MinDecimals )
{
    return FormatIntegerWithExponentialSuffix( Value, MinSignificantDigits, MinDecimals, 1024, ByteSuffixes );
}

CZanArray<CString> NZanStringUtils::SplitLong(
    CZanStringView Text, CZanStringView Delimiter, int32 MaxElementCount )
{
    CZanArray<CString> Result;
    int32 Start = 0;
    if ( Delimiter.GetSize() == 1 && MaxElementCount > 1 )
    {
        Start = AppendPieces( Result, Text, Delimiter[ 0 ], MaxElementCount );
    }
    else if ( !Delimiter.IsEmpty() )
    {
        Start = AppendPieces( Result, Text, Delimiter, MaxElementCount );
    }
    Result.AppendEmplace( Text.GetSubstring( Start ) );
    return Result;
}
