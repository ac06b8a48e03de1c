#include "zan_core/persistence/lexer.h"

#include "zan_test/include/zan_test_catch.h"

#include <string>

namespace
{
bool IsNext( CTextLexer& Lexer, const std::string& Text, bool bExplicitString )
{
    return Lexer.GetTok() && Lexer.Tok().GetString() == Text &&
           Lexer.Tok()._bExplicitString == bExplicitString;
}
} // namespace

TEST_CASE( "CTextLexer handles empty file", "[lexer][text]" )
{
    CMemoryFile File( "" );
    CTextLexer Lexer( &File );
    REQUIRE( !Lexer.GetTok() );
    REQUIRE( ( Lexer.Tok()._Type == NToken::None && std::string( Lexer.Tok().GetString() ).empty() ) );
}

TEST_CASE( "CTextLexer handles file with single token", "[lexer][text]" )
{
    CMemoryFile File( "token" );
    CTextLexer Lexer( &File );
    REQUIRE( IsNext( Lexer, "token", false ) );
    REQUIRE( !Lexer.GetTok() );
}

TEST_CASE( "CTextLexer handles file with quoted token in between unquoted tokens", "[lexer][text]" )
{
    CMemoryFile File( "token1 \"token2\" token3" );
    CTextLexer Lexer( &File );
    REQUIRE( IsNext( Lexer, "token1", false ) );
    REQUIRE( IsNext( Lexer, "token2", true ) );
    REQUIRE( IsNext( Lexer, "token3", false ) );
    REQUIRE( !Lexer.GetTok() );
}

TEST_CASE( "CTextLexer handles file with escape-quoted token in between unquoted tokens", "[lexer][text]" )
{
    CMemoryFile File( R"(token1 "left \"middle\" right \\\\ " token3)" );
    CTextLexer Lexer( &File );
    REQUIRE( IsNext( Lexer, "token1", false ) );
    REQUIRE( IsNext( Lexer, R"(left "middle" right \\ )", true ) );
    REQUIRE( IsNext( Lexer, "token3", false ) );
    REQUIRE( !Lexer.GetTok() );
}
