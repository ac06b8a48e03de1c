#include "zan_core/persistence/zan_writer.h"

#include "zan_core/persistence/lexer.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"

#include <functional>
#include <limits>
#include <string>

using namespace std::string_literals;

namespace
{
std::string Write( EFileType Type, const std::function<void( CWriter& )>& Call )
{
    CZanArray<uint8> Bytes;
    CMemoryFile File( Bytes, Type, OPEN_WRITE );
    CWriter Writer( &File );
    Call( Writer );
    return std::string( Bytes.GetIterStart(), Bytes.GetIterEnd() );
}

auto Call( auto pMethod, auto... Args )
{
    return [ = ]( CWriter& Writer ) { ( Writer.*pMethod )( Args... ); };
}
} // namespace

TEST_CASE( "Tokens have these bytes in text and in binary form", "[persistence]" )
{
    const auto Int = []( int32 Value ) { return Call( &CWriter::WriteInt, Value ); };
    const auto Uint = []( uint32 Value ) { return Call( &CWriter::WriteUint, Value ); };
    const auto Token = []( uint32 Number ) { return Call( &CWriter::WriteToken, Number ); };
    SToken Empty, WithZero;
    WithZero.SetText( CZanStringView( "a\0b", 3 ) );
    const struct
    {
        std::function<void( CWriter& )> Write;
        std::string Text, Binary;
    } Rows[] = { { Int( -1 ), "-1", "\x0C\0\xFF\xFF\xFF\xFF"s },
        { Int( 0x01020304 ), "16909060", "\x0C\0\4\3\2\1"s },
        { Int( std::numeric_limits<int32>::min() ), "-2147483648", "\x0C\0\0\0\0\x80"s },
        { Uint( 1 ), "1", "\x14\0\1\0\0\0"s },
        { Uint( 4294967295 ), "4294967295", "\x14\0\xFF\xFF\xFF\xFF"s },
        { Token( NToken::Assign ), "=", "\1\0"s }, { Token( NToken::OpenBlock ), "{", "\3\0"s },
        { Token( NToken::NotEqual ), "!=", "\x5C\5" }, { Token( NToken::LineFeed ), "\n", "" },
        { Token( NToken::Tab ), "\t", "" }, { Token( NToken::Blank ), " ", "" },
        { Token( 357 ), "dummy", "\x65\1" }, { Token( 32767 ), "dummy", "\xFF\x7F" },
        { Token( 0xFFFFFFFF ), "MISSING", "\xFF\xFF" }, { Call( &CWriter::WriteTokenText, Empty ), "", "" },
        { Call( &CWriter::WriteTokenText, WithZero ), "a\0b"s, "a\0b"s } };
    for ( const auto& Row : Rows )
    {
        CAPTURE( Row.Text );
        CHECK( Write( FILE_TEXT, Row.Write ) == Row.Text );
        CHECK( Write( FILE_BINARY, Row.Write ) == Row.Binary );
    }
    for ( const int32 Depth : { -3, 0, 3, 64, 70, 200 } )
    {
        const auto Indent = [ = ]( CWriter& Writer ) { Writer.SetIndent( Depth ), Writer.WriteIndent(); };
        CHECK(
            Write( FILE_TEXT, Indent ) == std::string( Depth > 0 ? static_cast<size_t>( Depth ) : 0, '\t' ) );
        CHECK( Write( FILE_BINARY, Indent ).empty() );
    }
}

TEST_CASE( "Quoted texts come back from the lexer", "[persistence]" )
{
    std::string Text = R"(\\ "both" ")";
    for ( int Round = 0; Round < 12; ++Round, Text += Text + "a{\n#" )
    {
        for ( const int32 Capacity : { 0, 100, 1 << 20 } )
        {
            CZanArray<uint8> Bytes;
            Bytes.Reserve( Capacity );
            CMemoryFile File( Bytes, FILE_TEXT, OPEN_WRITE );
            CWriter( &File ).WriteQuoted( CZanStringView( Text.data(), static_cast<int32>( Text.size() ) ) );
            File.Open( FILE_TEXT, OPEN_READ );
            CTextLexer Lexer( &File );
            REQUIRE( ( Lexer.GetTok() && Lexer.Tok()._bExplicitString && Lexer.Tok().GetString() == Text ) );
            REQUIRE( !Lexer.GetTok() );
        }
    }
    CHECK( Write( FILE_TEXT, Call( &CWriter::WriteQuoted, "" ) ) == "\"\"" );
    CHECK( Write( FILE_BINARY, Call( &CWriter::WriteQuoted, "a\"" ) ) == "\2\0a\\\"\2\0"s );
}

TEST_CASE( "Statements are lines, be there room for them at hand or not", "[persistence]" )
{
    for ( const int32 Depth : { -1, 0, 3, 64, 65 } )
    {
        const std::string Tabs( Depth > 0 ? static_cast<size_t>( Depth ) : 0, '\t' );
        const std::string Expected = Tabs + "count = -2147483648\n" + Tabs +
                                     "part = -92233720368547.75808\n" + Tabs +
                                     "a_key_of_20_letters_ = \"a \\\"\\\\\"\n";
        for ( int32 Capacity = 0; Capacity < 300; ++Capacity )
        {
            CZanArray<uint8> Bytes;
            Bytes.Reserve( Capacity );
            CMemoryFile File( Bytes, FILE_TEXT, OPEN_WRITE );
            CWriter Writer( &File );
            Writer.SetIndent( Depth );
            Writer.WriteStatement( "count", std::numeric_limits<int32>::min() );
            Writer.WriteStatement( "part", std::numeric_limits<CFixedPoint>::lowest() );
            Writer.WriteStatement( "a_key_of_20_letters_", "a \"\\" );
            REQUIRE( std::string( Bytes.GetIterStart(), Bytes.GetIterEnd() ) == Expected );
        }
    }
#if defined( ZAN_CHECK_PRECONDITIONS )
    const NZanTestUtils::CLogCapture Log;
    Write( FILE_BINARY, []( CWriter& Writer ) { Writer.WriteStatement( "count", 1 ); } );
    REQUIRE(
        Log.GetOnlyMessage() == "Assertion failed: A statement in words for a file of the binary form\n" );
#endif
}

TEST_CASE( "A writer keeps its form, and may own its file", "[persistence]" )
{
    CZanArray<uint8> Bytes;
    {
        CMemoryFile* pFile = new CMemoryFile( Bytes, FILE_BINARY, OPEN_WRITE );
        CWriter Writer( pFile );
        Writer.OwnFile(); // a leak is the sanitizer's to find
        pFile->SetType( FILE_TEXT );
        Writer.WriteToken( NToken::OpenBlock );
        CHECK( ( Writer.IsBinary() && Writer.IsProducingOutput() && Writer.GetIndent() == 0 ) );
    }
    CHECK( Bytes == CZanArray<uint8>{ 3, 0 } );
}

TEST_CASE( "A writer writes where its file stands, if that takes it", "[persistence]" )
{
    CZanArray<uint8> Bytes;
    Bytes.Reserve( 100 );
    CMemoryFile File( Bytes, FILE_TEXT, OPEN_WRITE );
    CWriter Writer( &File );
    Writer.WriteInt( 123456 );
    Writer.WriteToken( NToken::NotEqual );
    File.Seek( 1 );
    Writer.WriteInt( -7 );
    CHECK( (
        File.GetPosition() == 3 && std::string( Bytes.GetIterStart(), Bytes.GetIterEnd() ) == "1-7456!=" ) );
    File.Open( FILE_TEXT, OPEN_READ );
    File.SeekEnd();
    Writer.WriteInt( 9 );
    CHECK( Bytes.GetSize() == 8 );

    CChecksumFile Checksum; // no file in memory
    Checksum.Open( FILE_TEXT, OPEN_WRITE );
    CWriter( &Checksum ).WriteInt( 17 );
    CHECK( Checksum.GetChecksum( -1 ) == ( ( '1' + '7' ) << 16 | ( '1' + '1' + '7' ) ) );
}
