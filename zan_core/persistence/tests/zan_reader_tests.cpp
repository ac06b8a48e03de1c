#include "zan_core/numerics/zan_fixed_point.h"
#include "zan_core/persistence/zan_persistent_reader.h"
#include "zan_core/persistence/zan_writer.h"
#include "zan_core/text/zan_charconv.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"

#include <clocale>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

using NZanTestUtils::CLogCapture;

namespace
{
struct SInput
{
    explicit SInput( std::string Input ) : Text( std::move( Input ) ) { File.SetName( "f" ); }

    const std::string Text;
    CMemoryFile File{ CZanStringView( Text.data(), static_cast<int32>( Text.size() ) ) };
    CTextLexer Lexer{ &File };
    CZanPersistentReader Reader{ &Lexer };
};

std::string ToText( const SToken& Token )
{
    const std::string Text( Token.GetString() );
    return Token._bExplicitString ? '"' + Text + '"' : Text;
}

/// Every statement as "key operator value:type", and the braces that end blocks.
std::string ReadStatements( SInput& Input )
{
    std::string Text;
    for ( Input.Lexer.PeekTok(); Input.Lexer.Tok()._Type != NToken::EndOfInput; Input.Lexer.PeekTok() )
    {
        if ( Input.Lexer.Tok()._Type == NToken::CloseBlock )
        {
            Input.Reader.NextToken();
            Text += "} ";
            continue;
        }
        Input.Reader.ReadStatement();
        const SToken& Value = Input.Reader.GetValue();
        Text += ToText( Input.Reader.GetKey() ) + " " + ToText( Input.Reader.GetOperator() ) + " ";
        Text += ToText( Value ) + ":" + std::to_string( Value._Type ) + " ";
    }
    return Text;
}

void SkipByRecursion( SInput& Input )
{
    const auto& Type = Input.Lexer.Tok()._Type;
    if ( Type != NToken::OpenBlock )
    {
        return;
    }
    for ( ;; SkipByRecursion( Input ) )
    {
        Input.Lexer.PeekTok();
        const bool bEnds = Type == NToken::CloseBlock || Type == NToken::EndOfInput;
        Input.Reader.NextToken();
        if ( bEnds )
        {
            return;
        }
    }
}

/// A tree that reads and writes itself by the documented pattern.
class CNode final : public CPersistent
{
public:
    void Write( CWriter& Writer ) override
    {
        Writer.WriteStatement( "number", _Number );
        Writer.WriteStatement( "part", _Part );
        Writer.WriteStatement( "name", _Name );
        for ( CNode& Child : _Children )
        {
            Writer.WriteStatement( "child", Child );
        }
    }

    void Read( CZanPersistentReader& Reader ) override
    {
        while ( Reader.ReadStatementOfBlock() )
        {
            if ( CNode Child; Reader.TryRead( "child", Child ) )
            {
                _Children.push_back( std::move( Child ) );
            }
            else if ( !Reader.TryRead( "number", _Number ) && !Reader.TryRead( "part", _Part ) &&
                      !Reader.TryRead( "name", _Name ) )
            {
                OnUnexpectedToken( Reader );
            }
        }
    }

    int32 _Number = 0;
    CFixedPoint _Part = 0.5_fixed;
    CString _Name;
    std::vector<CNode> _Children;
};

/// As a block.
std::string Write( CNode& Node, int32 Indent = 0 )
{
    CZanArray<uint8> Bytes;
    CMemoryFile File( Bytes, FILE_TEXT, OPEN_WRITE );
    CWriter Writer( &File );
    Writer.SetIndent( Indent );
    Node.WriteBlock( Writer );
    CHECK( Writer.GetIndent() == Indent );
    return std::string( Bytes.GetIterStart(), Bytes.GetIterEnd() );
}

CNode MakeTree( int32 Depth, int32 Number )
{
    CNode Node;
    Node._Number = Number;
    Node._Name = CString( "node } # " + std::to_string( Number ) );
    for ( int32 i = 0; i < Depth; ++i )
    {
        Node._Children.push_back( MakeTree( Depth - 1, -10 * Number + i ) );
    }
    return Node;
}

struct SHandler : CReadErrorHandler
{
    bool Handle( CZanPersistentReader& ) override { return ++_Calls % 2 == 0; }
    int _Calls = 0;
};
} // namespace

TEST_CASE( "Statements are read as they stand", "[persistence]" )
{
    const std::string At = "  file: f line: 1\n", Failed = "Failed to parse advanced statement at" + At;
    const std::string BadName =
        "]. Variable names must start with a letter and only contain letters, numbers, or under scores." + At;
    const std::string BadChar = "' in advanced statement at" + At;
    const struct
    {
        std::string Text, Statements, Messages = {};
    } Rows[] = { { "", "" }, { "a = b", "a = b:15 " },
        { "a=1 b<2 c>3 d<=-4 e>=.5 f==\"x y\" g!=yes",
            "a = 1:12 b < 2:12 c > 3:12 d <= -4:12 e >= .5:12 f == \"x y\":15 g != yes:15 " },
        { "x = { a = } b = 1", "x = {:3 a = }:4 } b = 1:12 " }, { "a b = 1", "a  :0 =  :0 " },
        { "a ! b", "a  :0 b  :0 " }, { "a", "a  :0 " }, { "a =", "a = :19 " }, { "@a = 1", "  :0 " },
        // Variables.
        { "@size = 10 width = @size", "width = 10:12 " },
        { "@a = @b @c = @a @b = 2 x = @c y = @b", "x = @b:15 y = 2:12 " },
        { "@a = \"q\" x = @a y = \"@a\"", "x = \"q\":15 y = \"@a\":15 " },
        { "\"@x\" = 3 a = @x", "a = 3:12 " }, { "b = @unknown c = @", "b = @unknown:15 c = @:15 " },
        { "@ = 5 c = @", "c = 5:12 " }, { "x = { @in = 1 } y = @in", "x = {:3 }  :0 =  :0 " },
        { "x = { @in = 1 k = 2 } y = @in", "x = {:3 k = 2:12 } y = 1:12 " }, { "@a 1 b = @a", "b = @a:15 " },
        { "@size = 10 @size = 11 w = @size", "=  :0 w = 10:12 ",
            "Variable name size is already taken." + At },
        { "@1x = 2", "=  :0 ", "Invalid variable name [1x" + BadName },
        { "@a-b = 2", "=  :0 ", "Invalid variable name [a-b" + BadName },
        { "@a_1Z = 2 w = @a_1Z", "w = 2:12 " },
        // Expressions.
        { "w = @[(1+2)*3] x = 1", "w = 9:13 x = 1:12 " },
        { "w = @[2 + 3 * 4] x = @[16777217]", "w = 14:13 x = 16777216:13 " },
        { "@a = 2 b = @[a*a] @c = @[a/4] d = @c e = @[c*c]", "b = 4:13 d = 0.5:13 e = 0.25:13 " },
        { "@s = text b = @[s+1]", "b = 1:13 ", "Variable s is not a number." + At },
        { "b = @[1+x_9]", "b = 0:12 ", "unknown variable [x_9]." + At + Failed },
        { "b = @[1,2]", "b = 12:13 ", "Invalid character '," + BadChar },
        { "b = @[_1]", "b = 1:13 ", "Invalid character '_" + BadChar },
        { "b = @[1\n2]", "b = 12:13 ", "Invalid character '\n' in advanced statement at  file: f line: 2\n" },
        { "b = @[] c = @[ \t]", "b = @[]:15 c = 0:12 ", Failed }, { "b = @[1+]", "b = 0:12 ", Failed },
        { "b = @[1]+2] c = 1", "b = 3:13 c = 1:12 ", "Invalid character ']" + BadChar },
        { "b = @[1+2", "b = 3:13 ", "Missing ']' of advanced statement at" + At },
        { "b = @[(1", "b = 0:12 ", "Missing ']' of advanced statement at" + At + Failed },
        { "@n = 1" + std::string( 9999, '1' ) + " b = @[n/n] c = 1", "b = 0:12 c = 1:12 ", Failed } };
    for ( const auto& [ Text, Statements, Messages ] : Rows )
    {
        CLogCapture Capture;
        SInput Input( Text );
        CAPTURE( Text );
        CHECK( ReadStatements( Input ) == Statements );
        CHECK( Capture.GetMessages() == Messages );
        CHECK( ( !Input.Reader.HasError() && Input.Reader.GetErrors().IsEmpty() ) );
    }
}

TEST_CASE( "NextToken puts in what a token stands for", "[persistence]" )
{
    SInput Input( "@v = 3 a = 1 @v @[v+1] \"@v\" @w" );
    Input.Reader.ReadStatement();
    std::string Text;
    while ( Input.Reader.NextToken() )
    {
        Text += ToText( Input.Lexer.Tok() ) + ":" + std::to_string( Input.Lexer.Tok()._Type ) + " ";
    }
    CHECK( Text == "3:12 4:13 \"@v\":15 @w:15 " );
    CHECK( SToken( std::numeric_limits<CFixedPoint>::lowest() ).GetView() == "-92233720368547.75808" );
}

TEST_CASE( "SkipBlock does what recursion does", "[persistence]" )
{
    std::mt19937 Random( 4 );
    const char* const Pieces[] = { "{", "}", " } ", " a ", "=", " @v ", " @w ", " @[1] ", "\"}\"", "#}\n",
        "@[1" };
    CLogCapture Capture;
    for ( int Round = 0; Round < 3000; ++Round )
    {
        std::string Text = "@v = { @w = } a = {";
        for ( auto Count = Random() % 30; Count > 0; --Count )
        {
            Text += Pieces[ Random() % std::size( Pieces ) ];
        }
        SInput Counted( Text ), Recursive( Text );
        Counted.Reader.ReadStatement();
        Counted.Reader.SkipBlock();
        Recursive.Reader.ReadStatement();
        SkipByRecursion( Recursive );
        CAPTURE( Text );
        REQUIRE( Counted.File.GetPosition() == Recursive.File.GetPosition() );
        REQUIRE( Counted.Lexer.GetBytesRead() == Recursive.Lexer.GetBytesRead() );
        REQUIRE( Counted.Lexer.Tok()._Type == Recursive.Lexer.Tok()._Type );
        REQUIRE( ReadStatements( Counted ) == ReadStatements( Recursive ) );
    }
    for ( const size_t EndCount : { 1000001u, 1000000u } ) // closed, and cut off
    {
        SInput Deep( "a = {" + std::string( 1000000, '{' ) + std::string( EndCount, '}' ) + " c = 1" );
        Deep.Reader.ReadStatement();
        Deep.Reader.SkipBlock();
        CHECK( ReadStatements( Deep ) == ( EndCount > 1000000 ? "c = 1:12 " : "" ) );
    }
}

TEST_CASE( "Errors are collected and logged at once", "[persistence]" )
{
    CLogCapture Capture;
    SInput Input( "\n\nkey = { a = {\n}\n}\n\nother = x last = { }" );
    SHandler Handler;

    Input.Reader.ReadStatement();
    Input.Reader.ReportError( "Unexpected token" );
    Input.Reader.ReadStatement();
    CHECK( Input.Reader.GetKey().GetView() == "other" );
    CHECK( !Input.Reader.ReportMalformedToken() );
    Input.Reader.SetErrorHandler( &Handler );
    Input.Reader.ReadStatement();
    CHECK( ( !Input.Reader.ReportMalformed( "Wrong" ) && Handler._bInvoked && !Handler._bHandled ) );
    CHECK( Input.Lexer.Tok()._Type == NToken::OpenBlock ); // nothing is skipped
    CHECK( ( Input.Reader.ReportMalformed( "Wrong" ) && Handler._bHandled && Handler._Calls == 2 ) );
    CHECK( ( Input.Reader.GetErrors().GetSize() == 3 && Capture.GetRecords().empty() ) );

    Input.Reader.LogErrors();
    CHECK( Capture.GetOnlyMessage() ==
           "Error: \"Unexpected token: key, near line: 3\nMalformed token: x, near line: 7\nWrong: {, near "
           "line: 7\" in file: \"f\" near line: 7\n" );
    CHECK( Capture.GetRecords()[ 0 ].Category == LogCategoryError );
    CHECK( ( Input.Reader.GetErrors().IsEmpty() && Input.Reader.HasError() ) );
    Input.Reader.ClearHasError();
    CHECK( !Input.Reader.HasError() );
}

TEST_CASE( "The location is a text of the thread", "[persistence]" )
{
    SInput Input( "" ), Other( "" );
    const CZanStringView Text = Input.Reader.GetLocationText();
    std::thread( [ & ] {
        Other.File.SetLine( 2147483647 );
        CHECK( Other.Reader.GetLocationText() == " file: f line: 2147483647" );
    } ).join();
    CHECK( Text == " file: f line: 1" );

    Input.File.SetName( std::string( 5000, 'n' ).c_str() );
    CHECK( Input.Reader.GetLocationText() == ( " file: " + std::string( 2040, 'n' ) ).c_str() );

    Other.File.SetLine( -1 ); // the interned name stays where it is
    const CZanStringView Name = Other.Reader.GetLocationText();
    for ( int i = 0; i < 100; ++i )
    {
        Other.File.SetName( std::to_string( i ).c_str() );
        CHECK( Other.Reader.GetLocationText() == std::to_string( i ).c_str() );
    }
    Other.File.SetName( "f" );
    CHECK( ( Name == "f" && Other.Reader.GetLocationText().GetData() == Name.GetData() ) );
}

TEST_CASE( "Numbers do not depend on the locale", "[persistence]" )
{
    for ( const char* pName : { "de_DE.UTF-8", "de_DE", "fr_FR.UTF-8" } ) // where they are installed
    {
        std::setlocale( LC_ALL, pName );
        SInput Input( "a = @[1.5*3]" );
        CHECK( ReadStatements( Input ) == "a = 4.5:13 " );
    }
    std::setlocale( LC_ALL, "C" );
}

TEST_CASE( "Objects write themselves and read themselves back", "[persistence]" )
{
    CNode Tree = MakeTree( 4, 1 ), Back, Small = MakeTree( 1, 3 );
    SInput Input( Write( Tree ) + "rest = 1" );
    Input.Reader.NextToken();
    Back.Read( Input.Reader );
    CHECK( ( Write( Back ) == Write( Tree ) && !Input.Reader.HasError() ) );
    CHECK( ReadStatements( Input ) == "rest = 1:12 " );

    CHECK( Write( Small ) == "{\n\tnumber = 3\n\tpart = 0.5\n\tname = \"node } # 3\"\n\tchild = {\n"
                             "\t\tnumber = -30\n\t\tpart = 0.5\n\t\tname = \"node } # -30\"\n\t}\n}\n" );
    Small._Children.clear();
    CHECK( Write( Small, -2 ) == "number = 3\npart = 0.5\nname = \"node } # 3\"\n" );

    CLogCapture Capture; // what they do not take is reported, object by object
    SInput Odd( "number = x \nwhat = { a = { } } child = {\nodd = 1 number = 7 } name = \"n\"" );
    CNode Taken;
    Taken.Read( Odd.Reader );
    REQUIRE( Taken._Children.size() == 1 );
    CHECK( ( Taken._Children[ 0 ]._Number == 7 && Taken._Name == "n" && Odd.Reader.HasError() ) );
    CHECK( Capture.GetMessages() ==
           "Error: \"Malformed token: x, near line: 1\" in file: \"f\" near line: 1\n"
           "Error: \"Unexpected token: what, near line: 2\" in file: \"f\" near line: 2\n"
           "Error: \"Unexpected token: odd, near line: 3\" in file: \"f\" near line: 3\n" );
}

TEST_CASE( "TryRead takes a value of its kind and reports another one", "[persistence]" )
{
    const struct
    {
        std::string Text, Node, Reported = {};
    } Rows[] = { { "number = -7 name = \"{\" part = @[1/8] child = { name = x }", "-7 0.125 { 1" },
        { "name = \"\" name = 5x child = { child = { } }", "0 0.5 5x 1" },
        { "number = 1.5 part = 2", "0 2  0", "Malformed token: 1.5" },
        { "number = 99999999999 part = 2", "0 2  0", "Malformed token: 99999999999" },
        { "number = { part = 3 x = { } } part = 2", "0 2  0", "Malformed token: {" },
        { "name = { name = y } part = 2", "0 2  0", "Malformed token: {" },
        { "child = { name = } number = 1 } part = 2", "1 0.5  1", "Malformed token: }" },
        { "child = 5 part = 2", "0 2  1", "Malformed token: 5" },
        { "part = 2 name =", "0 2  0", "Malformed token: " },
        { "number < 4 part = 2", "0 2  0", "Unexpected token: number" },
        { "number 4 part = 2", "0 2  0", "Unexpected token: number" },
        { "Number = 4 part = 2", "0 2  0", "Unexpected token: Number" } };
    for ( const auto& [ Text, Node, Reported ] : Rows )
    {
        CLogCapture Capture;
        SInput Input( Text );
        CNode Taken;
        Taken.Read( Input.Reader );
        CAPTURE( Text );
        CHECK( std::to_string( Taken._Number ) + ' ' + SToken( Taken._Part ).GetString() + ' ' +
                   Taken._Name.GetString() + ' ' + std::to_string( Taken._Children.size() ) ==
               Node );
        CHECK( Capture.GetMessages().find( Reported.empty() ? "" : '"' + Reported + ", near" ) !=
               std::string::npos );
        CHECK( Capture.GetRecords().size() == ( Reported.empty() ? 0 : 1 ) );
    }
}
