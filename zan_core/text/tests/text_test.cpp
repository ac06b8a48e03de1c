#include "zan_core/text/zan_string.h"

#include "zan_test/include/zan_test_catch.h"

#include <set>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

using namespace std::string_literals;

namespace
{
const char* const pNullText = nullptr;

/// Text with room for as many characters.
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
    CString Left = MakeText( "text", 64 ), Right = MakeText( "text", 64 );
    const char* const pBuffers[] = { Left.GetCharPtr(), Right.GetCharPtr() };
    const CString Appended = std::move( Left ) + Other, Prepended = Other + std::move( Right );
    REQUIRE( ( Appended.GetString() == "text" + Added && Prepended.GetString() == Added + "text" ) );
    REQUIRE( ( Appended.GetCharPtr() == pBuffers[ 0 ] && Prepended.GetCharPtr() == pBuffers[ 1 ] ) );
}

/// Method is true for these of the pairs of a text and a part. What is cut lies behind the end of the view.
void CheckParts( bool ( CString::*Method )( CZanStringView ) const, const std::set<int32>& Expected )
{
    const std::pair<CZanStringView, CZanStringView> Pairs[] = { { "Hello", "Hello" },
        { "Hello World", { "Hello, cut", 5 } }, { "Hello World", { "World, cut", 5 } }, { {}, {} },
        { "Hell", { "Hello, cut", 5 } }, { "World", " World" }, { { "a\0bc", 4 }, { "a\0b", 3 } },
        { { "ab\0c\0", 5 }, { "b\0c\0", 4 } }, { { "a\0c", 3 }, { "a\0b", 3 } }, { "a", { "a\0", 2 } } };
    for ( int32 i = 0; i < 10; ++i )
    {
        CAPTURE( i );
        REQUIRE( ( CString( Pairs[ i ].first ).*Method )( Pairs[ i ].second ) == Expected.contains( i ) );
    }
}
} // namespace

TEST_CASE( "Create empty CString", "[text]" )
{
    for ( const CString& Text : { CString(), CString( "" ), CString( pNullText ), CString( pNullText, 0 ) } )
    {
        REQUIRE( ( Text.IsEmpty() && Text.GetSize() == 0 && *Text.GetCharPtr() == '\0' ) );
    }
}

TEST_CASE( "Create CString from char array", "[text]" )
{
    REQUIRE( CString( "One\0two" ).GetString() == "One" );
    const CString Text( "One\0two", 7 );
    REQUIRE( Text.GetString() == "One\0two"s );
    const std::tuple<int32, int32, const char*> Substrings[] = { { 0, 3, "One" }, { 1, 3, "ne" },
        { 4, 7, "two" }, { 2, 7, "e" }, { 3, 7, "" }, { -5, 2, "On" }, { 5, 99, "wo" }, { 99, 120, "" },
        { 2, 1, "" }, { 2, -7, "" }, { -9, -7, "" } };
    for ( const auto& [ Start, End, pPart ] : Substrings )
    {
        CAPTURE( Start, End );
        REQUIRE( Text.GetSubstring( Start, End ).GetString() == pPart );
    }
}

TEST_CASE( "Create CString with copy constructor", "[text]" )
{
    const CString Text( "a\0text past the inline buffer", 29 );
    CString Copy = Text;
    REQUIRE( ( Copy.GetString() == Text.GetString() && Copy.GetCharPtr() != Text.GetCharPtr() ) );
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
        CString Source = pText, Target = std::move( Source );
        REQUIRE( ( Target.GetString() == pText && Source.IsEmpty() ) ); // NOLINT(bugprone-use-after-move)
        CString& Same = Target;
        Target = std::move( Same );
        REQUIRE( Target.GetString() == pText );
        Source = "to be replaced, and long enough to own memory";
        Source = std::move( Target );
        REQUIRE( ( Source.GetString() == pText && Same.IsEmpty() ) );
        swap( Source, Target );
        swap( Target, Same ); // with itself
        REQUIRE( ( Source.IsEmpty() && Target.GetString() == pText ) );
    }
}

TEST_CASE( "CString concatenation", "[text]" )
{
    CheckSums( CString( "+more" ), "+more" );
    CheckSums( CZanStringView( "\0+more", 3 ), "\0+m"s );
    CheckSums( CZanStringView(), "" );
    CheckSums<const char*>( "+more", "+more" );
    CheckSums( pNullText, "" );
    CheckSums( '+', "+" );

    // Both operands in one buffer, which is inline, outgrown by the sum, or has room for it; and in two.
    for ( const auto& [ pText, Room ] :
        { std::pair( "ab", 0 ), std::pair( "past the inline size", 0 ), std::pair( "ab", 64 ) } )
    {
        const auto Sum = [ pText = pText, Room = Room ]( auto Add ) {
            CString Text = MakeText( pText, Room );
            return Add( Text, Text ).GetString();
        };
        const std::string Twice = pText + std::string( pText );
        REQUIRE( Sum( []( auto& L, auto& R ) { return L + std::move( R ); } ) == Twice );
        REQUIRE( Sum( []( auto& L, auto& R ) { return std::move( L ) + R; } ) == Twice );
        REQUIRE( Sum( []( auto& L, auto& R ) { return std::move( L ) + std::move( R ); } ) == Twice );
        REQUIRE( Sum( []( auto& L, auto& R ) { return std::move( L ) + R.GetCharPtr(); } ) == Twice );
        REQUIRE( Sum( []( auto& L, auto& R ) { return CZanStringView( L ) + std::move( R ); } ) == Twice );
    }
    CString Left = MakeText( "left", 64 );
    const char* const pBuffer = Left.GetCharPtr();
    REQUIRE( ( std::move( Left ) + MakeText( "+right", 64 ) ).GetCharPtr() == pBuffer );
}

TEST_CASE( "CString Insert", "[text]" )
{
    const auto Insert = []( auto... What ) { return CString( "0123456789" ).Insert( What... ).GetString(); };
    REQUIRE( ( Insert( 0, "+" ) == "+0123456789" && Insert( 10, "+" ) == "0123456789+" ) );
    REQUIRE( ( Insert( 1, "+" ) == "0+123456789" && Insert( 9, "+" ) == "012345678+9" ) );
    REQUIRE( Insert( 5, CZanStringView( "\0+", 2 ) ) == "01234\0+56789"s );
    REQUIRE( Insert( 1, 10, '.' ) == "0..........123456789" );
    REQUIRE( ( Insert( 5, 0, '.' ) == "0123456789" && Insert( 5, CZanStringView() ) == "0123456789" ) );
    REQUIRE_THROWS_AS( Insert( 11, "+" ), std::out_of_range );
    REQUIRE_THROWS_AS( Insert( -1, 1, '+' ), std::out_of_range );
    for ( const int32 Room : { 0, 64 } )
    {
        CString Text = MakeText( "0123456789abcdef", Room );
        Text.Insert( 4, CZanStringView( Text ).GetSubstring( 2, 7 ) ); // from both sides of the gap
        REQUIRE( Text.GetString() == "012323456456789abcdef" );
    }
}

TEST_CASE( "CString::StartsWith", "[text]" ) { CheckParts( &CString::StartsWith, { 0, 1, 3, 6 } ); }
TEST_CASE( "CString::EndsWith", "[text]" ) { CheckParts( &CString::EndsWith, { 0, 2, 3, 7 } ); }

TEST_CASE( "CString::FindLast", "[text]" )
{
    REQUIRE( CString().FindLast( 'n' ) == CString::npos );
    REQUIRE( CString( "One" ).FindLast( 'e', 1 ) == CString::npos );
    REQUIRE( CString( "11" ).FindLast( '1', 0 ) == 0 );
    const CString Text = "One two three four five six seven";
    REQUIRE( ( Text.FindLast( 'i', 24 ) == 20 && Text.FindLast( 'i', 20 ) == 20 ) );
    REQUIRE( ( Text.FindLast( 'n' ) == 32 && Text.FindLast( 'n', -7 ) == 32 ) );
    REQUIRE( Text.FindLast( 'n', 2147483647 ) == 32 );
}
