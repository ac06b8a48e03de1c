#include "zan_core/hashing/zan_hash.h"
#include "zan_core/text/zan_string_utils.h"
#include "zan_test/include/zan_test_catch.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <random>
#include <set>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace
{
const char* const pNull = nullptr;
constexpr const char* pHello = "Hello world!";
constexpr CZanStringView HelloView = pHello;

bool Is( CZanStringView View, const char* pData, int32 Size, bool bTerminated )
{
    return View.GetData() == pData && View.GetSize() == Size && View.IsEmpty() == ( Size == 0 ) &&
           View.IsNullTerminated() == bTerminated;
}

template <typename TRelation>
void CheckRelation( TRelation Relation )
{
    const char* const Texts[] = { "", "Hello", "Hello world!", "Hellp", "h", "\x7F", "\x80", "\xFF" };
    for ( int32 i = 0; i < 64; ++i )
    {
        const char *const pLeft = Texts[ i / 8 ], *const pRight = Texts[ i % 8 ];
        const bool bExpected = Relation( std::strcmp( pLeft, pRight ), 0 );
        const CZanStringView Left = pLeft, Right = pRight;
        CAPTURE( pLeft, pRight );
        REQUIRE( Relation( Left, Right ) == bExpected );
        REQUIRE( ( Relation( Left, pRight ) == bExpected && Relation( pLeft, Right ) == bExpected ) );
        REQUIRE( Relation( Left, CString( pRight ) ) == bExpected );
        REQUIRE( Relation( CString( pLeft ), Right ) == bExpected );
    }
}
} // namespace

TEST_CASE( "CZanStringView Default Construct", "[string_view]" ) { REQUIRE( Is( {}, pNull, 0, false ) ); }
TEST_CASE( "CZanStringView const char* Constructor", "[string_view]" )
{
    const char* const pText = "Hello\0world";
    REQUIRE( ( Is( pText, pText, 5, true ) && Is( pNull, nullptr, 0, false ) ) );
}

TEST_CASE( "CZanStringView const char* and size Constructor", "[string_view]" )
{
    const CZanStringView View( pHello, 5 );
    REQUIRE( ( Is( View, pHello, 5, false ) && std::string( begin( View ), end( View ) ) == "Hello" ) );
}

TEST_CASE( "CZanStringView operator=", "[string_view]" )
{
    CZanStringView View( "short", 2 );
    REQUIRE( Is( View = HelloView, pHello, 12, true ) );
}

TEST_CASE( "CString operator CZanStringView", "[string_view]" )
{
    const CString Text( "a\0b", 3 );
    REQUIRE( ( Is( Text, Text.GetCharPtr(), 3, true ) && CZanStringView( CString() ).IsNullTerminated() ) );
}

TEST_CASE( "CString Construct from CZanStringView", "[string_view]" )
{
    REQUIRE( CString( CZanStringView( "a\0b, cut", 3 ) ).GetString() == std::string( "a\0b", 3 ) );
    REQUIRE( CString( CZanStringView() ).IsEmpty() );
}

TEST_CASE( "CString Assigning CZanStringView", "[string_view]" )
{
    CString Text;
    Text = HelloView;
    REQUIRE( ( Text = CZanStringView( Text ).GetSubstring( 3, 8 ) ).GetString() == "lo wo" ); // of itself
    REQUIRE( ( Text = CZanStringView() ).IsEmpty() );
}

TEST_CASE( "CZanStringView operator[]", "[string_view]" ) { REQUIRE( HelloView[ 11 ] == '!' ); }
TEST_CASE( "CZanStringView::GetSize", "[string_view]" ) { REQUIRE( HelloView.GetSize() == 12 ); }

TEST_CASE( "CZanStringView::RemovePrefix", "[string_view]" )
{
    CZanStringView View = HelloView;
    View.RemovePrefix( 6 );
    REQUIRE( Is( View, pHello + 6, 6, true ) );
}

TEST_CASE( "CZanStringView::RemoveSuffix", "[string_view]" )
{
    CZanStringView View = HelloView;
    View.RemoveSuffix( 0 );
    REQUIRE( Is( View, pHello, 12, true ) );
    View.RemoveSuffix( 7 );
    REQUIRE( Is( View, pHello, 5, false ) );
}

TEST_CASE( "CZanStringView::Swap", "[string_view]" )
{
    CZanStringView Left = HelloView, Right;
    Left.Swap( Right );
    REQUIRE( ( Is( Left, nullptr, 0, false ) && Is( Right, pHello, 12, true ) ) );
}

TEST_CASE( "CZanStringView::GetSubstring", "[string_view]" )
{
    REQUIRE( Is( HelloView.GetSubstring( 6 ), pHello + 6, 6, true ) );
    REQUIRE( Is( HelloView.GetSubstring( 6, 11 ), pHello + 6, 5, false ) );
}

// The random bytes below say more of these.
TEST_CASE( "CZanStringView::Compare", "[string_view]" ) { REQUIRE( HelloView.Compare( "Hello" ) == 1 ); }
TEST_CASE( "CZanStringView::Find", "[string_view]" ) { REQUIRE( HelloView.Find( "ello" ) == 1 ); }
TEST_CASE( "CZanStringView::ReverseFind", "[string_view]" ) { REQUIRE( HelloView.ReverseFind( 'o' ) == 7 ); }
TEST_CASE( "CZanStringView::FindFirst", "[string_view]" )
{
    REQUIRE( ( HelloView.FindFirst( CZanStringView( "zxw" ) ) == 6 && HelloView.FindFirst( "zyx" ) == -1 ) );
    REQUIRE( ( HelloView.FindFirst( 'l' ) == 2 && HelloView.FindFirst( "curd", 3 ) == 8 ) );
}

TEST_CASE( "CZanStringView::FindLast", "[string_view]" )
{
    REQUIRE( ( HelloView.FindLast( "lnw" ) == 9 && HelloView.FindLast( "xyz", 0 ) == -1 ) );
    REQUIRE( ( HelloView.FindLast( 'l' ) == 9 && HelloView.FindLast( "curd", 3, 11 ) == 8 ) );
    REQUIRE( ( HelloView.FindLast( "H", -1 ) == -1 && HelloView.FindLast( 'H', -7 ) == -1 ) );
}

TEST_CASE( "CZanStringView operator==", "[string_view]" ) { CheckRelation( std::equal_to<>() ); }
TEST_CASE( "CZanStringView operator!=", "[string_view]" ) { CheckRelation( std::not_equal_to<>() ); }
TEST_CASE( "CZanStringView operator<", "[string_view]" ) { CheckRelation( std::less<>() ); }
TEST_CASE( "CZanStringView operator<=", "[string_view]" ) { CheckRelation( std::less_equal<>() ); }
TEST_CASE( "CZanStringView operator>", "[string_view]" ) { CheckRelation( std::greater<>() ); }
TEST_CASE( "CZanStringView operator>=", "[string_view]" ) { CheckRelation( std::greater_equal<>() ); }

TEST_CASE( "CZanStringView Hashing", "[string_view]" )
{
    // Published values: tails of every length, and bytes that a signed read would extend.
    const std::tuple<CZanStringView, uint32> Known[] = { { CZanStringView(), 0 }, { HelloView, 1652231212 },
        { { "\0", 1 }, 0x514E28B7 }, { { "\0\0\0\0", 4 }, 0x2362F9DE }, { "\x21", 0x72661CF4 },
        { { "\x21\x43, cut", 2 }, 0xA0F7B07A }, { "\x21\x43\x65", 0x7E4A8634 },
        { "\xFF\xFF\xFF\xFF", 0x76293B50 } };
    for ( const auto& [ View, Hash ] : Known )
    {
        const CString Text( View );
        const std::set<size_t> Hashes = { ZanHash( View ), ZanHash( View.GetData(), View.GetSize() ),
            ZanHash( Text ), ZanHash( Text.GetString() ), ZanCStringHash( Text ),
            std::hash<CZanStringView>()( View ), std::hash<CString>()( Text ) };
        REQUIRE( Hashes == std::set<size_t>{ Hash } );
    }
}

TEST_CASE( "ContainsIgnoreCase", "[string_view]" )
{
    // The last three are a letter's distance apart, but no letters.
    const std::tuple<CZanStringView, CZanStringView, bool> Table[] = { { HelloView, "hello world!", true },
        { HelloView, "o W", true }, { HelloView, "Hello world!!", false }, { "azAZ", "AZaz", true },
        { HelloView, "", true }, { {}, {}, true }, { {}, "a", false }, { { "a\0B", 3 }, { "\0b", 2 }, true },
        { "aab", "AB", true }, { "@", "`", false }, { "[", "{", false }, { "\xC4", "\xE4", false } };
    for ( const auto& [ Haystack, Needle, bExpected ] : Table )
    {
        CAPTURE( Haystack, Needle );
        REQUIRE( NZanStringUtils::ContainsIgnoreCase( Haystack, Needle ) == bExpected );
    }
}

TEST_CASE( "IsNullTerminated", "[string_view]" )
{
    REQUIRE_FALSE( CZanStringView( pHello, 12 ).IsNullTerminated() ); // carried along, not measured
    REQUIRE( CZanStringView::FromNullTerminated( "1234\0678", 8 ).IsNullTerminated() );
    REQUIRE_FALSE( CZanStringView::FromNullTerminated( pNull, 0 ).IsNullTerminated() );
    for ( const auto& [ Start, End ] : { std::pair( 0, 12 ), { 3, 12 }, { 12, 12 }, { 3, 11 }, { 0, 0 } } )
    {
        REQUIRE( HelloView.GetSubstring( Start, End ).IsNullTerminated() == ( End == 12 ) );
    }
    CZanStringView View( pHello, 5 );
    View.RemoveSuffix( 0 );
    View.RemovePrefix( 1 );
    REQUIRE_FALSE( View.GetSubstring( 0 ).IsNullTerminated() ); // nothing brings it back
}

TEST_CASE( "CZanStringView agrees with the standard view on random bytes", "[string_view]" )
{
    std::mt19937 Random( 7001 );
    const auto MakeBytes = [ &Random ]( size_t MaxSize ) { // no room behind them, and no pointer when empty
        std::vector<char> Bytes( Random() % ( MaxSize + 1 ) );
        std::generate( Bytes.begin(), Bytes.end(), [ & ] { return "ab\0\x80\xFF"[ Random() % 5 ]; } );
        return Bytes;
    };
    const auto PositionOf = []( size_t Found ) { return static_cast<int32>( Found ); }; // npos becomes -1
    for ( int32 Round = 0; Round < 4000; ++Round )
    {
        const std::vector<char> Text = MakeBytes( 12 );
        const std::vector<char> Part = MakeBytes( Round % 2 == 0 ? 3 : 12 );
        const CZanStringView View( Text.data(), static_cast<int32>( Text.size() ) );
        const CZanStringView Needle( Part.data(), static_cast<int32>( Part.size() ) );
        const std::string_view StdView( Text.data(), Text.size() ), StdNeedle( Part.data(), Part.size() );
        const char Char = Part.empty() ? 'a' : Part.back();
        const int32 Pos = Round / 2 % 14;
        const size_t StdPos = static_cast<size_t>( Pos );
        CAPTURE( Text, Part, Pos );
        REQUIRE( View.Find( Needle ) == PositionOf( StdView.find( StdNeedle ) ) );
        REQUIRE( View.Find( Char ) == PositionOf( StdView.find( Char ) ) );
        REQUIRE( View.ReverseFind( Needle ) == PositionOf( StdView.rfind( StdNeedle ) ) );
        REQUIRE( View.ReverseFind( Char ) == PositionOf( StdView.rfind( Char ) ) );
        REQUIRE( View.FindFirst( Needle ) == PositionOf( StdView.find_first_of( StdNeedle ) ) );
        REQUIRE( View.FindLast( Needle, Pos ) == PositionOf( StdView.find_last_of( StdNeedle, StdPos ) ) );
        REQUIRE( View.FindLast( Char, Pos ) == PositionOf( StdView.rfind( Char, StdPos ) ) );
        REQUIRE( ( View.Compare( Needle ) < 0 ) == ( StdView < StdNeedle ) );
        REQUIRE( ( View == Needle ) == ( StdView == StdNeedle ) );
    }
}

TEST_CASE( "CZanStringView works in constant expressions", "[string_view]" )
{
    STATIC_REQUIRE( HelloView.GetSubstring( HelloView.Find( "wor" ), 11 ) == "world" );
    STATIC_REQUIRE( ( HelloView.Find( "word" ) == -1 && HelloView.ReverseFind( "o" ) == 7 ) );
    STATIC_REQUIRE( ( HelloView.FindFirst( "lnw" ) == 2 && HelloView.FindLast( "lnw", 5 ) == 3 ) );
    STATIC_REQUIRE( CZanStringView( "\x80" ) > "\x7F" );
}
