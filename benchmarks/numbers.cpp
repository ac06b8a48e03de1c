#include "benchmarks/zan_bench.h"
#include "zan_core/numerics/zan_fixed_point.h"
#include "zan_core/text/zan_charconv.h"
#include "zan_core/text/zan_string_utils.h"

#include <absl/strings/ascii.h>
#include <absl/strings/str_join.h>
#include <absl/strings/str_split.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <list>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{
constexpr size_t NumberCount = 131072; // too many for the processor to learn the order of their lengths

void Check( bool bSame, const std::string& Row )
{
    if ( !bSame )
    {
        std::fprintf( stderr, "%s: ours and theirs do different work\n", Row.c_str() );
        std::abort();
    }
}

template <typename T>
struct TNumbers
{
    void Add( T Value, const std::string& Text )
    {
        Values.push_back( Value );
        Texts += Text;
        Ends.push_back( Texts.size() );
    }

    std::vector<T> Values;
    std::string Texts; // all in a row
    std::vector<size_t> Ends;
};

/// Calls Work( pFirst, pLast ) for each text.
template <typename T, typename TWork>
void ForEachText( const TNumbers<T>& Numbers, const TWork& Work )
{
    const char* pFirst = Numbers.Texts.data();
    for ( const size_t End : Numbers.Ends )
    {
        const char* pLast = Numbers.Texts.data() + End;
        Work( pFirst, pLast );
        pFirst = pLast;
    }
}

/// Reads all texts by Read( pFirst, pLast, Value ).
template <typename T, typename TValue, typename TRead>
auto Reading( const TNumbers<T>& Numbers, TRead Read )
{
    return [ &Numbers, Read, pValues = std::make_shared<std::vector<TValue>>( NumberCount ) ] {
        TValue* pValue = pValues->data();
        ForEachText( Numbers, [ & ]( const char* pFirst, const char* pLast ) {
            benchmark::DoNotOptimize( Read( pFirst, pLast, *pValue++ ).ptr );
        } );
        return pValue;
    };
}

/// Writes all values one behind the other by Write( pFirst, pLast, Value ).
template <typename T, typename TWrite>
auto Writing( const std::vector<T>& Values, TWrite Write )
{
    return [ &Values, Write, pBuffer = std::make_shared<std::string>( NumberCount * 32, '#' ) ] {
        char* pOut = pBuffer->data();
        char* const pLast = pOut + pBuffer->size();
        for ( const T& Value : Values )
        {
            pOut = Write( pOut, pLast, Value ).ptr;
        }
        return pOut;
    };
}

/// A number whose count of digits is evenly spread, below 2^Bits.
uint64 MakeNumber( std::mt19937_64& Random, int32 Base, const std::string& Kind, int32 Bits )
{
    const uint64 Full = Random() >> ( 64 - Bits );
    const uint64 Cube =
        static_cast<uint64>( Base ) * static_cast<uint64>( Base ) * static_cast<uint64>( Base );
    const int32 DigitBits = Base == 16 ? 4 : 3;
    const int32 Dropped =
        static_cast<int32>( Random() % static_cast<uint64>( Bits / DigitBits ) ) * DigitBits;
    if ( Kind == "short" )
    {
        const uint64 Limit[] = { static_cast<uint64>( Base ), static_cast<uint64>( Base * Base ), Cube };
        return Full % Limit[ Random() % 3 ];
    }
    return Kind == "full" ? Full : Full >> Dropped;
}

template <typename T>
void AddIntegers( const std::string& Type, const std::string& Kind, int32 Base )
{
    std::mt19937_64 Random( 7 );
    static std::list<TNumbers<T>> Kept;
    TNumbers<T>& Numbers = Kept.emplace_back();
    const std::string Behind = " " + Type + ", base " + std::to_string( Base ) + ", " + Kind + " numbers";
    for ( size_t i = 0; i < NumberCount; ++i )
    {
        const bool bNegative = std::is_signed_v<T> && Random() % 2 == 0;
        const uint64 Magnitude = MakeNumber( Random, Base, Kind, std::numeric_limits<T>::digits );
        const T Value = static_cast<T>( bNegative ? 0 - Magnitude : Magnitude );
        char Buffers[ 2 ][ 80 ];
        const char* const pEnd = std::to_chars( Buffers[ 0 ], Buffers[ 0 ] + 80, Value, Base ).ptr;
        const char* pOurEnd = NZanStringUtils::to_chars( Buffers[ 1 ], Buffers[ 1 ] + 80, Value, Base ).ptr;
        const std::string Text( static_cast<const char*>( Buffers[ 0 ] ), pEnd );
        Check(
            Text == std::string( static_cast<const char*>( Buffers[ 1 ] ), pOurEnd ), "to_chars" + Behind );
        T Read = 0;
        const auto Result = NZanStringUtils::from_chars( Buffers[ 0 ], pEnd, Read, Base );
        Check( Read == Value && Result.ptr == pEnd, "from_chars" + Behind );
        Numbers.Add( Value, Text );
    }
    // A constant base, which is what programs write.
    const auto Add = [ & ]<int32 ConstantBase>( std::integral_constant<int32, ConstantBase> ) {
        ZanBench( "from_chars" + Behind,
            { { "ours", Reading<T, T>( Numbers,
                            []( auto pFirst, auto pLast, T& Value ) {
                                return NZanStringUtils::from_chars( pFirst, pLast, Value, ConstantBase );
                            } ) },
                { "std::from_chars", Reading<T, T>( Numbers,
                                         []( auto pFirst, auto pLast, T& Value ) {
                                             return std::from_chars( pFirst, pLast, Value, ConstantBase );
                                         } ) } },
            1.0 );
        ZanBench( "to_chars" + Behind,
            { { "ours", Writing( Numbers.Values,
                            []( auto pFirst, auto pLast, T Value ) {
                                return NZanStringUtils::to_chars( pFirst, pLast, Value, ConstantBase );
                            } ) },
                { "std::to_chars", Writing( Numbers.Values,
                                       []( auto pFirst, auto pLast, T Value ) {
                                           return std::to_chars( pFirst, pLast, Value, ConstantBase );
                                       } ) } },
            1.0 );
    };
    Base == 10 ? Add( std::integral_constant<int32, 10>() ) : Add( std::integral_constant<int32, 16>() );
}

/// Values with five decimals, the last of them not zero, so that both write the same; theirs are doubles.
void AddFixed( const std::string& Kind, int64 MaxWhole )
{
    std::mt19937_64 Random( 8 );
    static std::list<TNumbers<CFixedPoint>> Kept;
    static std::list<std::vector<double>> KeptDoubles;
    TNumbers<CFixedPoint>& Numbers = Kept.emplace_back();
    std::vector<double>& Doubles = KeptDoubles.emplace_back();
    const std::string Behind = " CFixedPoint, " + Kind + " numbers";
    for ( size_t i = 0; i < NumberCount; ++i )
    {
        const int64 Limit =
            MaxWhole >> Random() % static_cast<uint64>( std::bit_width( static_cast<uint64>( MaxWhole ) ) );
        const int64 Whole = static_cast<int64>( Random() % static_cast<uint64>( Limit + 1 ) );
        const int64 Underlying = ( Whole * 10000 + static_cast<int64>( Random() % 10000 ) ) * 10 + 1 +
                                 static_cast<int64>( Random() % 9 );
        const CFixedPoint Value =
            CFixedPoint::CreateFixedWithUnderlyingValue( Random() % 2 == 0 ? -Underlying : Underlying );
        char Buffers[ 2 ][ 80 ];
        const char* const pEnd = NZanStringUtils::to_chars( Buffers[ 0 ], Buffers[ 0 ] + 80, Value ).ptr;
        const std::string Text( static_cast<const char*>( Buffers[ 0 ] ), pEnd );
        Doubles.push_back( std::strtod( Text.c_str(), nullptr ) );
        const char* pTheirEnd =
            std::to_chars( Buffers[ 1 ], Buffers[ 1 ] + 80, Doubles.back(), std::chars_format::fixed, 5 ).ptr;
        Check(
            Text == std::string( static_cast<const char*>( Buffers[ 1 ] ), pTheirEnd ), "to_chars" + Behind );
        CFixedPoint Read;
        NZanStringUtils::from_chars( Buffers[ 0 ], pEnd, Read );
        Check( Read == Value, "from_chars" + Behind );
        Numbers.Add( Value, Text );
    }
    ZanBench( "from_chars" + Behind,
        { { "ours", Reading<CFixedPoint, CFixedPoint>( Numbers,
                        []( auto pFirst, auto pLast, CFixedPoint& Value ) {
                            return NZanStringUtils::from_chars( pFirst, pLast, Value );
                        } ) },
            { "std::from_chars double", Reading<CFixedPoint, double>( Numbers,
                                            []( auto pFirst, auto pLast, double& Value ) {
                                                return std::from_chars( pFirst, pLast, Value );
                                            } ) } },
        0.7 );
    ZanBench( "to_chars" + Behind,
        { { "ours", Writing( Numbers.Values,
                        []( auto pFirst, auto pLast, CFixedPoint Value ) {
                            return NZanStringUtils::to_chars( pFirst, pLast, Value );
                        } ) },
            { "std::to_chars double", Writing( Doubles,
                                          []( auto pFirst, auto pLast, double Value ) {
                                              return std::to_chars(
                                                  pFirst, pLast, Value, std::chars_format::fixed, 5 );
                                          } ) } },
        0.7 );
}
// --- Text --------------------------------------------------------------------------------------------------

CZanStringView ToOurs( const std::string& Text )
{
    return CZanStringView( Text.data(), static_cast<int32>( Text.size() ) );
}

/// Work on each of the texts.
template <typename TWork>
auto OverAll( const std::vector<std::string>& Texts, TWork Work )
{
    return [ &Texts, Work ] {
        for ( const std::string& Text : Texts )
        {
            benchmark::DoNotOptimize( Work( Text ) );
        }
    };
}

/// Words of 1 to 12 letters with one character between them, Size in all.
std::string MakeWords( std::mt19937_64& Random, size_t Size, char Between )
{
    std::string Text;
    while ( Text.size() < Size )
    {
        for ( uint64 i = 1 + Random() % 12; i > 0; --i )
        {
            Text += static_cast<char>( 'a' + Random() % 26 );
        }
        Text += Between;
    }
    Text.resize( Size );
    return Text;
}

bool ContainsPlainly( std::string_view Haystack, std::string_view Needle )
{
    const auto ToUpper = []( char Char ) { return Char >= 'a' && Char <= 'z' ? char( Char - 32 ) : Char; };
    for ( size_t i = 0; i + Needle.size() <= Haystack.size(); ++i )
    {
        size_t k = 0;
        while ( k < Needle.size() && ToUpper( Haystack[ i + k ] ) == ToUpper( Needle[ k ] ) )
        {
            ++k;
        }
        if ( k == Needle.size() )
        {
            return true;
        }
    }
    return false;
}

bool IsAsciiPlainly( std::string_view Text )
{
    for ( const char Char : Text )
    {
        if ( static_cast<uint8>( Char ) >= 0x80 )
        {
            return false;
        }
    }
    return true;
}

void AddTexts( const std::string& Name, size_t Size )
{
    std::mt19937_64 Random( 9 );
    const size_t Count = std::max<size_t>( 4, std::min<size_t>( 65536, 2000000 / Size ) );
    const std::string Behind = ", " + Name;
    static std::list<std::vector<std::string>> Kept;
    std::vector<std::string>&Padded = Kept.emplace_back(), &Blank = Kept.emplace_back(),
    &Listed = Kept.emplace_back(), &Upper = Kept.emplace_back();
    static std::list<std::vector<std::vector<std::string>>> KeptPieces;
    static std::list<std::vector<CZanArray<CString>>> KeptElements;
    auto& Pieces = KeptPieces.emplace_back();
    auto& Elements = KeptElements.emplace_back();
    for ( size_t i = 0; i < Count; ++i )
    {
        const size_t Length = Size - Random() % ( Size / 2 );
        const size_t Front = Random() % ( Length / 4 + 1 ), Back = Random() % ( Length / 4 + 1 );
        Listed.push_back( MakeWords( Random, Length, ',' ) );
        std::string Text = Listed.back();
        Upper.push_back( Text );
        std::transform( Text.begin(), Text.end(), Upper.back().begin(),
            []( char Char ) { return Char >= 'a' && Char <= 'z' ? char( Char - 32 ) : Char; } );
        Text.replace( 0, Front, Front, ' ' );
        Text.replace( Length - Back, Back, Back, '\n' );
        Padded.push_back( Text );
        Blank.push_back( Listed.back() );
        Blank.back()[ 0 ] = ' ';
        Blank.back().back() = '\n';
        Pieces.push_back( absl::StrSplit( Listed.back(), ',' ) );
        Elements.push_back( NZanStringUtils::SplitLong( ToOurs( Listed.back() ), "," ) );

        Check( CString( NZanStringUtils::Trim( ToOurs( Text ) ) ).GetString() ==
                   std::string( absl::StripAsciiWhitespace( Text ) ),
            "Trim" );
        Check( static_cast<size_t>( Elements.back().GetSize() ) == Pieces.back().size(), "SplitLong" );
        Check( NZanStringUtils::Join( Elements.back(), ", " ).GetString() ==
                   absl::StrJoin( Pieces.back(), ", " ),
            "Join" );
        Check( NZanStringUtils::IsAscii( ToOurs( Text ) ) && IsAsciiPlainly( Text ), "IsAscii" );
        for ( const char* pNeedle : { "QuEue", "and" } )
        {
            Check( NZanStringUtils::ContainsIgnoreCase( ToOurs( Text ), pNeedle ) ==
                       ContainsPlainly( Text, pNeedle ),
                "ContainsIgnoreCase" );
        }
    }
    for ( const auto& [ Kind, pTexts ] :
        { std::pair( "Trim, a quarter", &Padded ), std::pair( "Trim, one character", &Blank ) } )
    {
        ZanBench( Kind + Behind,
            { { "ours",
                  OverAll( *pTexts, []( auto& Text ) { return NZanStringUtils::Trim( ToOurs( Text ) ); } ) },
                { "absl::StripAsciiWhitespace",
                    OverAll( *pTexts, []( auto& Text ) { return absl::StripAsciiWhitespace( Text ); } ) } },
            1.0 );
    }
    ZanBench( "SplitLong" + Behind,
        { { "ours", OverAll( Listed,
                        []( auto& Text ) { return NZanStringUtils::SplitLong( ToOurs( Text ), "," ); } ) },
            { "absl::StrSplit", OverAll( Listed,
                                    []( auto& Text ) -> std::vector<std::string> {
                                        return absl::StrSplit( Text, ',' );
                                    } ) } },
        1.0 );
    ZanBench( "Join" + Behind,
        { { "ours",
              [ &Elements ] {
                  for ( auto& Each : Elements )
                  {
                      benchmark::DoNotOptimize( NZanStringUtils::Join( Each, ", " ) );
                  }
              } },
            { "absl::StrJoin",
                [ &Pieces ] {
                    for ( auto& Each : Pieces )
                    {
                        benchmark::DoNotOptimize( absl::StrJoin( Each, ", " ) );
                    }
                } } },
        1.0 );
    ZanBench( "IsAscii" + Behind,
        { { "ours",
              OverAll( Listed, []( auto& Text ) { return NZanStringUtils::IsAscii( ToOurs( Text ) ); } ) },
            { "plain loop", OverAll( Listed, []( auto& Text ) { return IsAsciiPlainly( Text ); } ) } },
        1.0 );
    for ( const char* pNeedle : { "QuEue", "a", "withdrawal" } )
    {
        ZanBench( std::string( "ContainsIgnoreCase " ) + pNeedle + Behind,
            { { "ours", OverAll( Upper,
                            [ = ]( auto& Text ) {
                                return NZanStringUtils::ContainsIgnoreCase( ToOurs( Text ), pNeedle );
                            } ) },
                { "plain loop",
                    OverAll( Upper, [ = ]( auto& Text ) { return ContainsPlainly( Text, pNeedle ); } ) } },
            1.0 );
    }
    const auto StartsPlainly = []( const std::string& Text, const std::string& Prefix ) {
        return Text.size() >= Prefix.size() &&
               ContainsPlainly( std::string_view( Text ).substr( 0, Prefix.size() ), Prefix );
    };
    const auto OverPairs = [ & ]( auto Work ) {
        return [ &Upper, &Listed, Work ] {
            for ( size_t i = 0; i < Upper.size(); ++i )
            {
                benchmark::DoNotOptimize( Work( Upper[ i ], Listed[ i ] ) );
            }
        };
    };
    Check( NZanStringUtils::StartsWithIgnoreCase( ToOurs( Upper[ 0 ] ), ToOurs( Listed[ 0 ] ) ) &&
               StartsPlainly( Upper[ 0 ], Listed[ 0 ] ),
        "StartsWithIgnoreCase" );
    ZanBench( "StartsWithIgnoreCase" + Behind,
        { { "ours", OverPairs( []( auto& Text, auto& Prefix ) {
               return NZanStringUtils::StartsWithIgnoreCase( ToOurs( Text ), ToOurs( Prefix ) );
           } ) },
            { "plain loop", OverPairs( StartsPlainly ) } },
        1.0 );
}
} // namespace

void RegisterRows()
{
    for ( const int32 Base : { 10, 16 } )
    {
        for ( const char* pKind : { "short", "mixed", "full" } )
        {
            AddIntegers<int32>( "int32", pKind, Base );
            AddIntegers<uint64>( "uint64", pKind, Base );
        }
    }
    AddFixed( "short", 999 );
    AddFixed( "long", 9999999999 );
    AddTexts( "16 B", 16 );
    AddTexts( "256 B", 256 );
    AddTexts( "4 KiB", 4096 );
    AddTexts( "64 KiB", 65536 );
}
