#include "zan_core/text/zan_string_utils.h"

#include "zan_core/containers/zan_inline_array.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_matchers.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <list>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using namespace NZanStringUtils;

namespace
{
struct SCase
{
    CZanStringView Text, Argument, Expected;
};

/// Function gives the expected part of each text, terminated if and only if it keeps the text's end.
template <typename TFunction, size_t N>
void CheckParts( const TFunction& Function, const SCase ( &Cases )[ N ] )
{
    for ( const SCase& Case : Cases )
    {
        const CZanStringView Part = Function( Case.Text, Case.Argument );
        CAPTURE( Case.Text, Case.Argument );
        REQUIRE( Part == Case.Expected );
        REQUIRE( ( Part.GetData() >= Case.Text.GetData() && Part.GetIterEnd() <= Case.Text.GetIterEnd() ) );
        REQUIRE( Part.IsNullTerminated() == ( Part.GetIterEnd() == Case.Text.GetIterEnd() ) );
    }
}

constexpr CZanStringView Blank = " \t\r\n";

/// Cases with blanks are those of the default as well.
template <typename TTrim, size_t N>
void CheckTrim( const TTrim& Trim, const SCase ( &Cases )[ N ] )
{
    CheckParts( Trim, Cases );
    CheckParts(
        [ & ]( auto Text, auto Chars ) { return Chars == Blank ? Trim( Text ) : Trim( Text, Chars ); },
        Cases );
}
const CZanStringView Suffixes[] = { "", "k", "m" };

std::string Format( int64 Value, uint32 Digits, uint32 Decimals, uint32 Base = 1000 )
{
    return FormatIntegerWithExponentialSuffix( Value, Digits, Decimals, Base, Suffixes ).GetString();
}

std::vector<std::string> Split( CZanStringView Text, CZanStringView Delimiter, int32 Max = 2147483647 )
{
    const std::vector<char> Chars( begin( Text ), end( Text ) ); // nothing readable behind them
    const auto Pieces = SplitLong( CZanStringView( Chars.data(), Text.GetSize() ), Delimiter, Max );
    std::vector<std::string> Result;
    Pieces.ForEach( [ & ]( const CString& Piece ) { Result.push_back( Piece.GetString() ); } );
    return Result;
}
using CStrings = std::vector<std::string>;

using TStringContainerTypes = std::tuple<CZanArray<CString>, CZanArray<CZanStringView>,
    CZanArray<const char*>, CZanInlineBufArray<CString, 4>, std::list<CString>>;

/// The first Count letters in lower case (Kind 0), in upper case (1), or in either (2).
template <int32 Kind, size_t Count>
struct SMutator
{
    std::string operator()( std::string Text ) const
    {
        static std::minstd_rand Random;
        std::transform( Text.begin(), Text.begin() + int64( std::min( Count, Text.size() ) ), Text.begin(),
            []( char Char ) {
                const bool bUpper = Kind == 1 || ( Kind == 2 && Random() % 2 == 0 );
                return static_cast<char>( bUpper ? std::toupper( Char ) : std::tolower( Char ) );
            } );
        return Text;
    }
};
using SMakeLowercase = SMutator<0, 999>;
using SMakeUppercase = SMutator<1, 999>;
using SMakeRandomcase = SMutator<2, 999>;
using SMakeFirstLowerCase = SMutator<0, 1>;
using SMakeFirstUpperCase = SMutator<1, 1>;
using SMakeFirstRandomCase = SMutator<2, 1>;

template <typename... TMutators>
struct SPairs
{
    template <typename T>
    using TWithEach = std::tuple<std::pair<T, TMutators>...>;
    using Type = decltype( std::tuple_cat( TWithEach<TMutators>()... ) );
};
using TMutatorPairs = SPairs<SMakeLowercase, SMakeUppercase, SMakeRandomcase, SMakeFirstLowerCase,
    SMakeFirstUpperCase, SMakeFirstRandomCase>::Type;

/// Compares mutated texts of many lengths with mutated parts of them, from the start or from the end. Only
/// case may differ: what is next to the letters in the table of characters, or differs by the bit of case,
/// does not.
template <typename TPair>
void CheckIgnoreCase( bool ( *Function )( CZanStringView, CZanStringView ), bool bFromEnd )
{
    const std::string Alphabet = "Az@`[{aZ 0P\xC4\xE4kK_-m^~";
    for ( size_t Size = 0; Size < 40; ++Size )
    {
        std::string Text;
        for ( size_t i = 0; i < Size; ++i )
        {
            Text += Alphabet[ ( i * 7 + Size ) % Alphabet.size() ];
        }
        const std::string View = typename TPair::first_type()( Text );
        for ( size_t Count = 0; Count <= Size; ++Count )
        {
            const size_t Start = bFromEnd ? Size - Count : 0;
            std::string Part = typename TPair::second_type()( Text.substr( Start, Count ) );
            CAPTURE( View, Part );
            REQUIRE( Function( CString( View ), CString( Part ) ) );
            REQUIRE_FALSE( Function( CString( Part ), CString( View + "a" ) ) );
            if ( Count > 0 )
            {
                char& Char = Part[ Size % Count ];
                Char = static_cast<char>( std::isalpha( static_cast<uint8>( Char ) ) ? Char ^ 1 : Char ^ 32 );
                REQUIRE_FALSE( Function( CString( View ), CString( Part ) ) );
            }
        }
    }
}
} // namespace

TEST_CASE( "NZanStringUtils::TrimFront", "[text]" )
{
    CheckTrim( []( auto... What ) { return TrimFront( What... ); },
        { { "\t \r\n \n\t\r    abc\n\r\t  \t\t  ", Blank, "abc\n\r\t  \t\t  " },
            { " \n\r\t  \t\t  ", Blank, "" }, { "         \v", Blank, "\v" },
            { "        \xA0 ", Blank, "\xA0 " }, { "        \x8D        ", Blank, "\x8D        " },
            { "", Blank, "" }, { "\t \r\n abc ", " ", "\t \r\n abc " }, { "\xE4\xA4 x", "\xA4\xE4", " x" },
            { "29 807 3 4958   7 232", "0123456789 ", "" }, { " a", "", " a" } } );
}

TEST_CASE( "NZanStringUtils::TrimBack", "[text]" )
{
    CheckTrim( []( auto... What ) { return TrimBack( What... ); },
        { { "\t \n\t\r    abc\n\r\t  \t\t  ", Blank, "\t \n\t\r    abc" }, { " \n\r\t  \t\t  ", Blank, "" },
            { "\v         ", Blank, "\v" }, { "abc", Blank, "abc" }, { "x\x89\n       ", Blank, "x\x89" },
            { "", Blank, "" }, { " abc\n ", " ", " abc\n" }, { "abc983453", "0123456789", "abc" },
            { "a ", "", "a " } } );
}

TEST_CASE( "NZanStringUtils::Trim", "[text]" )
{
    CheckTrim( []( auto... What ) { return Trim( What... ); },
        { { "\t \n\t\r    a b\n\r\t  \t\t  ", Blank, "a b" }, { " \t\n\r ", Blank, "" },
            { "\n               ", Blank, "" }, { "a", Blank, "a" }, { "12a34b56", "0123456789", "a34b" } } );
    REQUIRE( Trim( CZanStringView() ).GetData() == nullptr );
}

TEST_CASE( "NZanStringUtils::TrimFrontUntil", "[text]" )
{
    CheckParts( &TrimFrontUntil, { { "x y z...abcdefg", "abcdefg", "abcdefg" }, { "xyz", "abcdefg", "" },
                                     { "gx", "abcdefg", "gx" }, { "xyz", "", "" } } );
}

TEST_CASE( "NZanStringUtils::TrimBackUntil", "[text]" )
{
    CheckParts( &TrimBackUntil, { { "...a", "abcdefg", "...a" }, { "xyz", "abcdefg", "" },
                                    { "abc...", "abcdefg", "abc" }, { "", "a", "" } } );
}

TEST_CASE( "NZanStringUtils::LastPathComponent", "[text]" )
{
    const auto Last = []( CZanStringView Path, CZanStringView ) { return LastPathComponent( Path ); };
    CheckParts( Last, { { "root/child////grandchild/", "", "grandchild" }, { "root/child/ ", "", " " },
                          { "root", "", "root" }, { "root\\child", "", "child" }, { "/root", "", "root" },
                          { "\\\\/\\////\\///", "", "" } } );
    REQUIRE( LastPathComponent( CZanStringView() ).GetData() == nullptr );
}

TEST_CASE( "NZanStringUtils::TrimLastPathComponent", "[text]" )
{
    const auto Rest = []( CZanStringView Path, CZanStringView ) { return TrimLastPathComponent( Path ); };
    CheckParts( Rest, { { "root/child////grandchild/", "", "root/child////" }, { "root/", "", "" },
                          { "/root", "", "/" }, { "root/child/ ", "", "root/child/" },
                          { "//////////", "", "" }, { "a\\b\\\\", "", "a\\" }, { "", "", "" } } );
}

TEST_CASE( "NZanStringUtils::FormatIntegerWithExponentialSuffix()", "[text]" )
{
    REQUIRE( ( Format( 1000, 0, 0 ) == "1k" && Format( 100000, 0, 0 ) == "100k" ) );
    REQUIRE( ( Format( 999, 0, 0 ) == "999" && Format( 99999, 0, 0 ) == "99k" ) );
    REQUIRE( ( Format( 1000000000, 0, 0 ) == "1000m" && Format( -1000, 0, 0 ) == "-1k" ) );
    REQUIRE( ( Format( 0, 3, 0 ) == "0.00" && Format( 0, 1, 2 ) == "0.00" && Format( 0, 0, 0 ) == "0" ) );
    REQUIRE( ( Format( 10, 3, 0 ) == "10.0" && Format( 100, 3, 0 ) == "100" ) );
    REQUIRE( ( Format( 1000, 3, 0 ) == "1.00k" && Format( 100, 3, 1 ) == "100.0" ) );
    REQUIRE( ( Format( 1023999, 0, 13 ) == "1.0239990000000m" && Format( -1001, 0, 3 ) == "-1.001k" ) );
    REQUIRE( ( Format( 1, 0, 99 ) == "1.000000000000000000" &&
               Format( 1, 4294967295u, 4294967295u ).size() == 20 ) );
    REQUIRE( ( Format( 12345, 0, 0, 1 ) == "12345" && Format( 12345, 0, 0, 0 ) == "12345" ) );
    REQUIRE( FormatIntegerWithExponentialSuffix( 7, 0, 0, 10, nullptr, 0 ) == "7" );

    // Truncation where 18 digits are not enough. As many characters as there is room for, and more.
    REQUIRE( Format( 1999999999999999999, 0, 9, 1000000000 ) == "1.999999999m" );
    REQUIRE( Format( 1999999999999999999, 0, 10, 1000000000 ) == "1.0000000000m" );
    REQUIRE( FormatIntegerWithExponentialSuffix(
                 std::numeric_limits<int64>::min(), 0, 18, 10, Suffixes, 1 ) == "" );
    for ( const auto& [ pSuffix, Size ] : { std::pair( "123456789012345678901234567890", 32 ),
              std::pair( "1234567890123456789012345678901", 0 ) } )
    {
        const CZanArray<CZanStringView> Long = { pSuffix };
        REQUIRE( FormatIntegerWithExponentialSuffix( -7, 0, 0, 10, Long ).GetSize() == Size );
    }
}

TEST_CASE( "NZanStringUtils::FormatMetric()", "[text]" )
{
    REQUIRE( ( FormatMetric( 100000000000000000, 1, 0 ) == "100 P" &&
               FormatMetric( 1000000000000000001, 1, 0 ) == "1 E" ) );
    REQUIRE( ( FormatMetric( 1000, 2, 0 ) == "1.0 K" && FormatMetric( 10000, 1, 2 ) == "10.0 K" &&
               FormatMetric( 7, 1, 0 ) == "7" ) );
    REQUIRE( FormatMetric( std::numeric_limits<int64>::min(), 1, 0 ) == "-9 E" );
    REQUIRE( FormatMetric( std::numeric_limits<int64>::max(), 5, 0 ) == "9.2233 E" );
}

TEST_CASE( "NZanStringUtils::FormatBytes()", "[text]" )
{
    REQUIRE( ( FormatBytes( 1023, 1, 0 ) == "1023 B" && FormatBytes( 1024, 1, 0 ) == "1 KB" ) );
    REQUIRE( ( FormatBytes( 1048575, 2, 0 ) == "1023 KB" && FormatBytes( 102399, 3, 0 ) == "99.9 KB" ) );
    REQUIRE( ( FormatBytes( 2047, 3, 0 ) == "1.99 KB" && FormatBytes( -1, 3, 1 ) == "-1.00 B" ) );
    REQUIRE( ( FormatBytes( 1127025806749466624, 1, 0 ) == "1001 PB" &&
               FormatBytes( 1152921504606846976, 3, 0 ) == "1.00 EB" ) );
    REQUIRE( FormatBytes( std::numeric_limits<int64>::max(), 3, 0 ) == "7.99 EB" );
    REQUIRE( FormatBytes( std::numeric_limits<int64>::min(), 1, 3 ) == "-8.000 EB" );
}

TEST_CASE( "NZanStringUtils::TryParseBool", "[text]" )
{
    REQUIRE( ( TryParseBool( "yes" ).Get( false ) && !TryParseBool( "no" ).Get( true ) ) );
    for ( const char* pText : { "maybe", "Yes", "NO", "yes ", "", "true" } )
    {
        REQUIRE_FALSE( TryParseBool( pText ).IsSet() );
    }
}

TEST_CASE( "NZanStringUtils::StartsWith", "[text]" )
{
    REQUIRE( ( StartsWith( "abc", "ab" ) && StartsWith( "abc", "abc" ) && StartsWith( {}, {} ) ) );
    REQUIRE( ( StartsWith( "abc", "" ) && StartsWith( { "a\0b", 3 }, { "a\0", 2 } ) ) );
    REQUIRE_FALSE(
        ( StartsWith( "abc", "abcd" ) || StartsWith( "abc", "bc" ) || StartsWith( "abc", "aB" ) ) );
    REQUIRE_FALSE( StartsWith( { "a\0b", 3 }, { "a\0c", 3 } ) );
}

TEST_CASE( "NZanStringUtils::EndsWith", "[text]" )
{
    REQUIRE( (
        EndsWith( "abc", "bc" ) && EndsWith( "abc", "abc" ) && EndsWith( {}, {} ) && EndsWith( "a", "" ) ) );
    REQUIRE_FALSE( ( EndsWith( "abc", "xabc" ) || EndsWith( "abc", "ab" ) || EndsWith( "abc", "bC" ) ) );
}

TEST_CASE( "NZanStringUtils::SplitLong", "[text]" )
{
    REQUIRE( Split( "/a/b/c/", "/" ) == CStrings{ "", "a", "b", "c", "" } );
    REQUIRE( ( Split( "", "/" ) == CStrings{ "" } && Split( "abc", "/" ) == CStrings{ "abc" } ) );
    REQUIRE( ( Split( "a--b---c", "--" ) == CStrings{ "a", "b", "-c" } &&
               Split( "--", "--" ) == CStrings{ "", "" } ) );
    REQUIRE( ( Split( "a/b/c", "/", 2 ) == CStrings{ "a", "b/c" } &&
               Split( "/abc/", "/", 2 ) == CStrings{ "", "abc/" } ) );
    REQUIRE( Split( "/a/b/c/", "/", 3 ) == CStrings{ "", "a", "b/c/" } );
    REQUIRE( Split( "12345678/90/", "/" ) == CStrings{ "12345678", "90", "" } );
    REQUIRE( Split( "/2//5///90/2345", "/", 6 ) == CStrings{ "", "2", "", "5", "", "/90/2345" } );
    for ( const int32 Max : { 1, 0, -1, std::numeric_limits<int32>::min() } )
    {
        REQUIRE( Split( "/a/b", "/", Max ) == CStrings{ "/a/b" } );
    }
    REQUIRE( Split( "/a/b", "" ) == CStrings{ "/a/b" } );

    // More pieces, and longer ones, than fit inside.
    std::minstd_rand Random;
    CStrings Pieces;
    CZanArray<CString> Elements;
    for ( int32 i = 0; i < 300; ++i )
    {
        Pieces.push_back( std::string( Random() % 40, static_cast<char>( 'a' + i % 26 ) ) );
        Elements.AppendEmplace( Pieces.back() );
    }
    REQUIRE( Split( Join( Elements, ", " ), ", " ) == Pieces );
}

TEMPLATE_LIST_TEST_CASE( "NZanStringUtils::Join", "[text]", TStringContainerTypes )
{
    const auto JoinAll = []( std::vector<const char*> Texts, CZanStringView Delimiter ) {
        TestType Container;
        if constexpr ( std::is_same_v<TestType, std::list<CString>> )
        {
            Container.assign( Texts.begin(), Texts.end() );
        }
        else
        {
            std::for_each(
                Texts.begin(), Texts.end(), [ & ]( auto pText ) { Container.AppendEmplace( pText ); } );
        }
        return Join( Container, Delimiter ).GetString();
    };
    REQUIRE(
        ( JoinAll( {}, "." ) == "" && JoinAll( { "one" }, "." ) == "one" && JoinAll( { "" }, "." ) == "" ) );
    REQUIRE( ( JoinAll( { "a", "b", "c" }, "." ) == "a.b.c" && JoinAll( { "", "" }, "." ) == "." ) );
    REQUIRE( JoinAll( { "a", "", "8 chars.", "16 characters ..", "and 17 characters" }, ", " ) ==
             "a, , 8 chars., 16 characters .., and 17 characters" );
    REQUIRE( JoinAll( { "a", "b", "" }, {} ) == "ab" );
}

TEMPLATE_LIST_TEST_CASE( "NZanStringUtils::StartsWithIgnoreCase", "[text]", TMutatorPairs )
{
    CheckIgnoreCase<TestType>( &StartsWithIgnoreCase, false );
}

TEMPLATE_LIST_TEST_CASE( "NZanStringUtils::EndsWithIgnoreCase", "[text]", TMutatorPairs )
{
    CheckIgnoreCase<TestType>( &EndsWithIgnoreCase, true );
}

TEST_CASE( "NZanStringUtils::ContainsIgnoreCase against the standard", "[text]" )
{
    std::minstd_rand Random;
    for ( int32 i = 0; i < 20000; ++i )
    {
        std::string Haystack( Random() % 70, ' ' ), Needle( Random() % 5, ' ' );
        for ( std::string* pText : { &Haystack, &Needle } )
        {
            std::generate( pText->begin(), pText->end(), [ & ] { return "aAbB@`"[ Random() % 6 ]; } );
        }
        const auto Lower = SMakeLowercase();
        const bool bExpected = Lower( Haystack ).find( Lower( Needle ) ) != std::string::npos;
        CAPTURE( Haystack, Needle );
        REQUIRE( ContainsIgnoreCase( CString( Haystack ), CString( Needle ) ) == bExpected );
    }
}

TEST_CASE( "is ascii", "[string utils]" )
{
    for ( size_t Size = 0; Size < 200; ++Size )
    {
        std::vector<char> Text(
            Size, '\x7F' ); // ends with its block, so that the sanitizer sees what reads on
        const CZanStringView View( Text.data(), static_cast<int32>( Size ) );
        REQUIRE( IsAscii( View ) );
        for ( char& Char : Text )
        {
            Char = '\x80';
            REQUIRE_FALSE( IsAscii( View ) );
            Char = '\0';
        }
    }
}
