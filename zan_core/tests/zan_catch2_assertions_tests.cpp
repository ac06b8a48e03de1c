#include "zan_core/zan_assert.h"
#include "zan_test/include/zan_test_assertions.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"

using NZanTestUtils::CLogCapture;

namespace
{
// A site reports once in the life of the process, so every section has sites of its own.

int32 CountCalls( int32& CallCount ) { return ++CallCount; }

constexpr int32 Half( int32 Value )
{
    zan_assert( Value % 2 == 0 );
    return Value / 2;
}
} // namespace

TEST_CASE( "Expecting NO_ASSERT_FAILS with all assertions passing", "[assert]" )
{
    CLogCapture Capture;
    int32 CallCount = 0;
    NO_ASSERT_FAILS( zan_assert( CountCalls( CallCount ) == 1 ) );
    NO_ASSERT_FAILS( zan_assert_text( CountCalls( CallCount ) == 2, "text" ) );
    NO_ASSERT_FAILS( zan_assert_msg( CountCalls( CallCount ) == 3, "%d", CountCalls( CallCount ) ) );
    STATIC_REQUIRE( Half( 8 ) == 4 );
    REQUIRE( ( CallCount == 3 && Capture.GetRecords().empty() ) );
}

TEST_CASE( "Expecting ASSERT_FAILS with assertions failing", "[assert][!throws]" )
{
    CLogCapture Capture;
    int32 CallCount = 0;

    SECTION( "a site reports once and goes on, however often it fails" )
    {
        int32 PassCount = 0;
        for ( int32 i = 0; i < 3; ++i )
        {
            ASSERT_FAILS( zan_assert( CountCalls( CallCount ) < 0 ) );
            ASSERT_FAILS( zan_assert_text( CountCalls( CallCount ) < 0, "text" ) );
            ASSERT_FAILS( zan_assert_msg( CountCalls( CallCount ) < 0, "number %d", i ) );
            ++PassCount;
        }
        REQUIRE( ( PassCount == 3 && CallCount == 9 && Capture.GetRecords().size() == 3 ) );
        REQUIRE( Capture.GetRecords()[ 2 ].Message == "Assertion failed: number 0\n" );
    }
    SECTION( "each site has its own flag, also in a constexpr function" )
    {
        REQUIRE( ( Half( 7 ) == 3 && Half( 9 ) == 4 ) );
        REQUIRE( Capture.GetOnlyMessage() == "Assertion failed: Value % 2 == 0\n" );
    }
    SECTION( "one statement" )
    {
        if ( CallCount != 0 )
            zan_assert( false );
        else
            zan_assert_msg( CallCount == 0, "not reached" );
        REQUIRE( Capture.GetRecords().empty() );
    }
}

TEST_CASE(
    "Expecting ASSERT_FAILS_WITH with assertions failing with the correct message", "[assert][!throws]" )
{
    CLogCapture Capture;

    SECTION( "source text, unexpanded" )
    {
        ASSERT_FAILS_WITH( zan_assert( false && "100%s \"quoted\"" ), "false && \"100%s \\\"quoted\\\"\"" );
        REQUIRE( Capture.GetOnlyMessage() == "Assertion failed: false && \"100%s \\\"quoted\\\"\"\n" );
    }
    SECTION( "a formatted text keeps 2047 characters" )
    {
        for ( const size_t Length : { 2046u, 2047u, 2048u, 5000u } )
        {
            Capture.Clear();
            bool bReported = false;
            ZanAssertFailed( nullptr, 0, 1, &bReported, "%s", std::string( Length, 'x' ).c_str() );
            const std::string Kept( std::min<size_t>( Length, 2047 ), 'x' );
            REQUIRE( Capture.GetOnlyMessage() == "Assertion failed: " + Kept + "\n" );
        }
    }
    SECTION( "a format that fails is the text itself" )
    {
        const wchar_t NoCharacter[] = { static_cast<wchar_t>( 0xDC00 ), 0 };
        ASSERT_FAILS_WITH( zan_assert_msg( false, "broken %ls", NoCharacter ), "broken %ls" );
        REQUIRE( Capture.GetOnlyMessage() == "Assertion failed: broken %ls\n" );
    }
}

TEST_CASE( "Expecting ASSERT_FAILS_MATCHES with assertions failing with the correct attributes",
    "[assert][!throws]" )
{
    CLogCapture Capture;
    ASSERT_FAILS_MATCHES( zan_assert( false && "attributes" ), NZanCatch2::HasText( "attributes" ),
        NZanCatch2::IsFile( "zan_core/zan_assert" ), NZanCatch2::IsLine( 607 ),
        NZanCatch2::IsLogged( true ) );
    bool bReported = false;
    REQUIRE( ( !ZanAssertFailed( "ignored.cpp", 5, 2, &bReported, "attributes" ) && bReported ) );
    REQUIRE_FALSE( ZanAssertFailed( nullptr, 0, 1, &bReported, "silent" ) );

    REQUIRE( Capture.GetRecords().size() == 2 );
    for ( const NZanTestUtils::SLogRecord& Record : Capture.GetRecords() )
    {
        REQUIRE( ( Record.File == "zan_core/zan_assert" && Record.Line == 607 && Record.Category == 1 ) );
    }
}

#if defined( ZAN_TEST_CAPTURE_ASSERTS )

TEST_CASE( "Captured assertions have to meet the expectation", "[assert]" )
{
    using namespace NZanCatch2;
    CLogCapture Log;
    CAssertCapture Capture;
    const auto FailAt = []( int32 Number ) { zan_assert_msg( false, "number %d", Number ); };

    SECTION( "without a failure" )
    {
        Capture.Stop();
        FailAt( 0 );
        REQUIRE_THAT( Capture, FailsNot() && !Fails() && !Fails( HasText( "" ) ) );
    }
    SECTION( "with failures of one site, of which only the first is logged" )
    {
        FailAt( 1 );
        FailAt( 2 );
        Capture.Stop();
        REQUIRE_THAT( Capture, !FailsNot() && Fails() );
        REQUIRE_THAT( Capture, Fails( IsText( "number 1" ) ) && Fails( IsText( "number 2" ) ) );
        REQUIRE_THAT( Capture, !Fails( IsText( "number" ) ) && Fails( HasText( "number" ) ) );
        REQUIRE_THAT( Capture, !Fails( IsText( "number 1" ), HasText( "2" ) ) );
        REQUIRE_THAT( Capture, !Fails( IsLogged( true ), HasText( "2" ) ) );
        REQUIRE_THAT( Capture, !Fails( IsLine( 1 ) ) && !Fails( IsFile( "zan_assert" ) ) );
        REQUIRE( GAsserts.GetSize() == 2 );
    }
    SECTION( "the inner one sees its own, the outer one both" )
    {
        FailAt( 1 );
        ASSERT_FAILS_WITH( FailAt( 2 ), "number 2" );
        NO_ASSERT_FAILS( zan_assert( true ) );
        Capture.Stop();
        REQUIRE_THAT( Capture, Fails( IsText( "number 1" ) ) && Fails( IsText( "number 2" ) ) );
    }
    SECTION( "an exception ends a capture" )
    {
        Capture.Stop();
        REQUIRE_THROWS( [] { ASSERT_FAILS( throw 1 ); }() );
        FailAt( 1 );
        REQUIRE( GAsserts.IsEmpty() );
    }
}

#else

TEST_CASE( "Assertion marks run what they mark and check nothing", "[assert]" )
{
    CLogCapture Log;
    int32 CallCount = 0;
    const int32 FormerCount = NZanCatch2::GAsserts.GetSize(); // left by whoever captured before
    NO_ASSERT_FAILS( zan_assert( CountCalls( CallCount ) < 0 ) );
    ASSERT_FAILS( CountCalls( CallCount ) );
    ASSERT_FAILS_WITH( CountCalls( CallCount ), "text" );
    const int32 Value = ASSERT_FAILS_MATCHES( CountCalls( CallCount ), 1, 2 );
    REQUIRE( ( Value == 4 && Log.GetRecords().size() == 1 ) );
    REQUIRE( NZanCatch2::GAsserts.GetSize() == FormerCount );
}

#endif
