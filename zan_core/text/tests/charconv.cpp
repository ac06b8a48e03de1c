#include "zan_core/text/zan_charconv.h"

#include "zan_core/numerics/zan_fixed_point.h"
#include "zan_test/include/zan_test_catch.h"

#include <cctype>
#include <charconv>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#define INTEGERS                                                                                             \
    char, unsigned char, signed char, short, unsigned short, int, unsigned int, long, unsigned long,         \
        long long, unsigned long long

using namespace NZanStringUtils;

namespace
{
constexpr std::errc Fine = std::errc();
constexpr std::errc Invalid = std::errc::invalid_argument;
constexpr std::errc OutOfRange = std::errc::result_out_of_range;
constexpr std::errc TooLarge = std::errc::value_too_large;

CFixedPoint Fixed( int64 Underlying ) { return CFixedPoint::CreateFixedWithUnderlyingValue( Underlying ); }

/// Reads from a block that ends with the text, so that the sanitizer sees what reads on.
template <typename T, typename... TBase>
void CheckRead( const std::string& Text, std::errc Error, size_t Stop, T Start, T Expected, TBase... Base )
{
    const std::vector<char> Chars( Text.begin(), Text.end() );
    T Value = Start;
    const auto Result = from_chars( Chars.data(), Chars.data() + Chars.size(), Value, Base... );
    CAPTURE( Text );
    REQUIRE( ( Result.ec == Error && Result.ptr == Chars.data() + Stop ) );
    REQUIRE( Value == ( Error == Fine ? Expected : Start ) );
}

/// Writes into every room from none to one more than the text needs, within a filled buffer. What the text
/// leaves of its room stays as well, and all of it when it does not fit, but for a sign if that is written
/// early.
template <typename T, typename... TBase>
void CheckWrite( const std::string& Text, bool bEarlySign, T Value, TBase... Base )
{
    for ( size_t Room = 0; Room <= Text.size() + 1; ++Room )
    {
        std::string Buffer( 80, '#' ), Expected = Buffer;
        const auto Result = to_chars( Buffer.data() + 5, Buffer.data() + 5 + Room, Value, Base... );
        const bool bFits = Room >= Text.size();
        const std::string Written =
            bFits ? Text : Text.substr( 0, bEarlySign && Room > 0 && Text[ 0 ] == '-' );
        Expected.replace( 5, Written.size(), Written );
        CAPTURE( Text, Room );
        REQUIRE( ( Buffer == Expected && Result.ec == ( bFits ? Fine : TooLarge ) ) );
        REQUIRE( Result.ptr == Buffer.data() + 5 + ( bFits ? Text.size() : Room ) );
    }
}

/// The extremes, what is next to them and to zero, powers of ten and of two, and numbers of any length.
template <typename T>
std::vector<T> MakeSamples()
{
    using CLimits = std::numeric_limits<T>;
    std::mt19937_64 Random( 1 );
    std::vector<T> Samples = { CLimits::min(), CLimits::max(), T( 0 ), T( 1 ), T( 2 ), T( -1 ),
        T( CLimits::min() + 1 ), T( CLimits::max() - 1 ), T( 10 ), T( 99 ), T( 100 ) };
    for ( uint64 Power = 1000; Power % 10 == 0; Power *= 10 )
    {
        Samples.insert( Samples.end(), { T( Power - 1 ), T( Power ) } );
    }
    for ( int32 i = 0; i < 64; ++i )
    {
        Samples.push_back( T( Random() >> i ) );
    }
    return Samples;
}

template <typename T>
std::string StandardText( T Value, int32 Base )
{
    char Buffer[ 80 ];
    return { Buffer, std::to_chars( Buffer, Buffer + sizeof( Buffer ), Value, Base ).ptr };
}
} // namespace

TEST_CASE( "NZanStringUtils::from_chars Overflows", "[text]" )
{
    for ( const auto& [ pText, Value ] :
        { std::pair( "2147483647", 2147483647 ), { "-2147483647", -2147483647 }, { "2147483639", 2147483639 },
            { "-2147483648", std::numeric_limits<int32>::min() } } )
    {
        CheckRead<int32>( pText, Fine, std::string( pText ).size(), 7, Value );
    }
    for ( const std::string Text : { "2147483648", "2147483650", "-2147483649", "-18446744073709551617" } )
    {
        CheckRead<int32>( Text, OutOfRange, Text.size(), 7, 0 );
    }
    constexpr uint64 Max = std::numeric_limits<uint64>::max();
    CheckRead<uint64>( "18446744073709549999x", Fine, 20, 7, 18446744073709549999u );
    CheckRead<uint64>( "0000018446744073709551615", Fine, 25, 7, Max );
    CheckRead<uint64>( "18446744073709551616.", OutOfRange, 20, 7, 0 );
    CheckRead<uint64>( "18446744073709551620", OutOfRange, 20, 7, 0 );
    CheckRead<uint64>( "184467440737095516150", OutOfRange, 21, 7, 0 );
    CheckRead<uint64>( "00fFFfffffFFffffffg", Fine, 18, 7, Max, 16 );
    CheckRead<uint64>( "10000000000000000", OutOfRange, 17, 7, 0, 16 );
    for ( const int32 Base : { -1, 0, 1, 37 } )
    {
        char Buffer[ 8 ];
        CheckRead<int32>( "1", Invalid, 0, 7, 0, Base );
        REQUIRE( to_chars( Buffer, Buffer + 8, 1, Base ).ec == Invalid );
    }
}

TEST_CASE( "NZanStringUtils::from_chars Fixed Point", "[text]" )
{
    struct SCase
    {
        const char* pText;
        std::errc Error;
        size_t Stop;
        int64 Underlying;
    };
    constexpr int64 Max = std::numeric_limits<int64>::max();
    const SCase Cases[] = { { "3250", Fine, 4, 325000000 }, { "-3250", Fine, 5, -325000000 },
        { "32.123", Fine, 6, 3212300 }, { "32.003", Fine, 6, 3200300 }, { "32.020", Fine, 6, 3202000 },
        { "32.999", Fine, 6, 3299900 }, { "-32.5", Fine, 5, -3250000 }, { "-0.5", Fine, 4, -50000 },
        { "0.00001", Fine, 7, 1 }, { "32*.123", Fine, 2, 3200000 }, { "32.", Fine, 2, 3200000 },
        { "32.1a", Fine, 4, 3210000 }, { "32.12345a", Fine, 8, 3212345 }, { "1.5.5", Fine, 3, 150000 },
        { "32.12356789", OutOfRange, 8, 0 }, { "-1.000000", OutOfRange, 8, 0 },
        { "92233720368547.75807", Fine, 20, Max }, { "-92233720368547.75808", Fine, 21, -Max - 1 },
        { "92233720368547.75808", OutOfRange, 20, 0 }, { "-92233720368547.75809", OutOfRange, 21, 0 },
        { "92233720368548.75807", OutOfRange, 20, 0 }, { "-92233720368548.75808", OutOfRange, 21, 0 },
        { "92233720368548", OutOfRange, 14, 0 }, { "92233720368548x", OutOfRange, 14, 0 },
        { "99999999999999999999999.1", OutOfRange, 25, 0 }, { "92233720368548.x", OutOfRange, 15, 0 },
        { "92233720368547", Fine, 14, Max - 75807 }, { "32.a", Invalid, 3, 0 }, { "32.-5", Invalid, 3, 0 },
        { ".5", Invalid, 2, 0 }, { ".1234567", Invalid, 6, 0 }, { ".", Invalid, 0, 0 },
        { "-.5", Invalid, 0, 0 }, { "-", Invalid, 0, 0 }, { "", Invalid, 0, 0 }, { "+1", Invalid, 0, 0 } };
    for ( const SCase& Case : Cases )
    {
        CheckRead( Case.pText, Case.Error, Case.Stop, Fixed( 7 ), Fixed( Case.Underlying ) );
        const bool bAll = Case.Error == Fine && Case.Stop == std::string( Case.pText ).size();
        REQUIRE( FromString<CFixedPoint>( Case.pText ).IsSet() == bAll );
    }
}

TEST_CASE( "NZanStringUtils::ToString Fixed Point", "[text]" )
{
    const std::pair<int64, const char*> Cases[] = { { 325000000, "3250" }, { 3212300, "32.123" },
        { -1, "-0.00001" }, { 3200300, "32.003" }, { 3202000, "32.02" }, { 3200000, "32" },
        { -50000, "-0.5" }, { 0, "0" }, { std::numeric_limits<int64>::max(), "92233720368547.75807" },
        { std::numeric_limits<int64>::min(), "-92233720368547.75808" } };
    for ( const auto& [ Underlying, pText ] : Cases )
    {
        CheckWrite( pText, false, Fixed( Underlying ) );
    }
    for ( const int64 Underlying : MakeSamples<int64>() )
    {
        char Buffer[ MaxNumberSize ];
        const CZanStringView Text = ToString( Buffer, Buffer + MaxNumberSize, Fixed( Underlying ) );
        CAPTURE( Underlying );
        REQUIRE( FromString<CFixedPoint>( Text ).Get( Fixed( ~Underlying ) ) == Fixed( Underlying ) );
    }
}

TEMPLATE_TEST_CASE( "NZanStringUtils::to_chars Bases", "[text]", INTEGERS )
{
    for ( int32 Base = 2; Base <= 36; ++Base )
    {
        for ( const TestType Value : MakeSamples<TestType>() )
        {
            CheckWrite( StandardText( Value, Base ), true, Value, Base );
        }
    }
}

TEMPLATE_TEST_CASE( "NZanStringUtils::from_chars Bases", "[text]", INTEGERS )
{
    std::mt19937 Random( 1 );
    for ( int32 Base = 2; Base <= 36; ++Base )
    {
        for ( const TestType Value : MakeSamples<TestType>() )
        {
            std::string Text = StandardText( Value, Base );
            CheckRead( Text, Fine, Text.size(), TestType( 7 ), Value, Base );

            // Anything: what the standard makes of it.
            for ( char& Char : Text )
            {
                Char = Random() % 2 == 0 ? static_cast<char>( std::toupper( Char ) ) : Char;
            }
            Text.insert( Text.size() * ( Random() % 2 ), Random() % 3, "0a-9 "[ Random() % 5 ] );
            Text[ Random() % Text.size() ] = Random() % 2 == 0 ? static_cast<char>( Random() ) : '0';
            TestType Expected = 7;
            const auto Result = std::from_chars( Text.data(), Text.data() + Text.size(), Expected, Base );
            const size_t Stop = static_cast<size_t>( Result.ptr - Text.data() );
            CheckRead( Text, Result.ec, Stop, TestType( 7 ), Expected, Base );
        }
    }
}

TEMPLATE_TEST_CASE( "NZanStringUtils::ToString", "[text]", INTEGERS )
{
    for ( const TestType Value : MakeSamples<TestType>() )
    {
        char Buffer[ MaxNumberSize ] = {};
        const std::string Expected = StandardText( Value, 10 );
        const CZanStringView Text = ToString( Buffer, Buffer + MaxNumberSize, Value );
        REQUIRE( CString( Text ).GetString() == Expected );
        REQUIRE( ( Text.GetData() == Buffer && !Text.IsNullTerminated() ) );
        REQUIRE( ToString( Buffer, Buffer + Expected.size() - 1, Value ).GetData() == nullptr );
    }
}

TEMPLATE_TEST_CASE( "NZanStringUtils::from_chars", "[text]", INTEGERS )
{
    const TestType Start = 7;
    for ( const char* pText : { "not a number", "", "-", "+1", " 1", "/", ":", "--1" } )
    {
        CheckRead<TestType>( pText, Invalid, 0, Start, 0 );
    }
    CheckRead<TestType>( "32a", Fine, 2, Start, 32 );
    CheckRead<TestType>( "0032", Fine, 4, Start, 32 );
    CheckRead<TestType>( "00000000000000000000032 ", Fine, 23, Start, 32 );
    CheckRead<TestType>( "-032", std::is_signed_v<TestType> ? Fine : Invalid,
        std::is_signed_v<TestType> ? 4 : 0, Start, TestType( -32 ) );
    REQUIRE( ( FromString<TestType>( "0032" ).Get( 0 ) == 32 && !FromString<TestType>( "32a" ).IsSet() ) );
    REQUIRE_FALSE( FromString<TestType>( "99999999999999999999" ).IsSet() );
    REQUIRE_FALSE( FromString<TestType>( CZanStringView() ).IsSet() );
}
