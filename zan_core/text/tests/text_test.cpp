#include "zan_test/include/zan_test_catch.h"

#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

namespace
{
const char* const pNullText = nullptr;

/// Text for which a buffer of exactly its size was allocated, or one of the given size if that is larger.
CString MakeText( const char* pText, int32 Room )
{
    CString Text = pText;
    Text.Reserve( Room );
    return Text;
}

/// Adds Other, which reads as Added, on either side of a string that is kept and of one that lends its
/// buffer.
template <typename TOther>
void CheckSums( const TOther& Other, const std::string& Added )
{
    const CString Kept = "text";
    REQUIRE( ( Kept + Other ).GetString() == "text" + Added );
    REQUIRE( ( Other + Kept ).GetString() == Added + "text" );

    CString Left = MakeText( "text", 64 );
    CString Right = MakeText( "text", 64 );
    const char* pLeftBuffer = Left.GetCharPtr();
    const char* pRightBuffer = Right.GetCharPtr();
    const CString Appended = std::move( Left ) + Other;
    const CString Prepended = Other + std::move( Right );
    REQUIRE( Appended.GetString() == "text" + Added );
    REQUIRE( Appended.GetCharPtr() == pLeftBuffer );
    REQUIRE( Prepended.GetString() == Added + "text" );
    REQUIRE( Prepended.GetCharPtr() == pRightBuffer );
}
} // namespace

TEST_CASE( "Create empty CString", "[text]" )
{
    for ( const CString& Text : { CString(), CString( "" ), CString( pNullText ), CString( pNullText, 0 ) } )
    {
        REQUIRE( Text.IsEmpty() );
        REQUIRE( Text.GetSize() == 0 );
        REQUIRE( *Text.GetCharPtr() == '\0' );
    }
}

TEST_CASE( "Create CString from char array", "[text]" )
{
    REQUIRE( CString( "One\0two" ).GetString() == "One" );
    const CString Text( "One\0two", 7 );
    REQUIRE( Text.GetString() == std::string( "One\0two", 7 ) );

    const std::tuple<int32, int32, const char*> Parts[] = { { 0, 3, "One" }, { 1, 3, "ne" }, { 4, 7, "two" },
        { 2, 7, "e" }, { 3, 7, "" }, { -5, 2, "On" }, { 5, 99, "wo" }, { 7, 9, "" }, { 99, 120, "" },
        { 2, 1, "" }, { 2, -7, "" }, { -9, -7, "" } };
    for ( const auto& [ Start, End, pPart ] : Parts )
    {
        CAPTURE( Start, End );
        REQUIRE( Text.GetSubstring( Start, End ).GetString() == pPart );
    }
}

TEST_CASE( "Create CString with copy constructor", "[text]" )
{
    const CString Text( "a\0text past the inline buffer", 29 );
    CString Copy = Text;
    REQUIRE( Copy.GetString() == Text.GetString() );
    REQUIRE( Copy.GetCharPtr() != Text.GetCharPtr() );
    const CString& Same = Copy;
    Copy = Same;
    REQUIRE( Copy.GetString() == Text.GetString() );
    Copy = pNullText;
    REQUIRE( Copy.IsEmpty() );
}

TEST_CASE( "Create CString with move constructor", "[text]" )
{
    for ( const char* pText : { "short", "a text past the inline buffer" } )
    {
        CString Source = pText;
        const CString& MovedSource = Source;
        CString Target = std::move( Source );
        REQUIRE( Target.GetString() == pText );
        REQUIRE( MovedSource.IsEmpty() );

        CString& Same = Target;
        Target = std::move( Same );
        REQUIRE( Target.GetString() == pText );

        const CString& MovedTarget = Target;
        Source = "to be replaced, and long enough to own memory";
        Source = std::move( Target );
        REQUIRE( Source.GetString() == pText );
        REQUIRE( MovedTarget.IsEmpty() );

        swap( Source, Target );
        swap( Target, Same ); // with itself
        REQUIRE( Source.IsEmpty() );
        REQUIRE( Target.GetString() == pText );
    }
}

TEST_CASE( "CString concatenation", "[text]" )
{
    CheckSums( CString( "+more" ), "+more" );
    CheckSums( CZanStringView( "\0+more", 3 ), std::string( "\0+m", 3 ) );
    CheckSums( CZanStringView(), "" );
    CheckSums<const char*>( "+more", "+more" );
    CheckSums( pNullText, "" );
    CheckSums( '+', "+" );

    CString Left = MakeText( "left", 64 );
    const char* pBuffer = Left.GetCharPtr();
    const CString Chained = std::move( Left ) + MakeText( "+right", 64 );
    REQUIRE( Chained.GetString() == "left+right" );
    REQUIRE( Chained.GetCharPtr() == pBuffer );

    // Both operands in one buffer, which is inline, outgrown by the sum, or has room for it.
    const std::tuple<const char*, int32> Buffers[] = { { "ab", 0 }, { "past the inline size", 0 },
        { "ab", 64 } };
    for ( const auto& Buffer : Buffers )
    {
        const auto Sum = [ &Buffer ]( auto Add ) {
            CString Text = std::apply( MakeText, Buffer );
            return Add( Text, Text ).GetString();
        };
        const std::string Twice = std::string( std::get<0>( Buffer ) ) + std::get<0>( Buffer );
        REQUIRE( Sum( []( auto& L, auto& R ) { return L + std::move( R ); } ) == Twice );
        REQUIRE( Sum( []( auto& L, auto& R ) { return std::move( L ) + R; } ) == Twice );
        REQUIRE( Sum( []( auto& L, auto& R ) { return std::move( L ) + std::move( R ); } ) == Twice );
        REQUIRE( Sum( []( auto& L, auto& R ) { return std::move( L ) + R.GetCharPtr(); } ) == Twice );
        REQUIRE( Sum( []( auto& L, auto& R ) { return CZanStringView( L ) + std::move( R ); } ) == Twice );
    }
}

TEST_CASE( "CString Insert", "[text]" )
{
    const auto Insert = []( CString Text, auto... What ) { return Text.Insert( What... ).GetString(); };
    REQUIRE( Insert( "0123456789", 0, "+" ) == "+0123456789" );
    REQUIRE( Insert( "0123456789", 1, "+" ) == "0+123456789" );
    REQUIRE( Insert( "0123456789", 5, "+" ) == "01234+56789" );
    REQUIRE( Insert( "0123456789", 9, "+" ) == "012345678+9" );
    REQUIRE( Insert( "0123456789", 10, "+" ) == "0123456789+" );
    REQUIRE( Insert( "0123456789", 1, 10, '.' ) == "0..........123456789" );
    REQUIRE( Insert( "0123456789", 5, 0, '.' ) == "0123456789" );
    REQUIRE( Insert( "0123456789", 5, CZanStringView() ) == "0123456789" );
    REQUIRE( Insert( "", 0, "0123456789" ) == "0123456789" );
    REQUIRE( Insert( "ab", 1, CZanStringView( "\0+", 2 ) ) == std::string( "a\0+b", 4 ) );
    REQUIRE_THROWS_AS( Insert( "ab", 3, "+" ), std::out_of_range );
    REQUIRE_THROWS_AS( Insert( "ab", -1, 1, '+' ), std::out_of_range );
    for ( const int32 Room : { 0, 64 } )
    {
        CString Text = MakeText( "0123456789abcdef", Room );
        Text.Insert( 4, CZanStringView( Text ).GetSubstring( 2, 7 ) ); // from both sides of the gap
        REQUIRE( Text.GetString() == "012323456456789abcdef" );
    }
}

TEST_CASE( "CString::StartsWith", "[text]" )
{
    const CZanStringView Unterminated( "Hello, cut", 5 );
    REQUIRE( CString( "Hello World" ).StartsWith( "Hello World" ) );
    REQUIRE( CString( "Hello World" ).StartsWith( Unterminated ) );
    REQUIRE_FALSE( CString( "Hell" ).StartsWith( Unterminated ) );
    REQUIRE_FALSE( CString( "Hello" ).StartsWith( "Hello " ) );
    REQUIRE_FALSE( CString( "Hello" ).StartsWith( "ello" ) );
    REQUIRE( CString( "" ).StartsWith( CZanStringView() ) );
    REQUIRE( CString( "a\0bc", 4 ).StartsWith( CZanStringView( "a\0b", 3 ) ) );
    REQUIRE_FALSE( CString( "a\0c", 3 ).StartsWith( CZanStringView( "a\0b", 3 ) ) );
    REQUIRE_FALSE( CString( "a" ).StartsWith( CZanStringView( "a\0", 2 ) ) );
}

TEST_CASE( "CString::EndsWith", "[text]" )
{
    REQUIRE( CString( "Hello World" ).EndsWith( "Hello World" ) );
    REQUIRE( CString( "Hello World" ).EndsWith( CZanStringView( "World, cut", 5 ) ) );
    REQUIRE_FALSE( CString( "World" ).EndsWith( " World" ) );
    REQUIRE_FALSE( CString( "World" ).EndsWith( "Worl" ) );
    REQUIRE( CString( "" ).EndsWith( CZanStringView() ) );
    REQUIRE( CString( "ab\0c\0", 5 ).EndsWith( CZanStringView( "b\0c\0", 4 ) ) );
    REQUIRE_FALSE( CString( "b\0d", 3 ).EndsWith( CZanStringView( "b\0c", 3 ) ) );
    REQUIRE_FALSE( CString( "a" ).EndsWith( CZanStringView( "a\0", 2 ) ) );
}

TEST_CASE( "CString::FindLast", "[text]" )
{
    REQUIRE( CString( "" ).FindLast( 'n' ) == CString::npos );
    REQUIRE( CString( "One" ).FindLast( 'e', 1 ) == CString::npos );
    REQUIRE( CString( "1" ).FindLast( '1', 0 ) == 0 );
    const CString Text = "One two three four five six seven";
    REQUIRE( Text.FindLast( 'i', 24 ) == 20 );
    REQUIRE( Text.FindLast( 'i', 20 ) == 20 );
    REQUIRE( Text.FindLast( 'n' ) == 32 );
    REQUIRE( Text.FindLast( 'n', -7 ) == 32 );
    REQUIRE( Text.FindLast( 'n', 2147483647 ) == 32 );
}
