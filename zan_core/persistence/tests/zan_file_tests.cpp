#include "zan_core/persistence/zan_file.h"

#include "zan_core/persistence/tests/both_roads.h"
#include "zan_test/include/zan_test_assertions.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"

#include <algorithm>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using NZanTestUtils::CLogCapture;
using NZanTestUtils::CPlainFile;
using namespace std::string_literals;

namespace
{
using CBytes = std::vector<uint8>;

/// A file that has only what all files have, and may refuse that.
struct CRefusingFile : CPlainFile
{
    explicit CRefusingFile( const CBytes& Bytes ) : CPlainFile( { Bytes.begin(), Bytes.end() }, false ) {}

    bool Open( uint32 Type, uint32 Mode ) override { return Restart( Type, Mode ), true; }
    bool Read( void* pBuffer, uint32 Size ) override { return _bReads && CPlainFile::Read( pBuffer, Size ); }
    bool Seek( int64 Position ) override
    {
        return _bSeeks ? CPlainFile::Seek( Position ) : CFile::Seek( Position );
    }

    bool _bReads = true, _bSeeks = true;
};

struct SRanges
{
    static void Take( void* pContext, const void* pData, uint32 Size )
    {
        SRanges& Ranges = *static_cast<SRanges*>( pContext );
        const uint8* const pBytes = static_cast<const uint8*>( pData );
        Ranges._Bytes.insert( Ranges._Bytes.end(), pBytes, pBytes + Size );
        Ranges._Sizes.push_back( Size );
    }

    CBytes _Bytes;
    std::vector<uint32> _Sizes;
};

CBytes MakeBytes( size_t Size, uint32 Seed )
{
    std::mt19937 Random( Seed );
    CBytes Bytes( Size );
    std::generate( Bytes.begin(), Bytes.end(), [ & ] { return static_cast<uint8>( Random() ); } );
    return Bytes;
}

uint32 CalcPlainChecksum( const CBytes& Bytes )
{
    const auto Reduce = []( uint32 Sum ) { return Sum < 65536 ? Sum : Sum - 65535; };
    uint32 Sum1 = 0, Sum2 = 0;
    for ( const uint8 Byte : Bytes )
    {
        Sum1 = Reduce( Sum1 + Byte );
        Sum2 = Reduce( Sum2 + Sum1 );
    }
    return Sum1 << 16 | Sum2;
}

CBytes ReadAll( CFile& File )
{
    CZanArray<uint8> Out;
    REQUIRE( File.ReadAll( Out ) );
    return CBytes( Out.GetIterStart(), Out.GetIterEnd() );
}

/// Reads characters, '<' for a pushed back one, and gives the line, the character and whether it is good
/// after each.
std::string ReadChars( CFile& File, const std::string& Calls )
{
    std::string Text;
    for ( const char Call : Calls )
    {
        const uint8 Char = Call == '<' ? ( File.UngetChar( 'x' ), uint8( '<' ) ) : File.ReadChar();
        Text += std::to_string( File.GetLine() );
        Text += Char == 255 ? '$' : Char == '\n' ? '/' : static_cast<char>( Char );
        Text += File.IsGood() ? " " : "! ";
    }
    return Text;
}
} // namespace

TEST_CASE( "Files in memory read characters and count lines", "[persistence]" )
{
    const struct
    {
        std::string Content, Calls, Expected;
    } Rows[] = { { "", "rr", "1$! 1$! " }, { "\n\nx", "rrr", "1/ 2/ 3x " }, { "ab", "r<rr", "1a 1< 1a 1b " },
        { "a\nb", "rr<rr", "1a 1/ 0< 1/ 2b " },      // the line feed goes back before it has counted
        { "a\nb", "rrr<rr", "1a 1/ 2b 2< 2b 2$! " }, // what is behind it does not
        { "a", "rr<rr", "1a 1$! 1<! 1$! 1$! " }, { "a\0\xFF\x62"s, "rrrr", "1a 1$! 1$! 1b " } };
    for ( const auto& Row : Rows )
    {
        CMemoryFile File( CZanStringView( Row.Content.data(), static_cast<int32>( Row.Content.size() ) ) );
        CAPTURE( Row.Content, Row.Calls );
        CHECK( ReadChars( File, Row.Calls ) == Row.Expected );
    }

    CMemoryFile File( "ab" );
    ReadChars( File, "rrrrr" );
    CHECK( ( !File.Seek( -1 ) && ReadAll( File ) == CBytes{ 'a', 'b' } && File.GetPosition() == 7 ) );
    CHECK( ( File.Open( FILE_BINARY, OPEN_READ ) && File.GetType() == FILE_BINARY && File.GetLine() == 1 ) );
}

TEST_CASE( "Files in memory agree with a model", "[persistence]" )
{
    CLogCapture Capture; // what does not fit is reported
    for ( const int32 Capacity : { -1, 0, 1, 100 } )
    {
        std::mt19937 Random( 7 );
        CZanArray<uint8> Array;
        CBytes Buffer( 100 ), Model;
        CMemoryFile File = Capacity < 0 ? CMemoryFile( Array, FILE_TEXT, OPEN_WRITE )
                                        : CMemoryFile( Buffer.data(), Capacity, OPEN_WRITE );
        size_t Position = 0;
        uint32 Mode = OPEN_WRITE;
        bool bError = false;
        for ( uint32 Step = 0; Step < 20000; ++Step )
        {
            CBytes Bytes = MakeBytes( Random() % 20, Step );
            const uint32 Size = static_cast<uint32>( Bytes.size() );
            const auto Kind = Random() % 10;
            if ( Kind < 4 )
            {
                const char* const pText = reinterpret_cast<const char*>( Bytes.data() );
                Kind == 0   ? File.Write( Bytes.data(), Size )
                : Kind == 1 ? File.WriteString( CZanStringView( pText, static_cast<int32>( Size ) ) )
                : Kind == 2 ? File.WriteUint32( 0x04030201 )
                            : File.WriteByte( 9 );
                Bytes = Kind < 2 ? Bytes : Kind == 2 ? CBytes{ 1, 2, 3, 4 } : CBytes{ 9 };
                const size_t Start = std::min( Position, Model.size() ), End = Start + Bytes.size();
                const bool bFits = Capacity < 0 || End <= static_cast<size_t>( Capacity );
                bError = bError || ( Mode != OPEN_READ && !bFits );
                if ( Mode != OPEN_READ && bFits )
                {
                    Model.resize( std::max( Model.size(), End ) );
                    std::copy( Bytes.begin(), Bytes.end(), Model.data() + Start );
                    Position = End;
                }
            }
            else if ( Kind == 4 )
            {
                const bool bFits = Position + Size <= Model.size();
                REQUIRE( File.Read( Bytes.data(), Size ) == bFits );
                REQUIRE( ( !bFits || std::equal( Bytes.begin(), Bytes.end(), Model.data() + Position ) ) );
                Position += bFits ? Size : 0;
            }
            else if ( Kind == 5 )
            {
                const size_t Target = Random() % ( Model.size() + 3 );
                REQUIRE( File.Seek( static_cast<int64>( Target ) ) == ( Target <= Model.size() ) );
                Position = Target <= Model.size() ? Target : Position;
            }
            else if ( Kind == 6 )
            {
                File.SeekEnd();
                Position = Model.size();
            }
            else if ( Kind == 7 )
            {
                File.ReadChar();
                ++Position;
            }
            else if ( Kind == 8 )
            {
                REQUIRE( File.Rewind() );
                Position = 0;
                bError = false;
            }
            else
            {
                Mode = static_cast<uint32>( Random() % 3 );
                Mode = Random() % 10 != 0 && Mode == OPEN_WRITE ? OPEN_APPEND : Mode;
                REQUIRE( File.Open( FILE_TEXT, Mode ) );
                bError = false;
                Model.resize( Mode == OPEN_WRITE ? 0 : Model.size() );
                Position = Mode == OPEN_APPEND ? Model.size() : 0;
            }
            REQUIRE( static_cast<size_t>( File.GetPosition() ) == Position );
            REQUIRE( Model == CBytes( File.GetData(), File.GetData() + File.GetSize() ) );
            REQUIRE( File.IsGood() == ( !bError && File.GetLastChar() < 255 ) );
        }
    }
}

TEST_CASE( "Files in memory refuse what does not fit", "[persistence]" )
{
    CLogCapture Capture;
    uint8 Buffer[ 8 ] = {};
    CMemoryFile File( Buffer, 4, OPEN_WRITE );
    ASSERT_FAILS_WITH( File.Write( "12345", 5 ), "Out of space, will not write the Data." );
    CHECK( ( !File.IsGood() && File.GetPosition() == 0 && Buffer[ 0 ] == 0 && Buffer[ 4 ] == 0 ) );

    CMemoryFile Constant( "text" );
    Constant.Write( "X", 1 );
    CHECK( ( Constant.IsGood() && Constant.GetPosition() == 0 ) ); // is not open for it
    Constant.Open( FILE_TEXT, OPEN_WRITE );
    ASSERT_FAILS_WITH( Constant.Write( "X", 1 ), "Out of space, will not write the Data." );
    CHECK( ( !Constant.IsGood() && Constant.GetSize() == 0 ) );
}

TEST_CASE( "Files in memory grow their array by doubling, move, and own data", "[persistence]" )
{
    CZanArray<uint8> Array;
    Array.SetSize( 10 );
    Array.ShrinkToFit();
    CMemoryFile File( Array, FILE_TEXT, OPEN_APPEND );
    CHECK( ( File.GetPosition() == 0 && File.GetSize() == 10 ) ); // as constructed, not opened
    File.SetName( "array" );
    File.SeekEnd();
    File.WriteByte( 1 );
    CHECK( Array.GetCapacity() == 20 );
    File.Write( MakeBytes( 100, 1 ).data(), 100 );
    CHECK( Array.GetCapacity() == 111 );

    CMemoryFile Other( new uint8[ 3 ]{ 'a', '\n', 'c' }, 3, OPEN_READ );
    Other.OwnData();
    ReadChars( Other, "rrr" );
    Other = std::move( File ); // exchanges, and so the buffer goes with the one that moved
    CHECK( ( Other.GetName() == "array" && Other.GetSize() == 111 && Other.GetPosition() == 111 ) );
    CHECK( ( Other.GetMode() == OPEN_APPEND && Other.GetLine() == 1 ) );
    CHECK( ( File.GetName().IsEmpty() && File.GetSize() == 3 && File.GetLine() == 2 ) );

    const CMemoryFile Moved( std::move( File ) );
    CHECK( ( Moved.GetSize() == 3 && Moved.GetLastChar() == 'c' && File.GetSize() == 0 ) );

    CMemoryFile ArrayOwner( *new CZanArray<uint8>( Array ), FILE_BINARY, OPEN_READ );
    ArrayOwner.OwnData(); // a leak, or a double deletion, is the sanitizer's to find
    CHECK( ( Other.ReadAll( Array ) && Array.GetSize() == 111 && Other.GetPosition() == 222 ) ); // its own
    CHECK( ReadAll( ArrayOwner ) == ReadAll( Other ) );
}

TEST_CASE( "Checksums are those of the plain sum, in any cut", "[persistence]" )
{
    std::mt19937 Random( 3 );
    for ( uint32 i = 0; i < 57; ++i )
    {
        constexpr size_t LargeSizes[] = { 255, 4095, 65535, 65536, 65537, 131072, 200001 };
        const size_t Size = i < 50 ? i : LargeSizes[ i - 50 ];
        for ( const CBytes& Bytes : { MakeBytes( Size, 5 ), CBytes( Size, 255 ), CBytes( Size, 0 ) } )
        {
            CAPTURE( Size );
            const uint32 Expected = CalcPlainChecksum( Bytes );
            CBytes Copy = Bytes;
            CMemoryFile Memory( Copy.data(), static_cast<int32>( Size ), OPEN_READ );
            Memory.SeekEnd();
            CHECK( ( Memory.GetChecksum( -1 ) == Expected && Memory.GetPosition() == Memory.GetSize() ) );
            const int32 Part = static_cast<int32>( Random() % ( Size + 1 ) );
            CHECK(
                Memory.GetChecksum( Part ) == CalcPlainChecksum( { Bytes.begin(), Bytes.begin() + Part } ) );
            CHECK( Memory.GetPosition() == Part );

            CChecksumFile File;
            for ( size_t Start = 0; Start < Size; )
            {
                const size_t Cut = std::min<size_t>( Size - Start, Random() % ( Size / 3 + 20 ) );
                File.Write( Bytes.data() + Start, static_cast<uint32>( Cut ) );
                Start += Cut;
            }
            CHECK( File.GetChecksum( 17 ) == Expected );
        }
    }
}

TEST_CASE( "Checksum files keep nothing but the sum", "[persistence]" )
{
    CChecksumFile File;
    CHECK( ( !File.IsGood() && File.GetSize() == 4 && File.GetName() == "checksum" ) );
    CHECK( ( !File.Open( FILE_BINARY, OPEN_READ ) && File.GetMode() == OPEN_WRITE && File.IsGood() ) );
    File.WriteByte( 1 );
    File.WriteByte( 1 );
    CHECK( File.GetChecksum( -1 ) == 0x00020003 );
    CHECK( ( File.Open( FILE_TEXT, OPEN_APPEND ) && File.GetMode() == OPEN_APPEND ) );
    CHECK( File.GetChecksum( -1 ) == 0x00020003 );
    CHECK( ( File.Open( FILE_TEXT, OPEN_WRITE ) && File.GetChecksum( -1 ) == 0 ) );
    File.WriteUint32( 0xA1B2C3D4 );
    File.WriteString( "ab" );
    CHECK( File.GetChecksum( -1 ) == CalcPlainChecksum( { 0xD4, 0xC3, 0xB2, 0xA1, 'a', 'b' } ) );

    CZanArray<uint8> Out;
    CHECK( ( !File.Read( &File, 0 ) && !File.ReadAll( Out ) && !File.Seek( 0 ) && File.ReadChar() == 0 ) );
    CHECK( ( File.Rewind() && File.GetChecksum( -1 ) == 0 && File.GetPosition() == 0 ) );
}

TEST_CASE( "ProcessRange hands out the range, whole or in pieces", "[persistence]" )
{
    constexpr int32 Piece = 65536;
    const CBytes Bytes = MakeBytes( 2 * Piece + 1, 2 );
    const int32 Total = static_cast<int32>( Bytes.size() );
    const std::tuple<int32, int32, std::vector<uint32>> Rows[] = { { 0, -1, { Piece, Piece, 1 } },
        { 1, -1, { Piece, Piece } }, { 5, 5 + Piece, { Piece } }, { 5, 6 + Piece, { Piece, 1 } },
        { 7, 7, {} }, { Total, -1, {} } };
    for ( const auto& [ Start, End, Sizes ] : Rows )
    {
        CAPTURE( Start, End );
        const int32 Stop = End < 0 ? Total : End;
        const CBytes Expected( Bytes.begin() + Start, Bytes.begin() + Stop );
        CRefusingFile Plain( Bytes );
        SRanges Pieces, Whole;
        CHECK( Plain.ProcessRange( Start, End, SRanges::Take, &Pieces ) );
        CHECK( ( Pieces._Bytes == Expected && Pieces._Sizes == Sizes ) );

        CBytes Copy = Bytes;
        CMemoryFile Memory( Copy.data(), Total, OPEN_READ );
        Memory.Open( FILE_TEXT, OPEN_APPEND ); // any mode will do
        CHECK( Memory.ProcessRange( Start, End, SRanges::Take, &Whole ) );
        CHECK( ( Whole._Bytes == Expected && Whole._Sizes.size() == 1 && Memory.GetPosition() == Stop ) );
    }
}

TEST_CASE( "ProcessRange refuses what is no range", "[persistence]" )
{
    CLogCapture Capture;
    CRefusingFile Plain( CBytes( 10 ) ), Unseekable( CBytes( 10 ) );
    Unseekable._bSeeks = false;
    CMemoryFile Memory( "0123456789" );
    SRanges Ranges;
    const auto Process = [ & ]( CFile& File, int32 Start, int32 End ) {
        return File.ProcessRange( Start, End, SRanges::Take, &Ranges );
    };
    for ( const auto& [ Start, End ] : { std::pair( -1, 5 ), std::pair( 6, 5 ), std::pair( 0, 11 ) } )
    {
        ASSERT_FAILS_WITH( CHECK( !Process( Plain, Start, End ) ),
            "_Mode == OPEN_READ && Start >= 0 && Start <= End && End <= (int32)GetSize()" );
        ASSERT_FAILS_WITH(
            CHECK( !Process( Memory, Start, End ) ), "Start >= 0 && Start <= End && End <= GetSize()" );
    }
    CHECK( !Process( Unseekable, 0, 5 ) );
    Plain._bReads = false;
    CHECK( !Process( Plain, 0, 5 ) );
    Plain.Open( FILE_TEXT, OPEN_WRITE );
    ASSERT_FAILS( CHECK( !Process( Plain, 0, 5 ) ) );
    CHECK( Ranges._Sizes.empty() );
}
