#include "zan_core/hashing/fnv1a.h"
#include "zan_core/text/zan_string.h"
#include "zan_test/include/zan_test_catch.h"

// Usable where a constant is asked for.
static_assert(
    FNV1a::Hash( "hello", 5 ) == 1335831723 && FNV1a::HashNullTerminated( "hello" ) == 1335831723 );
static_assert( FNV1a::HashIgnoreCase( "hElLo woRLD" ) == 3582672807 );

TEST_CASE( "FNV1a::Hash", "[fnva1]" )
{
    const char Text[] = "hello world";
    REQUIRE( ( FNV1a::Hash( Text, 5 ) == 1335831723 && FNV1a::Hash( Text, 0 ) == 0x811C9DC5 ) );
    REQUIRE( FNV1a::Hash( Text, -1 ) == 0x811C9DC5 );

    REQUIRE( FNV1a::Hash( "foobar", 6 ) == 0xBF9CF968 ); // published with the function

    // A byte above 127 is not extended by its sign.
    const uint8 High = 0xFF;
    REQUIRE( FNV1a::Hash( &High, 1 ) == ( 0x811C9DC5u ^ 0xFFu ) * 16777619u );
    REQUIRE( FNV1a::Hash( "\xFF", 1 ) == FNV1a::Hash( &High, 1 ) );
    REQUIRE( FNV1a::Hash( "\0", 1 ) == 0x811C9DC5u * 16777619u );
}

TEST_CASE( "FNV1a::HashNullTerminated", "[fnva1]" )
{
    REQUIRE( FNV1a::HashNullTerminated( "hello world" ) == 3582672807 );
    REQUIRE( FNV1a::HashNullTerminated( "hElLo woRLD" ) == 2456870279 );
    REQUIRE( FNV1a::HashNullTerminated( "" ) == 0x811C9DC5 );
    REQUIRE( FNV1a::HashNullTerminated( "hello\0world" ) == 1335831723 );
}

TEST_CASE( "FNV1a::HashIgnoreCase", "[fnva1]" )
{
    REQUIRE( FNV1a::HashIgnoreCase( "hello world" ) == 3582672807 );
    REQUIRE( FNV1a::HashIgnoreCase( CString( "hElLo woRLD" ) ) == 3582672807 );
    REQUIRE( FNV1a::HashIgnoreCase( "" ) == 0x811C9DC5 );

    // Only A to Z fold: their neighbours and letters beyond ASCII do not.
    for ( int32 i = 0; i < 256; ++i )
    {
        const char Byte = static_cast<char>( i );
        const char Folded = i >= 'A' && i <= 'Z' ? static_cast<char>( i + 32 ) : Byte;
        CAPTURE( i );
        REQUIRE( FNV1a::HashIgnoreCase( CZanStringView( &Byte, 1 ) ) == FNV1a::Hash( &Folded, 1 ) );
    }
}
