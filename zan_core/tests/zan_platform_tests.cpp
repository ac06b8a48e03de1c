#include "zan_core/zan_platform.h"
#include "zan_test/include/zan_test_catch.h"

#include <string>

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
