#include "zan_core/persistence/lexer.h"

#include "zan_core/persistence/tests/both_roads.h"
#include "zan_core/persistence/zan_token_registry.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace std::string_literals;
using NToken::NDetail::CTokenRegistry;
using NZanTestUtils::CBothRoads;
using NZanTestUtils::CLogCapture;

namespace
{
/// The keywords of this process: "dummy", and "key1" to "key63", so that the table of them is large enough
/// for the case of a word to tell where it is looked for.
const bool GKeywordsAreSet = [] {
    static std::string Texts[ 64 ];
    static NToken::SKeyword Keywords[ 64 ] = { { "dummy", NToken::MaxCount - 1 } };
    for ( uint32 i = 1; i < 64; ++i )
    {
        Texts[ i ] = "key" + std::to_string( i );
        Keywords[ i ] = { Texts[ i ].c_str(), 2000 + i };
    }
    return SetTokenKeywords( Keywords, 64 );
}();

/// "number:text" of each token, in quotes if it was, "|" for each false, up to the end of the file. Then the
/// line, and the bytes read and those outside of tokens.
std::string Render( const std::string& Content )
{
    CBothRoads Roads( Content );
    std::string Text;
    while ( !Roads.IsAtEnd() || Roads.WasFound() )
    {
        REQUIRE( Roads.GetTok() );
        const SToken& Token = Roads.GetLexer().Tok();
        const std::string Quote = Token._bExplicitString ? "'" : "",
                          Quoted = Quote + Token.GetString() + Quote;
        Text += Roads.WasFound() ? std::to_string( Token._Type ) + ":" + Quoted + " " : "| ";
    }
    const CTextLexer& Lexer = Roads.GetLexer();
    return Text + std::to_string( Lexer.GetFile().GetLine() ) + " " + std::to_string( Lexer.GetBytesRead() ) +
           " " + std::to_string( Lexer.GetBytesOutsideTokens() );
}
} // namespace

TEST_CASE( "Tokens are cut, numbered and counted to the rules", "[persistence]" )
{
    REQUIRE( GKeywordsAreSet );
    const CLogCapture Log;
    const std::pair<std::string, std::string> Cases[] = { { "", "| 1 1 1" },
        { " \t\v\f\r\n a\n", "15:a | 3 10 9" },
        { "a=b a==b\na<=b", "15:a 1:= 15:b 15:a 1264:== 15:b 15:a 972:<= 15:b | 2 14 3" },
        { "=!b>=<!=", "1:= 1371:! 15:b 971:>= 468:< 1372:!= | 1 9 1" },
        { "(a,{b})#", "5:( 15:a 8:, 3:{ 15:b 4:} 6:) | 1 10 3" },
        { "x # c \" c\ny;\n\n;#;z", "15:x 15:y | 4 20 18" },
        { "1.5 -3 1-2 1a - .5 .-. .a +1 abc",
            "12:1.5 12:-3 12:1-2 12:1a 12:- 12:.5 12:.-. 15:.a 15:+1 15:abc | 1 33 10" },
        { "DUMMY dUmmY dumm dummys 12:@[x]~\x80\xfe",
            "32767:DUMMY 32767:dUmmY 15:dumm 15:dummys 12:12:@[x]~\x80\xfe | 1 35 5" },
        { "key9 KEY10 kEy63 key0", "2009:key9 2010:KEY10 2063:kEy63 15:key0 | 1 22 4" },
        { R"("" "a\"b\\" "#;=")", R"(15:'' 15:'a"b\' 15:'#;=' | 1 18 11)" },
        { "\"a\n\nb\"c", "15:'a\n\nb' 15:c | 3 8 3" },
        { R"("a\b\\\"" "\n")", R"(15:'a\b\"' 15:'\n' | 1 15 8)" }, // two messages
        // Cut off: the position is the size in the end, and all of it is text.
        { R"(a "b\"c)", R"(15:a 15:'b"c' | 1 8 4)" }, { "\"b\\", "15:'b\\' | 1 4 2" },
        { "\"", "15:'' | 1 2 2" },
        // What reads as the end of the data, but is not.
        { "a\0b \xff c"s, "15:a | 15:b | 15:c | 1 8 5" },
        { "# c\0d # e\xff f\ng"s, "15:d 15:f 15:g | 2 15 12" }, { "\"a\0b"s, "15:'a' 15:b | 1 5 3" } };
    for ( const auto& [ Text, Rendered ] : Cases )
    {
        CHECK( Render( Text ) == Rendered );
    }

    constexpr const char* pBackslash =
        "Location: (1): Backslash followed by neither quote nor backslash, if you "
        "meant to write a single backslash, write two backslashes.\n\n";
    REQUIRE( Log.GetRecords().size() == 4 ); // two on both roads
    REQUIRE( ( Log.GetRecords()[ 0 ].Message == pBackslash && Log.GetRecords()[ 3 ].Message == pBackslash ) );
}

TEST_CASE( "Tokens of up to 20 characters lie in place", "[persistence]" )
{
    for ( const size_t Size : { 1u, 16u, 17u, 20u, 21u, 300u } )
    {
        const std::string Word( Size, 'w' );
        for ( const std::string& Content :
            { Word, "\"" + Word + "\"", "x=" + Word + std::string( 300, ' ' ) } )
        {
            CBothRoads Roads( Content );
            const SToken& Token = Roads.GetLexer().Tok();
            do
            {
                REQUIRE( Roads.GetTok() );
            } while ( Roads.WasFound() && Token.GetString() != Word );
            REQUIRE( Token.GetView() == CZanStringView( Word.c_str() ) );
            REQUIRE( ( Token._Text.GetCapacity() == 21 ) == ( Size <= 20 ) ); // it never goes back
        }
    }
}

TEST_CASE( "Peeking, raw text and row data", "[persistence]" )
{
    CMemoryFile File( "a @[1+(2)] ] b ; c\n } unclosed" );
    CTextLexer Lexer( &File );
    Lexer.PeekTok();
    Lexer.PeekTok();
    REQUIRE( ( Lexer.Tok().GetView() == "a" && Lexer.GetTok() && Lexer.Tok().GetView() == "a" ) );
    REQUIRE( ( Lexer.GetTok() && Lexer.Tok().GetView() == "@[1+" ) );
    REQUIRE( ( Lexer.ReadUntil( ']' ) == "(2)" && Lexer.ReadUntil( ']' ) == " " ) );

    CTextLexer::SetCollectRowData( true );
    for ( const char* pRow : { " ", " ; c\n ", " ", "" } )
    {
        REQUIRE( Lexer.GetTok() == ( pRow[ 0 ] != '\0' ) );
        REQUIRE( Lexer.GetRowData().GetValue<CTextLexer::SRowData>()->_Text == pRow );
    }
    CTextLexer::SetCollectRowData( false );
    Lexer.PeekTok();
    REQUIRE( ( Lexer.Tok()._Type == NToken::EndOfInput && Lexer.Tok()._Text.IsEmpty() ) );
    REQUIRE( ( !Lexer.GetTok() && Lexer.ReadUntil( ']' ).IsEmpty() ) );
    File.Seek( 20 );
    REQUIRE( Lexer.ReadUntil( ']' ) == "} unclosed" );
}

TEST_CASE( "Files that are looked into read as all others do", "[persistence]" )
{
    const CLogCapture Log;
    std::mt19937 Random( 17 );
    const auto Choose = [ &Random ]( size_t Count ) { return Random() % Count; };
    const std::string Alphabet = "\"\"\"\\\\\n\n\0\xff##;;=<>!(){},  \t\r\vab.-019zDUMMYdummy\x80"s;
    for ( int32 i = 0; i < 2000; ++i )
    {
        std::string Content( Choose( 80 ), ' ' );
        for ( char& Char : Content )
        {
            // Runs make long words, strings and comments.
            const bool bSame = Choose( 3 ) == 0 && &Char != Content.data();
            Char = bSame ? *( &Char - 1 ) : Alphabet[ Choose( Alphabet.size() ) ];
        }
        INFO( "content: " << Content );
        CBothRoads Roads( Content, i % 10 == 0 );
        CTextLexer::SetCollectRowData( i % 3 == 0 );
        size_t Steps = 0;
        for ( ; !Roads.IsAtEnd() && Steps <= Content.size() + 8; ++Steps )
        {
            const size_t Kind = Choose( 20 );
            const bool bSame = Kind == 0   ? Roads.PeekTok()
                               : Kind == 1 ? Roads.ReadUntil( Alphabet[ Choose( Alphabet.size() ) ] )
                                           : Roads.GetTok();
            REQUIRE( bSame );
        }
        REQUIRE( Roads.IsAtEnd() );
        for ( Steps = 0; Steps < 5; ++Steps )
        {
            REQUIRE( Roads.Seek( static_cast<int32>( Choose( Content.size() + 1 ) ) ) );
            REQUIRE( ( ( Choose( 2 ) == 0 || Roads.Unget() ) && Roads.GetTok() ) );
        }
    }
    CTextLexer::SetCollectRowData( false );
}

TEST_CASE( "Tokens as values", "[persistence]" )
{
    SToken Token( std::numeric_limits<int32>::min() );
    REQUIRE( ( Token._Type == NToken::Number && Token.GetView() == "-2147483648" ) );
    REQUIRE( SToken( CFixedPoint( 5 ) / CFixedPoint( 2 ) ).GetView() == "2.5" );
    Token.SetText( Token.GetView().GetSubstring( 1, 4 ) );
    REQUIRE( ( Token.GetView() == "214" && std::string( Token.GetString() ) == "214" ) );
    Token.SetText( "a text of more than twenty characters" );
    Token.SetText( Token.GetView().GetSubstring( 2 ) );
    REQUIRE( Token.GetView() == "text of more than twenty characters" );
    Token.Reset();
    REQUIRE( ( Token._Type == NToken::None && Token._Text.IsEmpty() && *Token.GetString() == '\0' ) );
}

TEST_CASE( "The registry of tokens", "[persistence]" )
{
    CLogCapture Log;
    CTokenRegistry Registry;
    SECTION( "The library's own keywords leave no number" )
    {
        REQUIRE( ( Registry.Find( "DuMmY" ) == 32767 && Registry.Find( "=" ) == NToken::Number ) );
        REQUIRE( ( Registry.GetText( 0 ) == "dummy" && Registry.GetText( 32767 ) == "dummy" ) );
        REQUIRE( Registry.GetText( NToken::NotEqual ) == "!=" );
        REQUIRE( ( Registry.GetText( -1 ) == "MISSING" && Registry.GetText( 32768 ) == "MISSING" ) );
        REQUIRE( ( Registry.Register( "new" ) == -1 && !Registry.IsDynamic( 32767 ) ) );
        REQUIRE( Log.GetOnlyMessage() == "Token \"new\" is not registered: all numbers are used up.\n" );
    }
    SECTION( "An application's keywords, and tokens registered behind them" )
    {
        NToken::SKeyword Keywords[] = { { "Width", 100 }, { "WIDTH", 200 }, { "yes", 1038 }, { "no", 1039 },
            { "h\xc3\xb6he", 300 }, { "assign", NToken::Assign }, { "wrong", 32768 } };
        const int32 Count = static_cast<int32>( std::size( Keywords ) ) - 1;
        REQUIRE( !Registry.SetKeywords( Keywords, Count + 1 ) ); // a number is out of range
        REQUIRE( Registry.SetKeywords( Keywords, Count ) );
        REQUIRE( ( Registry.Find( "width" ) == 200 && Registry.Find( "dummy" ) == NToken::Number ) );
        REQUIRE( Log.GetOnlyMessage() ==
                 "Creation of token \"h\xc3\xb6he\" is not ascii, it likely works, but not guaranteed.\n" );
        REQUIRE( ( Registry.GetText( 100 ) == "Width" && Registry.GetText( 1 ) == "=" ) );
        REQUIRE( ( Registry.GetText( 1373 ) == "dummy" && !Registry.IsDynamic( 1373 ) ) );
        REQUIRE( !Registry.SetKeywords( Keywords, 1 ) ); // too late

        const auto Classify = [ & ]( CZanStringView Word ) {
            return Registry.ClassifyWord( FNV1a::HashIgnoreCase( Word ), Word );
        };
        REQUIRE( ( Classify( "WiDtH" ) == 200 && Classify( "YES" ) == NToken::Boolean &&
                   Classify( "no" ) == NToken::Boolean && Classify( "new" ) == NToken::String ) );

        Log.Clear();
        const CString& Free = Registry.GetText( 1373 );
        REQUIRE( ( Registry.Register( "New" ) == 1373 && Registry.Register( "second" ) == 1374 ) );
        REQUIRE( ( Registry.GetText( 1373 ) == "New" && Free == "dummy" && Classify( "nEW" ) == 1373 ) );
        REQUIRE( ( Registry.IsDynamic( 1374 ) && !Registry.IsDynamic( 1375 ) && Log.GetRecords().empty() ) );
        for ( const char* pTaken : { "NEW", "no", "!=", "" } )
        {
            Log.Clear();
            REQUIRE( Registry.Register( pTaken ) == -1 );
            REQUIRE(
                Log.GetOnlyMessage().ends_with( "\" is not registered: there is one with this text.\n" ) );
        }
    }
    SECTION( "Threads that register and look up at once" )
    {
        constexpr int32 Count = 300;
        const NToken::SKeyword Keyword = { "key", 9000 };
        REQUIRE( Registry.SetKeywords( &Keyword, 1 ) );
        std::atomic<int32> Registered = 0, Wrong = 0;
        std::vector<std::thread> Threads;
        for ( int32 i = 0; i < 4; ++i )
        {
            Threads.emplace_back( [ & ] {
                for ( int32 j = 0; j < Count; ++j )
                {
                    const std::string Text = 't' + std::to_string( j );
                    Registered += Registry.Register( Text.c_str() ) >= 0;
                    const int32 Token = Registry.Find( Text.c_str() );
                    Wrong += !Registry.IsDynamic( Token ) || Registry.GetText( Token ) != Text.c_str();
                    Wrong += Registry.Find( "KEY" ) != 9000;
                }
            } );
        }
        Threads.emplace_back( [ & ] { // meets what is being registered
            for ( int32 j = 0; Registered < Count; ++j )
            {
                const std::string Text = 't' + std::to_string( j % Count );
                const int32 Token = Registry.Find( Text.c_str() );
                Wrong += Token != NToken::Number && Registry.GetText( Token ) != Text.c_str();
            }
        } );
        std::for_each( Threads.begin(), Threads.end(), []( std::thread& Thread ) { Thread.join(); } );
        REQUIRE( ( Registered == Count && Wrong == 0 && Log.GetRecords().size() == 3 * Count ) );
        REQUIRE( ( Registry.IsDynamic( 9000 + Count ) && !Registry.IsDynamic( 9001 + Count ) ) );
    }
}
