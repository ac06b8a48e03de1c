#include "zan_core/persistence/zan_math_parser.h"

#include "zan_core/numerics/zan_fixed_point.h"
#include "zan_core/persistence/tests/zan_math_reference.h"
#include "zan_core/text/zan_string.h"
#include "zan_test/include/zan_test_catch.h"

#include <limits>
#include <random>
#include <string>
#include <utility>

using namespace std::string_literals;

namespace
{
const CFixedPoint Untouched = -77;

/// Untouched for a failure.
CFixedPoint Evaluate( const std::string& Text )
{
    CFixedPoint Result = Untouched;
    REQUIRE( ( NMathParser::Evaluate( CString( Text ), Result ) || Result == Untouched ) );
    return Result;
}

std::string Repeat( const std::string& Piece, int Count, std::string Text = {} )
{
    for ( ; Count > 0; --Count )
    {
        Text += Piece;
    }
    return Text;
}

std::string MakeExpression( std::mt19937& Random, int Depth )
{
    const char* const Numbers[] = { "0", "1", "-1", "2.5", "-.5", "3.", "16777217", "1.2.3", "-", ".",
        "0.00001", "-99999.125", "99999999999999999999" };
    std::string Text;
    for ( auto Count = 1 + Random() % 4; Count > 0; --Count )
    {
        const std::string Number = Numbers[ Random() % std::size( Numbers ) ];
        Text += Depth > 0 && Random() % 3 == 0 ? '(' + MakeExpression( Random, Depth - 1 ) + ')'
                                               : ( Number == "-" ? "-7" : Number );
        Text += Count > 1 ? std::string( 1, "+-*/"[ Random() % 4 ] ) : "";
    }
    return Text;
}
} // namespace

TEST_CASE( "Math expressions have these values", "[persistence]" )
{
    const CFixedPoint Highest = std::numeric_limits<CFixedPoint>::max();
    const CFixedPoint Lowest = std::numeric_limits<CFixedPoint>::lowest();
    const std::pair<std::string, CFixedPoint> Rows[] = { { "2+3*4", 14 }, { "10-4-3", 3 }, { "8/4*2", 4 },
        { "2--3", 5 }, { "(2)-3", -1 }, { "-1/3", -0.33333_fixed }, { "1/0", 42949.67295_fixed },
        { "16777217", 16777216 }, { "1.2.3", 1.2_fixed }, { ".5", 0.5_fixed }, { ".", 0 }, { "-.", 0 },
        { "..5", 0 },
        // Passed over: what means nothing, a sign and what is behind it, a ')' too many.
        { "1a+x2", 3 }, { "1 + 2", 3 }, { "1\0+\xFF\x32"s, 3 }, { "1)", 1 }, { "-(2)", 2 }, { "2*-(3", 6 },
        { ")1+2)*3)", 9 }, { "1e5", Untouched }, { "--5", 5 }, { "+5", Untouched }, { "-x5", 5 },
        { "2*-x5", 10 },
        // Failures. A '(' that is left over drops the upper one of two values.
        { "", Untouched }, { "1+", Untouched }, { "*", Untouched }, { "-", Untouched }, { "1-", Untouched },
        { "(1", Untouched }, { "(", Untouched }, { "()", Untouched }, { "(1)(2)", Untouched }, { "1(2", 1 },
        { "7+1(2*3", 8 }, { "1 2", Untouched }, { "1((2", Untouched }, { "1(2(3", 1 }, { "1+)2", Untouched },
        // Numbers of any length.
        { Repeat( "0", 200, "0." ) + "1+1", 1 }, { Repeat( "0", 200 ) + "1.5", 1.5_fixed },
        { Repeat( "0", 30, "1" ), Highest }, { Repeat( "0", 400, "1" ), Highest },
        { Repeat( "0", 400, "-1" ), Lowest }, { Repeat( "9", 400 ) + ".5.1", Highest },
        { Repeat( "0", 400, "." ) + "1", 0 }, { Repeat( "0", 400, "-0." ) + "1", 0 },
        { Repeat( "3", 1000, "0.3" ), 0.33333_fixed } };
    for ( const auto& [ Text, Value ] : Rows )
    {
        CAPTURE( Text );
        CHECK( Evaluate( Text ) == Value );
    }
}

TEST_CASE( "Math expressions agree with recursive descent", "[persistence]" )
{
    std::mt19937 Random( 1 );
    for ( int Round = 0; Round < 20000; ++Round )
    {
        const std::string Text = MakeExpression( Random, 6 );
        CAPTURE( Text );
        REQUIRE( Evaluate( Text ) == CMathReference::Evaluate( Text ).value() );
    }
}

TEST_CASE( "Math expressions may be long and deep", "[persistence]" )
{
    constexpr int Count = 1000000;
    CHECK( Evaluate( Repeat( "+1", Count, "1" ) ) == Count + 1 );
    CHECK( Evaluate( Repeat( "(", Count ) + Repeat( ")", Count, "5" ) ) == 5 );
    CHECK( Evaluate( Repeat( "2*(", Count ) + Repeat( ")", Count, "0" ) ) == 0 );
    CHECK( Evaluate( Repeat( "(1", Count, "1" ) ) == 1 );
    CHECK( Evaluate( Repeat( "(", Count ) ) == Untouched );
    CHECK( Evaluate( Repeat( ")", Count ) + "1" ) == 1 );
}
