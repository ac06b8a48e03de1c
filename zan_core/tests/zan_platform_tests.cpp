#include "zan_core/zan_platform.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_threads.h"

#include <chrono>
#include <mutex>
#include <string>
#include <thread>

namespace
{
std::string GWritten;

void Record( const char* pText ) { GWritten += pText; }
} // namespace

TEST_CASE( "NZanPlatform debug output goes to the sink until it is taken away", "[platform]" )
{
    GWritten.clear();
    const NZanPlatform::FDebugOutput pFormer = NZanPlatform::SetDebugOutput( &Record );
    NZanPlatform::WriteDebugOutput( "one %s," );
    NZanPlatform::WriteDebugOutput( nullptr );
    NZanPlatform::WriteDebugOutput( "two" );
    REQUIRE( NZanPlatform::SetDebugOutput( nullptr ) == &Record );
    NZanPlatform::WriteDebugOutput( "for the system's log" );
    REQUIRE( ( NZanPlatform::SetDebugOutput( pFormer ) == nullptr && GWritten == "one %s,two" ) );
}

TEST_CASE( "NZanPlatform::CSlimLock has one owner", "[platform]" )
{
    NZanPlatform::CSlimLock Lock;
    const auto TryElsewhere = [ & ]() {
        bool bTaken = false;
        std::thread( [ & ]() {
            const std::unique_lock Guard( Lock, std::try_to_lock );
            bTaken = Guard.owns_lock();
        } ).join();
        return bTaken;
    };
    {
        const std::scoped_lock Guard( Lock );
        REQUIRE_FALSE( TryElsewhere() );
    }
    REQUIRE( TryElsewhere() );

    int Total = 0;
    NZanTestUtils::RunOnTwoThreads( [ & ]( int32 ) {
        for ( int i = 0; i < 10000; ++i )
        {
            const std::scoped_lock Guard( Lock );
            ++Total;
        }
    } );
    REQUIRE( Total == 20000 );
}

TEST_CASE( "NZanPlatform::CompareIgnoreCase orders by bytes in lower case", "[platform]" )
{
    const auto Compare = []( const std::string& Left, const std::string& Right ) {
        const int Order = NZanPlatform::CompareIgnoreCase( Left.data(), Right.data(), Left.size() );
        return ( Order > 0 ) - ( Order < 0 );
    };
    const std::string Equal = "12345678";
    for ( const std::string& Before : { std::string(), Equal, Equal + Equal + "ab" } )
    {
        REQUIRE(
            ( Compare( Before + "aZ", Before + "Az" ) == 0 && Compare( Before + "A", Before + "b" ) < 0 ) );
        REQUIRE(
            ( Compare( Before + "_", Before + "A" ) < 0 && Compare( Before + "\xE4", Before + "z" ) > 0 ) );
        REQUIRE( ( Compare( Before + "[", Before + "{" ) < 0 && Compare( Before + "@", Before + "`" ) < 0 ) );
        REQUIRE( Compare( Before + std::string( "\0B", 2 ), Before + std::string( "\0a", 2 ) ) > 0 );
    }
    for ( size_t Size = 1; Size < 20; ++Size )
    {
        for ( size_t i = 0; i < Size; ++i )
        {
            std::string Text( Size, 'x' );
            Text[ i ] = 'X';
            REQUIRE( Compare( std::string( Size, 'x' ), Text ) == 0 );
            Text[ i ] = 'W';
            REQUIRE( Compare( std::string( Size, 'x' ), Text ) > 0 );
        }
    }
    REQUIRE( NZanPlatform::CompareIgnoreCase( nullptr, nullptr, 0 ) == 0 );
}

TEST_CASE( "NZanPlatform tells threads and time", "[platform]" )
{
    const uint32 Main = NZanPlatform::GetThreadId();
    uint32 Other = 0;
    char Name[ 16 ] = {};
    std::thread( [ & ]() {
        Other = NZanPlatform::GetThreadId();
        NZanPlatform::SetThreadName( "fifteen letters and more" );
        NZanPlatform::SetThreadName( nullptr );
        pthread_getname_np( pthread_self(), Name, sizeof( Name ) );
    } ).join();
    REQUIRE( ( Main != 0 && Other != 0 && Main != Other && Main == NZanPlatform::GetThreadId() ) );
    REQUIRE( std::string( Name ) == "fifteen letters" );
    REQUIRE( NZanPlatform::GetHardwareConcurrency() >= 1 );
    const int64 StartNs = NZanPlatform::GetTimeNs();
    const auto Start = std::chrono::steady_clock::now();
    while ( std::chrono::steady_clock::now() - Start < std::chrono::milliseconds( 1 ) )
    {}
    REQUIRE( NZanPlatform::GetTimeNs() - StartNs >= 1'000'000 );
}
