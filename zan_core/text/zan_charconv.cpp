#include "zan_core/text/zan_charconv.h"

#include "zan_core/numerics/zan_fixed_point.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

// Digits go eight at a time through a 64-bit word, the first of the text in the lowest byte, so that texts of
// different lengths take the same path: a loop over digits ends with a branch that the processor mispredicts
// for every other number, which costs more than all the digits do. A word is read or stored by two
// overlapping halves where fewer than eight bytes are there, and nothing outside the range is touched.
//
// The words of base 10 follow the arithmetic of Lamport, "Multiple byte processing with full-word
// instructions" (1975): neighbouring digits are joined to pairs, pairs to fours, and fours to eight, in all
// lanes at once; writing goes the same way back.

namespace
{
using namespace NZanStringUtils;

constexpr int32 MinBase = 2;
constexpr int32 MaxBase = 36;
template <typename T = uint64>
constexpr T EachByte = std::numeric_limits<T>::max() / 255;

constexpr std::array<uint64, 20> PowersOfTen = [] {
    std::array<uint64, 20> Powers = {};
    uint64 Power = 1;
    for ( uint64& Each : Powers )
    {
        Each = Power;
        Power *= 10;
    }
    return Powers;
}();

/// The value of each character as a digit, 255 for those that are none.
constexpr std::array<uint8, 256> DigitValues = [] {
    std::array<uint8, 256> Values = {};
    Values.fill( 255 );
    for ( uint8 i = 0; i < 26; ++i )
    {
        Values[ i % 10u + '0' ] = i % 10;
        Values[ i + size_t( 'a' ) ] = Values[ i + size_t( 'A' ) ] = static_cast<uint8>( 10 + i );
    }
    return Values;
}();

// --- Words of characters -------------------------------------------------------------------------------

template <typename T>
inline T ToLittleEndian( T Word )
{
    if constexpr ( std::endian::native == std::endian::big )
    {
        Word = sizeof( T ) == 8 ? static_cast<T>( __builtin_bswap64( Word ) )
                                : static_cast<T>( __builtin_bswap32( static_cast<uint32>( Word ) ) );
    }
    return Word;
}

template <typename T>
inline T Load( const char* pFirst )
{
    T Word;
    std::memcpy( &Word, pFirst, sizeof( T ) );
    return ToLittleEndian( Word );
}

template <typename T>
inline void Store( char* pFirst, T Word )
{
    Word = ToLittleEndian( Word );
    std::memcpy( pFirst, &Word, sizeof( T ) );
}

/// The characters of a range of 1 to 3, and zero bytes behind them.
inline uint32 LoadUpToThree( const char* pFirst, size_t Size )
{
    const auto At = [ = ]( size_t i ) { return uint32( static_cast<uint8>( pFirst[ i ] ) ) << 8 * i; };
    return At( 0 ) | At( Size / 2 ) | At( Size - 1 );
}

/// The same of a range of 4 or more, of which it takes 8.
inline uint64 LoadUpToEight( const char* pFirst, size_t Size )
{
    return Size >= 8
               ? Load<uint64>( pFirst )
               : Load<uint32>( pFirst ) | uint64( Load<uint32>( pFirst + Size - 4 ) ) << 8 * ( Size - 4 );
}

/// The same of a range of up to 8 with 8 readable characters before its end.
inline uint64 LoadTail( const char* pFirst, size_t Size )
{
    return Size >= 8 ? Load<uint64>( pFirst )
                     : Load<uint64>( pFirst + Size - 8 ) >> 4 * ( 8 - Size ) >> 4 * ( 8 - Size );
}

/// Writes the lowest Count bytes, 1 to 3.
inline void StoreUpToThree( char* pFirst, uint32 Word, size_t Count )
{
    const auto Put = [ = ]( size_t i ) { pFirst[ i ] = static_cast<char>( Word >> 8 * i ); };
    Put( 0 );
    Put( Count / 2 );
    Put( Count - 1 );
}

/// The same for 4 to 8.
inline void StoreUpToEight( char* pFirst, uint64 Word, size_t Count )
{
    Store( pFirst, static_cast<uint32>( Word ) );
    Store( pFirst + Count - 4, static_cast<uint32>( Word >> 8 * ( Count - 4 ) ) );
}

// --- Reading -------------------------------------------------------------------------------------------

/// The digits at the start of a word.
struct SRun
{
    uint64 Value;
    size_t Count;
};

/// Shifts the first Count characters up to the end of the word, zeros before them.
template <typename T>
inline T AlignRun( T Digits, size_t Count )
{
    const size_t HalfShift = 4 * ( sizeof( T ) - Count );
    return Digits << HalfShift << HalfShift; // at once it could be by the whole width, which is not defined
}

template <typename T>
inline size_t CountBefore( T TopBitsOfOthers )
{
    return static_cast<size_t>( std::countr_zero( TopBitsOfOthers ) ) / 8;
}

/// Top bits of the bytes that are above 9. Only the first of them is certain, for it may carry into the next.
template <typename T>
inline T FindAboveNine( T Bytes )
{
    return ( (Bytes + 0x76 * EachByte<T>) | Bytes ) & 0x80 * EachByte<T>;
}

struct SDecimal
{
    static constexpr uint32 Base = 10;
    static constexpr size_t SafeCount = 19; // digits that 64 bits always hold

    template <typename T>
    static SRun Read( T Word )
    {
        const T Digits = Word ^ '0' * EachByte<T>;
        const size_t Count = CountBefore( FindAboveNine( Digits ) );
        return { Join( AlignRun( Digits, Count ) ), Count };
    }

    static uint32 Join( uint32 Digits )
    {
        const uint32 Pairs = Digits * 10 + ( Digits >> 8 ); // in every other byte
        return ( Pairs & 0xFF ) * 100 + ( Pairs >> 16 & 0xFF );
    }

    static uint64 Join( uint64 Digits )
    {
        const uint64 Pairs = Digits * 10 + ( Digits >> 8 );
        constexpr uint64 Mask = 0x000000FF000000FF;
        constexpr uint64 EvenWeights = 100 + ( uint64( 1000000 ) << 32 );
        constexpr uint64 OddWeights = 1 + ( uint64( 10000 ) << 32 );
        return ( ( Pairs & Mask ) * EvenWeights + ( Pairs >> 16 & Mask ) * OddWeights ) >> 32;
    }

    static uint64 Append( uint64 Value, SRun Run ) { return Value * PowersOfTen[ Run.Count ] + Run.Value; }
};

struct SHexadecimal
{
    static constexpr uint32 Base = 16;
    static constexpr size_t SafeCount = 16;

    template <typename T>
    static SRun Read( T Word )
    {
        const T Letters = (Word | 0x20 * EachByte<T>)^0x60 * EachByte<T>; // 1 to 6
        const T AreLetters = (Letters + 0x7F * EachByte<T>)&~(Letters + 0x79 * EachByte<T>)&~Letters;
        const size_t Count = CountBefore( FindAboveNine( Word ^ '0' * EachByte<T> ) & ~AreLetters );
        const T Nibbles = (Word & 0x0F * EachByte<T>)+(Word >> 6 & EachByte<T>)*9;
        return { Join( AlignRun( Nibbles, Count ) ), Count };
    }

    static uint32 Join( uint32 Nibbles )
    {
        const uint32 Pairs = Nibbles << 4 | Nibbles >> 8; // in every other byte
        return ( Pairs & 0xFF ) << 8 | ( Pairs >> 16 & 0xFF );
    }

    static uint64 Join( uint64 Nibbles )
    {
        const uint64 Pairs = ( Nibbles << 4 | Nibbles >> 8 ) & 0x00FF00FF00FF00FF;
        const uint64 Fours = ( Pairs << 8 | Pairs >> 16 ) & 0x0000FFFF0000FFFF;
        return ( Fours << 16 | Fours >> 32 ) & 0xFFFFFFFF;
    }

    static uint64 Append( uint64 Value, SRun Run ) { return ( Value << 4 * Run.Count ) + Run.Value; }
};

struct SMagnitude
{
    uint64 Value = 0;
    const char* pEnd = nullptr; // behind the last digit
    bool bOverflows = false;    // 64 bits
};

/// Digit by digit: any base and any length.
[[gnu::noinline]] SMagnitude ReadByDigits( const char* pFirst, const char* pLast, uint32 Base )
{
    const uint64 MaxQuotient = std::numeric_limits<uint64>::max() / Base;
    const uint64 MaxRemainder = std::numeric_limits<uint64>::max() % Base;
    SMagnitude Result;
    for ( ; pFirst != pLast; ++pFirst )
    {
        const uint32 Digit = DigitValues[ static_cast<uint8>( *pFirst ) ];
        if ( Digit >= Base )
        {
            break;
        }
        if ( Result.Value > MaxQuotient || ( Result.Value == MaxQuotient && Digit > MaxRemainder ) )
        {
            Result.bOverflows = true;
        }
        else
        {
            Result.Value = Result.Value * Base + Digit;
        }
    }
    Result.pEnd = pFirst;
    return Result;
}

/// Requires a range that is not empty.
template <typename TRadix>
[[gnu::always_inline]] inline SMagnitude ReadByWords( const char* pFirst, const char* pLast )
{
    const size_t Size = static_cast<size_t>( pLast - pFirst );
    if ( Size < 4 )
    {
        const SRun Run = TRadix::Read( LoadUpToThree( pFirst, Size ) );
        return { Run.Value, pFirst + Run.Count, false };
    }
    SRun Run = TRadix::Read( LoadUpToEight( pFirst, Size ) );
    uint64 Value = Run.Value;
    size_t Count = Run.Count;
    if ( Count == 8 && Size > 8 )
    {
        Run = TRadix::Read( LoadTail( pFirst + 8, Size - 8 ) );
        Value = TRadix::Append( Value, Run );
        Count += Run.Count;
        if ( Count == 16 && Size > 16 )
        {
            Run = TRadix::Read( LoadTail( pFirst + 16, Size - 16 ) );
            Count += Run.Count;
            if ( Count > TRadix::SafeCount )
            {
                if ( TRadix::Base != 10 || Count > 20 || Value >= 1844674407370955 ) [[unlikely]]
                {
                    return ReadByDigits( pFirst, pLast, TRadix::Base );
                }
            }
            Value = TRadix::Append( Value, Run );
        }
    }
    return { Value, pFirst + Count, false };
}

inline SMagnitude ReadMagnitude( const char* pFirst, const char* pLast, int32 Base )
{
    if ( pFirst == pLast || Base < MinBase || Base > MaxBase ) [[unlikely]]
    {
        return { 0, pFirst, false };
    }
    if ( Base == 10 )
    {
        return ReadByWords<SDecimal>( pFirst, pLast );
    }
    if ( Base == 16 )
    {
        return ReadByWords<SHexadecimal>( pFirst, pLast );
    }
    return ReadByDigits( pFirst, pLast, static_cast<uint32>( Base ) );
}

// --- Writing -------------------------------------------------------------------------------------------

inline size_t CountDecimals( uint64 Value )
{
    const size_t Guess =
        static_cast<size_t>( std::bit_width( Value | 1 ) ) * 1233 >> 12; // 1233/4096: log10(2)
    return Guess + ( ( Value | 1 ) >= PowersOfTen[ Guess ] );
}

/// The three digits of a value below 1,000, as text.
inline uint32 SplitThree( uint32 Value )
{
    const uint32 Hundreds = Value * 41 >> 12;
    const uint32 Rest = Value - Hundreds * 100;
    const uint32 Tens = Rest * 103 >> 10;
    return ( Hundreds | Tens << 8 | ( Rest - Tens * 10 ) << 16 ) + 0x303030;
}

/// The eight digits of a value below 100,000,000, as text.
inline uint64 SplitEight( uint32 Value )
{
    const uint64 High = Value / 10000;
    const uint64 Fours = High | ( Value - High * 10000 ) << 32;
    const uint64 Hundreds = Fours * 10486 >> 20 & 0x0000007F0000007F;
    const uint64 Pairs = Hundreds | ( Fours - Hundreds * 100 ) << 16;
    const uint64 Tens = Pairs * 103 >> 10 & 0x000F000F000F000F;
    return ( Tens | ( Pairs - Tens * 10 ) << 8 ) + '0' * EachByte<>;
}

/// Writes the last Count digits, 9 to 16, of the 16 in two words.
inline void StoreUpToSixteen( char* pFirst, uint64 High, uint64 Low, size_t Count )
{
    const size_t Shift = 8 * ( 16 - Count );
    Store( pFirst, High >> Shift | Low << 1 << ( 63 - Shift ) );
    Store( pFirst + Count - 8, Low );
}

/// Writes the digits of a value below 10^16, of which it has Count.
inline void WriteDecimal16( char* pFirst, uint64 Value, size_t Count )
{
    if ( Count < 4 )
    {
        StoreUpToThree( pFirst, SplitThree( static_cast<uint32>( Value ) ) >> 8 * ( 3 - Count ), Count );
    }
    else if ( Count <= 8 )
    {
        StoreUpToEight( pFirst, SplitEight( static_cast<uint32>( Value ) ) >> 8 * ( 8 - Count ), Count );
    }
    else
    {
        const uint64 High = Value / 100000000;
        const uint64 Low = Value - High * 100000000;
        StoreUpToSixteen( pFirst, SplitEight( static_cast<uint32>( High ) ),
            SplitEight( static_cast<uint32>( Low ) ), Count );
    }
}

inline void WriteDecimal( char* pFirst, uint64 Value, size_t Count )
{
    if ( Count <= 16 )
    {
        WriteDecimal16( pFirst, Value, Count );
        return;
    }
    const uint64 High = Value / 10000000000000000; // 1 to 4 digits
    const uint64 Low = Value - High * 10000000000000000;
    const uint64 Middle = Low / 100000000;
    const uint64 HighText = SplitEight( static_cast<uint32>( High ) );
    const uint64 MiddleText = SplitEight( static_cast<uint32>( Middle ) );
    StoreUpToSixteen( pFirst, HighText, MiddleText, Count - 8 );
    Store( pFirst + Count - 8, SplitEight( static_cast<uint32>( Low - Middle * 100000000 ) ) );
}

/// The hexadecimal digits of values up to 9 and above, as text.
template <typename T>
inline T SpellNibbles( T Nibbles )
{
    const T AreLetters = ( Nibbles + 0x06 * EachByte<T> ) >> 4 & EachByte<T>;
    return Nibbles + '0' * EachByte<T> + AreLetters * ( 'a' - '0' - 10 );
}

/// The lowest three hexadecimal digits, as text.
inline uint32 SplitThreeNibbles( uint32 Value )
{
    return SpellNibbles<uint32>( ( Value >> 8 & 0xF ) | ( Value << 4 & 0xF00 ) | ( Value << 16 & 0xF0000 ) );
}

/// Eight hexadecimal digits, as text.
inline uint64 SplitNibbles( uint32 Value )
{
    uint64 Nibbles = ( uint64( Value ) << 32 | Value >> 16 ) & 0x0000FFFF0000FFFF;
    Nibbles = ( Nibbles << 16 | Nibbles >> 8 ) & 0x00FF00FF00FF00FF;
    return SpellNibbles( ( Nibbles << 8 | Nibbles >> 4 ) & 0x0F * EachByte<> );
}

inline void WriteHexadecimal( char* pFirst, uint64 Value, size_t Count )
{
    const uint32 Low = static_cast<uint32>( Value );
    if ( Count < 4 )
    {
        StoreUpToThree( pFirst, SplitThreeNibbles( Low ) >> 8 * ( 3 - Count ), Count );
    }
    else if ( Count <= 8 )
    {
        StoreUpToEight( pFirst, SplitNibbles( Low ) >> 8 * ( 8 - Count ), Count );
    }
    else
    {
        const uint32 High = static_cast<uint32>( Value >> 32 );
        StoreUpToSixteen( pFirst, SplitNibbles( High ), SplitNibbles( Low ), Count );
    }
}

[[gnu::noinline]] to_chars_result WriteByDigits(
    char* pFirst, char* pLast, uint64 Magnitude, bool bNegative, uint32 Base )
{
    char Buffer[ 64 ];
    char* const pEnd = Buffer + sizeof( Buffer );
    char* pDigit = pEnd;
    const bool bByBits = std::has_single_bit( Base );
    const int Bits = std::countr_zero( Base );
    do
    {
        const uint64 Rest = bByBits ? Magnitude >> Bits : Magnitude / Base;
        *--pDigit = "0123456789abcdefghijklmnopqrstuvwxyz"[ Magnitude - Rest * Base ];
        Magnitude = Rest;
    } while ( Magnitude != 0 );
    if ( bNegative && pFirst != pLast )
    {
        *pFirst++ = '-';
        bNegative = false;
    }
    const std::ptrdiff_t Size = pEnd - pDigit;
    if ( bNegative || pLast - pFirst < Size )
    {
        return { pLast, std::errc::value_too_large };
    }
    std::memcpy( pFirst, pDigit, static_cast<size_t>( Size ) );
    return { pFirst + Size, std::errc() };
}

/// The text did not fit: what is written all the same.
[[gnu::noinline, gnu::cold]] to_chars_result GiveUp( char* pFirst, char* pLast, bool bNegative )
{
    if ( bNegative && pFirst != pLast )
    {
        *pFirst = '-';
    }
    return { pLast, std::errc::value_too_large };
}

template <typename T>
inline to_chars_result WriteMagnitude( char* pFirst, char* pLast, T Magnitude, bool bNegative, int32 Base )
{
    size_t Count = 0;
    if ( Base == 10 )
    {
        Count = CountDecimals( Magnitude );
    }
    else if ( Base == 16 )
    {
        Count = ( static_cast<size_t>( std::bit_width( static_cast<T>( Magnitude | 1 ) ) ) + 3 ) / 4;
    }
    else if ( Base < MinBase || Base > MaxBase )
    {
        return { pLast, std::errc::invalid_argument };
    }
    else
    {
        return WriteByDigits( pFirst, pLast, Magnitude, bNegative, static_cast<uint32>( Base ) );
    }
    if ( static_cast<size_t>( pLast - pFirst ) < Count + bNegative ) [[unlikely]]
    {
        return GiveUp( pFirst, pLast, bNegative );
    }
    *pFirst = '-'; // the first digit replaces it, which is cheaper than to decide
    pFirst += bNegative;
    if ( Base == 10 )
    {
        if constexpr ( sizeof( T ) == sizeof( uint64 ) )
        {
            WriteDecimal( pFirst, Magnitude, Count );
        }
        else
        {
            WriteDecimal16( pFirst, Magnitude, Count );
        }
    }
    else
    {
        WriteHexadecimal( pFirst, Magnitude, Count );
    }
    return { pFirst + Count, std::errc() };
}
} // namespace

from_chars_result NZanStringUtils::NDetail::ReadSigned(
    const char* pFirst, const char* pLast, int64& Value, int32 Base, int64 Max )
{
    const bool bNegative = pFirst != pLast && *pFirst == '-';
    const SMagnitude Magnitude = ReadMagnitude( pFirst + bNegative, pLast, Base );
    if ( Magnitude.pEnd == pFirst + bNegative ) [[unlikely]]
    {
        return { pFirst, std::errc::invalid_argument };
    }
    const uint64 Sign = bNegative;
    if ( Magnitude.bOverflows || Magnitude.Value > static_cast<uint64>( Max ) + Sign ) [[unlikely]]
    {
        return { Magnitude.pEnd, std::errc::result_out_of_range };
    }
    Value = static_cast<int64>( ( Magnitude.Value ^ ( 0 - Sign ) ) + Sign );
    return { Magnitude.pEnd, std::errc() };
}

from_chars_result NZanStringUtils::NDetail::ReadUnsigned(
    const char* pFirst, const char* pLast, uint64& Value, int32 Base, uint64 Max )
{
    const SMagnitude Magnitude = ReadMagnitude( pFirst, pLast, Base );
    if ( Magnitude.pEnd == pFirst ) [[unlikely]]
    {
        return { pFirst, std::errc::invalid_argument };
    }
    if ( Magnitude.bOverflows || Magnitude.Value > Max ) [[unlikely]]
    {
        return { Magnitude.pEnd, std::errc::result_out_of_range };
    }
    Value = Magnitude.Value;
    return { Magnitude.pEnd, std::errc() };
}

to_chars_result NZanStringUtils::NDetail::WriteInteger(
    char* pFirst, char* pLast, uint64 Magnitude, bool bNegative, int32 Base )
{
    return WriteMagnitude( pFirst, pLast, Magnitude, bNegative, Base );
}

to_chars_result NZanStringUtils::NDetail::WriteInteger(
    char* pFirst, char* pLast, uint32 Magnitude, bool bNegative, int32 Base )
{
    return WriteMagnitude( pFirst, pLast, Magnitude, bNegative, Base );
}

from_chars_result NZanStringUtils::from_chars( const char* pFirst, const char* pLast, CFixedPoint& Value )
{
    constexpr uint64 Resolution = NFixedPoint::Resolution;
    constexpr size_t NumDecimals = NFixedPoint::NumDecimals;
    constexpr uint64 MaxUnderlying = std::numeric_limits<int64>::max();
    const bool bNegative = pFirst != pLast && *pFirst == '-';
    const char* const pDigits = pFirst + bNegative;
    const SMagnitude Whole = ReadMagnitude( pDigits, pLast, 10 );
    const bool bHasWhole = Whole.pEnd != pDigits;
    const char* pEnd = bHasWhole ? Whole.pEnd : pFirst; // a sign alone is not part of a number
    SRun Fraction = { 0, 0 };
    bool bHasDecimals = true;
    if ( pLast - pEnd > 1 && *pEnd == '.' )
    {
        const size_t Size = static_cast<size_t>( pLast - pEnd ) - 1;
        Fraction = Size < 4 ? SDecimal::Read( LoadUpToThree( pEnd + 1, Size ) )
                            : SDecimal::Read( LoadUpToEight( pEnd + 1, Size ) );
        bHasDecimals = Fraction.Count > 0;
        pEnd += 1 + ( Fraction.Count < NumDecimals ? Fraction.Count : NumDecimals );
    }
    if ( !bHasWhole )
    {
        return { pEnd, std::errc::invalid_argument };
    }
    if ( Whole.bOverflows || Whole.Value > MaxUnderlying / Resolution )
    {
        return { pEnd, std::errc::result_out_of_range };
    }
    if ( !bHasDecimals )
    {
        return { pEnd, std::errc::invalid_argument };
    }
    if ( Fraction.Count > NumDecimals )
    {
        return { pEnd, std::errc::result_out_of_range };
    }
    const uint64 Sign = bNegative;
    const uint64 Magnitude =
        Whole.Value * Resolution + Fraction.Value * PowersOfTen[ NumDecimals - Fraction.Count ];
    if ( Magnitude > MaxUnderlying + Sign )
    {
        return { pEnd, std::errc::result_out_of_range };
    }
    Value = CFixedPoint::CreateFixedWithUnderlyingValue(
        static_cast<int64>( ( Magnitude ^ ( 0 - Sign ) ) + Sign ) );
    return { pEnd, std::errc() };
}

to_chars_result NZanStringUtils::NDetail::WriteFixedPoint( char* pFirst, char* pLast, CFixedPoint Value )
{
    constexpr uint64 Resolution = NFixedPoint::Resolution;
    static_assert(
        NFixedPoint::NumDecimals == 5, "the fraction is written as the first five of eight digits" );
    const uint64 Bits = static_cast<uint64>( Value.GetUnderlying() );
    const bool bNegative = Value.GetUnderlying() < 0;
    const uint64 Magnitude = bNegative ? 0 - Bits : Bits;
    const uint64 Whole = Magnitude / Resolution;
    const uint64 Decimals = SplitEight( static_cast<uint32>( Magnitude - Whole * Resolution ) * 1000 );
    const size_t WholeCount = CountDecimals( Whole );
    const size_t DecimalCount =
        8 - static_cast<size_t>( std::countl_zero( Decimals ^ '0' * EachByte<> ) ) / 8;
    const size_t TailSize = DecimalCount + ( DecimalCount != 0 );
    const size_t Size = bNegative + WholeCount + TailSize;
    if ( static_cast<size_t>( pLast - pFirst ) < Size ) [[unlikely]]
    {
        return { pLast, std::errc::value_too_large };
    }
    *pFirst = '-'; // the first digit replaces it
    pFirst += bNegative;
    WriteDecimal16( pFirst, Whole, WholeCount );
    const uint64 Tail = Decimals << 8 | '.';
    if ( TailSize >= 4 )
    {
        StoreUpToEight( pFirst + WholeCount, Tail, TailSize );
    }
    else if ( TailSize != 0 )
    {
        StoreUpToThree( pFirst + WholeCount, static_cast<uint32>( Tail ), TailSize );
    }
    return { pFirst + WholeCount + TailSize, std::errc() };
}
