#include "zan_core/zan_platform.h"
#include "zan_test/include/zan_test_catch.h"

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
    REQUIRE( NZanPlatform::SetDebugOutput( pFormer ) == nullptr );
    REQUIRE( GWritten == "one %s,two" );
}

TEST_CASE( "NZanPlatform::CSlimLock has one owner", "[platform]" )
{
    NZanPlatform::CSlimLock Lock;
    const auto TryElsewhere = [ & ]() {
        bool bTaken = false;
        std::thread( [ & ]() {
            bTaken = Lock.try_lock();
            if ( bTaken )
            {
                Lock.unlock();
            }
        } ).join();
        return bTaken;
    };
    {
        const std::scoped_lock Guard( Lock );
        REQUIRE_FALSE( TryElsewhere() );
    }
    REQUIRE( TryElsewhere() );

    int Total = 0;
    const auto AddMany = [ & ]() {
        for ( int i = 0; i < 10000; ++i )
        {
            const std::scoped_lock Guard( Lock );
            ++Total;
        }
    };
    std::thread Other( AddMany );
    AddMany();
    Other.join();
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
    REQUIRE( NZanPlatform::CompareIgnoreCase( nullptr, nullptr, 0 ) == 0 );
}
