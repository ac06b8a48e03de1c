#include "zan_core/zan_assert.h"
#include "zan_core/zan_log.h"
#include "zan_core/zan_platform.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"
#include "zan_test/include/zan_test_threads.h"

#include <algorithm>
#include <memory>

using NZanTestUtils::CLogCapture;
using NZanTestUtils::SLogRecord;

namespace
{
const SLogSite Site = { "file.cpp", 12, LogCategoryError };
std::string GDebugText;

void RecordDebugText( const char* pText ) { GDebugText += pText; }
} // namespace

TEST_CASE( "ZanLog formats and ends the message", "[log]" )
{
    CLogCapture Capture;

    SECTION( "the site arrives with it" )
    {
        ZanLog( Site, "%s %d", "text", 7 );
        REQUIRE( Capture.GetOnlyMessage() == "text 7\n" );
        REQUIRE( Capture.GetRecords()[ 0 ].Category == LogCategoryError );
        REQUIRE( ( Capture.GetRecords()[ 0 ].File == "file.cpp" && Capture.GetRecords()[ 0 ].Line == 12 ) );
    }
    SECTION( "zero byte inside" )
    {
        ZanLog( Site, "a%cb", 0 );
        REQUIRE( Capture.GetOnlyMessage() == std::string( "a\0b\n", 4 ) );
    }
    SECTION( "at most 8190 characters survive" )
    {
        for ( const size_t Length : { 0u, 8189u, 8190u, 8191u, 8192u, 100000u } )
        {
            Capture.Clear();
            ZanLog( Site, "%s", std::string( Length, 'x' ).c_str() );
            REQUIRE(
                Capture.GetOnlyMessage() == std::string( std::min<size_t>( Length, 8190 ), 'x' ) + "\n" );
        }
    }
    SECTION( "a format that fails is the message itself" )
    {
        const wchar_t NoCharacter[] = { static_cast<wchar_t>( 0xDC00 ), 0 };
        ZanLog( Site, "broken %ls", NoCharacter );
        REQUIRE( Capture.GetOnlyMessage() == "broken %ls" );
    }
}

TEST_CASE( "A logger may log and fail assertions", "[log]" )
{
    CLogCapture Capture;
    Capture.SetReaction( []( const SLogRecord& Record ) {
        if ( Record.Message == "outer\n" )
        {
            ZanLog( { "logger.cpp", 1, 2 }, "inner" );
            zan_assert_text( false, "in a logger" );
        }
    } );
    ZanLog( Site, "outer" );

    REQUIRE( ( Capture.GetRecords().size() == 3 && Capture.GetRecords()[ 0 ].Message == "outer\n" ) );
    REQUIRE( ( Capture.GetRecords()[ 1 ].Message == "inner\n" && Capture.GetRecords()[ 1 ].Category == 2 ) );
    REQUIRE( Capture.GetRecords()[ 2 ].Message == "Assertion failed: in a logger\n" );
}

TEST_CASE( "SetLogger hands loggers over, and null restores the fallback", "[log]" )
{
    struct SQuietLogger final : CLogger
    {
        explicit SQuietLogger( int32& LiveCount ) : _LiveCount( ++LiveCount ) {}
        ~SQuietLogger() override { --_LiveCount; }
        void Log( int32, const CZanStringView&, int32, const std::string& ) override {}
        int32& _LiveCount;
    };

    int32 LiveCount = 0;
    auto pQuietLogger = std::make_unique<SQuietLogger>( LiveCount );
    CLogger* const pInstalled = pQuietLogger.get();
    std::unique_ptr<CLogger> pFormer = SetLogger( std::move( pQuietLogger ) );
    REQUIRE( &GetLogger() == pInstalled );

    REQUIRE( SetLogger( nullptr ).get() == pInstalled );
    REQUIRE( LiveCount == 0 );

    GDebugText.clear();
    const NZanPlatform::FDebugOutput pFormerSink = NZanPlatform::SetDebugOutput( &RecordDebugText );
    CLogger* const pFallback = &GetLogger();
    ZanLog( Site, "one" );
    ZanLog( { CZanStringView( "file.hpp", 6 ), -3, 1 }, "two" );
    NZanPlatform::SetDebugOutput( pFormerSink );
    REQUIRE( ( GDebugText == "[file.cpp:12] one\n[file.h:-3] two\n" && &GetLogger() == pFallback ) );
    REQUIRE( ( pFallback->GetVerbosity() == 3 && &pFallback->AccessTarget() == pFallback ) );

    SetLogger( std::move( pFormer ) );
}

TEST_CASE( "Log categories keep their first registration", "[log]" )
{
    const SLogCategory* const pError = FindLogCategory( 1 );
    REQUIRE( ( pError != nullptr && pError->Name == "Hartenvold Error" ) );
    REQUIRE( ( FindLogCategoryId( "Hartenvold Error" ) == 1 && FindLogCategoryId( "hv_ecs" ) == 12 ) );
    REQUIRE( FindLogCategoryId( "unknown" ) == -1 );
    {
        const SLogCategory SameId( 1, "Second" ), SameName( 1000, "Hartenvold Error" ), Both( 1001, "Third" );
        REQUIRE( ( FindLogCategory( 1 ) == pError && FindLogCategoryId( "Second" ) == -1 ) );
        REQUIRE( ( FindLogCategory( 1000 ) == &SameName && FindLogCategoryId( "Hartenvold Error" ) == 1 ) );
        REQUIRE( FindLogCategoryId( "Third" ) == 1001 );
    }
    REQUIRE( ( FindLogCategory( 1 ) == pError && FindLogCategoryId( "Hartenvold Error" ) == 1 ) );
    REQUIRE( ( FindLogCategory( 1000 ) == nullptr && FindLogCategoryId( "Third" ) == -1 ) );
}

TEST_CASE( "Threads that log at once lose and mix nothing", "[log]" )
{
    constexpr int32 MessageCount = 1000;
    CLogCapture Capture;
    NZanTestUtils::RunOnTwoThreads( [ & ]( int32 Number ) {
        const std::string Text( 300, static_cast<char>( 'a' + Number ) );
        for ( int32 i = 0; i < MessageCount; ++i )
        {
            ZanLog( { "thread", i, Number }, "%s", Text.c_str() );
        }
    } );
    REQUIRE( Capture.GetRecords().size() == 2 * MessageCount );
    int32 NextLines[ 2 ] = {}, WholeCount = 0;
    for ( const SLogRecord& Record : Capture.GetRecords() )
    {
        const std::string Expected( 300, static_cast<char>( 'a' + Record.Category ) );
        const bool bInOrder = Record.Line == NextLines[ Record.Category ]++;
        WholeCount += bInOrder && Record.Message == Expected + "\n";
    }
    REQUIRE( WholeCount == 2 * MessageCount );
}
