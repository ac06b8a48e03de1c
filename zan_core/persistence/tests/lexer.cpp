#include "zan_core/persistence/lexer.h"

#include "zan_test/include/zan_test_catch.h"

#include <string>

namespace
{
/// All tokens, in brackets if they were in quotes.
std::string ListTokens( CZanStringView Text )
{
    CMemoryFile File( Text );
    CTextLexer Lexer( &File );
    std::string List;
    while ( Lexer.GetTok() )
    {
        const std::string Token = Lexer.Tok().GetString();
        List += Lexer.Tok()._bExplicitString ? "[" + Token + "]," : Token + ",";
    }
    REQUIRE( ( Lexer.Tok()._Type == NToken::None && *Lexer.Tok().GetString() == '\0' ) );
    return List;
}
} // namespace

TEST_CASE( "CTextLexer handles empty file", "[lexer][text]" ) { REQUIRE( ListTokens( "" ) == "" ); }

TEST_CASE( "CTextLexer handles file with single token", "[lexer][text]" )
{
    REQUIRE( ListTokens( "token" ) == "token," );
}

TEST_CASE( "CTextLexer handles file with quoted token in between unquoted tokens", "[lexer][text]" )
{
    REQUIRE( ListTokens( "token1 \"token2\" token3" ) == "token1,[token2],token3," );
}

TEST_CASE( "CTextLexer handles file with escape-quoted token in between unquoted tokens", "[lexer][text]" )
{
    REQUIRE( ListTokens( R"(token1 "left \"middle\" right \\\\ " token3)" ) ==
             R"(token1,[left "middle" right \\ ],token3,)" );
}
