#include "zan_core/persistence/zan_writer.h"

#include "zan_core/persistence/lexer.h"
#include "zan_test/include/zan_test_catch.h"

#include <functional>
#include <limits>
#include <string>

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

auto Int( int32 Value )
{
    return [ = ]( CWriter& Writer ) { Writer.WriteInt( Value ); };
}
auto Uint( uint32 Value )
{
    return [ = ]( CWriter& Writer ) { Writer.WriteUint( Value ); };
}
auto Token( uint32 Number )
{
    return [ = ]( CWriter& Writer ) { Writer.WriteToken( Number ); };
}
auto Indent( int32 Depth )
{
    return [ = ]( CWriter& Writer ) {
        Writer.SetIndent( Depth );
        Writer.WriteIndent();
    };
}
auto Text( const std::string& Characters )
{
    return [ = ]( CWriter& Writer ) {
        SToken Written;
        if ( !Characters.empty() )
        {
            Written.SetText( CZanStringView( Characters.data(), static_cast<int32>( Characters.size() ) ) );
        }
        Writer.WriteTokenText( Written );
    };
}
} // namespace

TEST_CASE( "Tokens have these bytes in text and in binary form", "[persistence]" )
{
    constexpr auto Bytes = []( const char* pText, size_t Size ) { return std::string( pText, Size ); };
    const struct
    {
        std::function<void( CWriter& )> Call;
        std::string Text, Binary;
    } Rows[] = {
        { Int( -1 ), "-1", Bytes( "\x0C\0\xFF\xFF\xFF\xFF", 6 ) },
        { Int( 0x01020304 ), "16909060", Bytes( "\x0C\0\4\3\2\1", 6 ) },
        { Int( std::numeric_limits<int32>::min() ), "-2147483648", Bytes( "\x0C\0\0\0\0\x80", 6 ) },
        { Uint( 1 ), "1", Bytes( "\x14\0\1\0\0\0", 6 ) },
        { Uint( 4294967295 ), "4294967295", Bytes( "\x14\0\xFF\xFF\xFF\xFF", 6 ) },
        { Token( NToken::Assign ), "=", Bytes( "\1\0", 2 ) },
        { Token( NToken::NotEqual ), "!=", Bytes( "\x5C\5", 2 ) },
        { Token( NToken::LineFeed ), "\n", "" },
        { Token( NToken::Tab ), "\t", "" },
        { Token( NToken::Blank ), " ", "" },
        { Token( 357 ), "dummy", Bytes( "\x65\1", 2 ) },
        { Token( 32767 ), "dummy", Bytes( "\xFF\x7F", 2 ) },
        { Token( 0xFFFFFFFF ), "MISSING", Bytes( "\xFF\xFF", 2 ) },
        { Text( "" ), "", "" },
        { Text( std::string( "a\0b", 3 ) ), std::string( "a\0b", 3 ), std::string( "a\0b", 3 ) },
        { Indent( 3 ), "\t\t\t", "" },
        { Indent( 0 ), "", "" },
        { Indent( -3 ), "", "" },
        { Indent( 64 ), std::string( 64, '\t' ), "" },
        { Indent( 70 ), std::string( 70, '\t' ), "" },
        { Indent( 200 ), std::string( 200, '\t' ), "" },
    };
    for ( const auto& Row : Rows )
    {
        CAPTURE( Row.Text );
        CHECK( Write( FILE_TEXT, Row.Call ) == Row.Text );
        CHECK( Write( FILE_BINARY, Row.Call ) == Row.Binary );
    }
}

TEST_CASE( "Quoted texts come back from the lexer", "[persistence]" )
{
    std::string Text = R"(\ "both" ")";
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
    CHECK( Write( FILE_TEXT, []( CWriter& Writer ) { Writer.WriteQuoted( "" ); } ) == "\"\"" );
    CHECK( Write( FILE_BINARY, []( CWriter& Writer ) { Writer.WriteQuoted( "a\"" ); } ) ==
           std::string( "\2\0a\\\"\2\0", 7 ) );
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
    CChecksumFile Checksum;
    Checksum.Open( FILE_TEXT, OPEN_WRITE );
    CWriter Writer( &File ), Sum( &Checksum );
    for ( CWriter* pWriter : { &Writer, &Sum } )
    {
        pWriter->WriteInt( 123456 );
        pWriter->WriteToken( NToken::NotEqual );
    }
    CHECK( Checksum.GetChecksum( -1 ) == File.GetChecksum( -1 ) );
    File.Seek( 1 );
    Writer.WriteInt( -7 );
    CHECK(
        ( File.GetPosition() == 3 && Bytes == CZanArray<uint8>{ '1', '-', '7', '4', '5', '6', '!', '=' } ) );
    File.Open( FILE_TEXT, OPEN_READ );
    File.SeekEnd();
    Writer.WriteInt( 9 );
    CHECK( Bytes.GetSize() == 8 );
}
