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
