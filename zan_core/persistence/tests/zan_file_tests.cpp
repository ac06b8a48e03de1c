#include "zan_core/persistence/zan_file.h"

#include "zan_test/include/zan_test_assertions.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

using NZanTestUtils::CLogCapture;

namespace
{
using CBytes = std::vector<uint8>;

/// What a file does by itself, on bytes that it can read and nothing else.
class CPlainFile final : public CFile
{
public:
    explicit CPlainFile( CBytes Bytes, bool bSeeks = true ) : _Bytes( std::move( Bytes ) ), _bSeeks( bSeeks )
    {}

    uint8 ReadChar() override { return 0; }
    bool Open( uint32 Type, uint32 Mode ) override { return Restart( Type, Mode ), true; }
    bool Read( void* pBuffer, uint32 Size ) override
    {
        const bool bFits = _bReads && static_cast<uint32>( _Position ) + Size <= _Bytes.size();
        std::copy_n( _Bytes.begin() + _Position, bFits ? Size : 0, static_cast<uint8*>( pBuffer ) );
        _Position += bFits ? static_cast<int32>( Size ) : 0;
        return bFits;
    }
    bool ReadAll( CZanArray<uint8>& ) override { return false; }
    bool IsAvailable() const override { return true; }
    void WriteString( CZanStringView ) override {}
    void WriteUint32( uint32 ) override {}
    void WriteByte( uint8 ) override {}
    void Write( const void*, uint32 ) override {}
    bool IsGood() const override { return true; }
    bool Seek( int64 Position ) override
    {
        _Position = static_cast<int32>( Position );
        return _bSeeks || CFile::Seek( Position );
    }
    bool IsBuffered() const override { return false; }
    int32 GetPosition() const override { return _Position; }
    int32 GetSize() const override { return static_cast<int32>( _Bytes.size() ); }

    CBytes _Bytes;
    bool _bReads = true;

private:
    bool _bSeeks;
    int32 _Position = 0;
};

struct SRanges
{
    static void Take( void* pContext, const void* pData, uint32 Size )
    {
        SRanges& Ranges = *static_cast<SRanges*>( pContext );
        const uint8* pBytes = static_cast<const uint8*>( pData );
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
    uint32 Sum1 = 0, Sum2 = 0;
    for ( const uint8 Byte : Bytes )
    {
        Sum1 += Byte;
        Sum1 -= Sum1 >= 65536 ? 65535 : 0;
        Sum2 += Sum1;
        Sum2 -= Sum2 >= 65536 ? 65535 : 0;
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
        Text += std::to_string( File.GetLine() ) +
                ( Char == 255 ? "$" : std::string( 1, Char == '\n' ? '/' : static_cast<char>( Char ) ) ) +
                ( File.IsGood() ? " " : "! " );
    }
    return Text;
}

/// What a memory file has to hold, after the same operations.
struct SModel
{
    void Write( const CBytes& Bytes )
    {
        const size_t Start = std::min( _Position, _Bytes.size() );
        if ( _Mode == OPEN_READ || Start + Bytes.size() > _Capacity )
        {
            _bError = _bError || _Mode != OPEN_READ;
            return;
        }
        _Bytes.resize( std::max( _Bytes.size(), Start + Bytes.size() ) );
        std::copy( Bytes.begin(), Bytes.end(), _Bytes.begin() + static_cast<std::ptrdiff_t>( Start ) );
        _Position = Start + Bytes.size();
    }

    CBytes _Bytes;
    size_t _Position = 0, _Capacity;
    uint32 _Mode = OPEN_WRITE;
    bool _bError = false;
};
} // namespace

TEST_CASE( "Files in memory read characters and count lines", "[persistence]" )
{
    const struct
    {
        std::string Content, Calls, Expected;
    } Rows[] = {
        { "", "rr", "1$! 1$! " },
        { "a\nb", "rrrr", "1a 1/ 2b 2$! " },
        { "\n\nx", "rrr", "1/ 2/ 3x " },
        { "ab", "r<rr", "1a 1< 1a 1b " },
        { "a\nb", "rr<rr", "1a 1/ 0< 1/ 2b " },      // the line feed goes back before it has counted
        { "a\nb", "rrr<rr", "1a 1/ 2b 2< 2b 2$! " }, // what is behind it does not
        { "a", "rr<rr", "1a 1$! 1<! 1$! 1$! " },
        { std::string( "a\0b", 3 ), "rrr", "1a 1$! 1b " },
        { "a\xFF"
          "b",
            "rrr", "1a 1$! 1b " },
    };
    for ( const auto& Row : Rows )
    {
        CMemoryFile File( CZanStringView( Row.Content.data(), static_cast<int32>( Row.Content.size() ) ) );
        CAPTURE( Row.Content, Row.Calls );
        CHECK( ReadChars( File, Row.Calls ) == Row.Expected );
    }

    CMemoryFile File( "ab" );
    ReadChars( File, "rrrrr" );
    CHECK( File.GetPosition() == 5 );
    CHECK( ( !File.Seek( 3 ) && !File.Seek( -1 ) && File.GetPosition() == 5 && File.Seek( 2 ) ) );
    CHECK( ReadAll( File ) == CBytes{ 'a', 'b' } );
    CHECK( File.GetPosition() == 4 );
    CHECK( ( File.Open( FILE_BINARY, OPEN_READ ) && File.IsGood() && File.GetPosition() == 0 ) );
    CHECK( ( File.GetType() == FILE_BINARY && File.GetLine() == 1 ) );
}

TEST_CASE( "Files in memory agree with a model", "[persistence]" )
{
    CLogCapture Capture; // what does not fit is reported
    for ( const int32 Capacity : { -1, 0, 1, 100 } )
    {
        std::mt19937 Random( 7 );
        CZanArray<uint8> Array;
        CBytes Buffer( 100 );
        CMemoryFile File = Capacity < 0 ? CMemoryFile( Array, FILE_TEXT, OPEN_WRITE )
                                        : CMemoryFile( Buffer.data(), Capacity, OPEN_WRITE );
        SModel Model;
        Model._Capacity = Capacity < 0 ? 1000000 : static_cast<size_t>( Capacity );
        for ( int Step = 0; Step < 20000; ++Step )
        {
            const CBytes Bytes = MakeBytes( Random() % 20, static_cast<uint32>( Step ) );
            const uint32 Size = static_cast<uint32>( Bytes.size() );
            switch ( Random() % 10 )
            {
            case 0:
                File.Write( Bytes.data(), Size );
                Model.Write( Bytes );
                break;
            case 1:
                File.WriteString( CZanStringView(
                    reinterpret_cast<const char*>( Bytes.data() ), static_cast<int32>( Size ) ) );
                Model.Write( Bytes );
                break;
            case 2:
                File.WriteUint32( 0x04030201 );
                Model.Write( { 1, 2, 3, 4 } );
                break;
            case 3:
                File.WriteByte( 9 );
                Model.Write( { 9 } );
                break;
            case 4:
            {
                CBytes Read( Size );
                const bool bFits = Model._Position + Size <= Model._Bytes.size();
                REQUIRE( File.Read( Read.data(), Size ) == bFits );
                const auto Start = Model._Bytes.begin() + static_cast<std::ptrdiff_t>( Model._Position );
                REQUIRE( ( !bFits || std::equal( Read.begin(), Read.end(), Start ) ) );
                Model._Position += bFits ? Size : 0;
                break;
            }
            case 5:
            {
                const size_t Position = Random() % ( Model._Bytes.size() + 3 );
                const bool bThere = Position <= Model._Bytes.size();
                REQUIRE( File.Seek( static_cast<int64>( Position ) ) == bThere );
                Model._Position = bThere ? Position : Model._Position;
                break;
            }
            case 6:
                File.SeekEnd();
                Model._Position = Model._Bytes.size();
                break;
            case 7:
                File.ReadChar();
                ++Model._Position;
                break;
            case 8:
                REQUIRE( File.Rewind() );
                Model._Position = 0;
                Model._bError = false;
                break;
            default:
                Model._Mode = static_cast<uint32>( Random() % 3 );
                Model._Mode = Random() % 10 != 0 && Model._Mode == OPEN_WRITE ? OPEN_APPEND : Model._Mode;
                REQUIRE( File.Open( FILE_TEXT, Model._Mode ) );
                Model._bError = false;
                Model._Bytes.resize( Model._Mode == OPEN_WRITE ? 0 : Model._Bytes.size() );
                Model._Position = Model._Mode == OPEN_APPEND ? Model._Bytes.size() : 0;
            }
            REQUIRE( static_cast<size_t>( File.GetPosition() ) == Model._Position );
            REQUIRE( static_cast<size_t>( File.GetSize() ) == Model._Bytes.size() );
            REQUIRE( std::equal( Model._Bytes.begin(), Model._Bytes.end(), File.GetData() ) );
            REQUIRE( File.IsGood() == ( !Model._bError && File.GetLastChar() < 255 ) );
        }
    }
}

TEST_CASE( "Files in memory refuse what does not fit", "[persistence]" )
{
    CLogCapture Capture;
    uint8 Buffer[ 8 ] = {};
    CMemoryFile File( Buffer, 4, OPEN_WRITE );
    File.Write( "abcd", 4 );
    CHECK( File.IsGood() );
    File.Seek( 1 );
    ASSERT_FAILS_WITH( File.Write( "1234", 4 ), "Out of space, will not write the Data." );
    CHECK( ( !File.IsGood() && File.GetPosition() == 1 && std::memcmp( Buffer, "abcd\0", 5 ) == 0 ) );
    CHECK( ( File.Rewind() && File.IsGood() ) );

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
    CHECK( ReadAll( ArrayOwner ) == ReadAll( Other ) );
}

TEST_CASE( "Checksums are those of the plain sum, in any cut", "[persistence]" )
{
    std::mt19937 Random( 3 );
    std::vector<size_t> Sizes = { 255, 4095, 65535, 65536, 65537, 131072, 200001 };
    for ( size_t Size = 0; Size < 50; ++Size )
    {
        Sizes.push_back( Size );
    }
    for ( const size_t Size : Sizes )
    {
        for ( const CBytes& Bytes : { MakeBytes( Size, 5 ), CBytes( Size, 255 ), CBytes( Size, 0 ) } )
        {
            CAPTURE( Size );
            const uint32 Expected = CalcPlainChecksum( Bytes );
            CBytes Copy = Bytes;
            CMemoryFile Memory( Copy.data(), static_cast<int32>( Size ), OPEN_READ );
            Memory.SeekEnd();
            CHECK( Memory.GetChecksum( -1 ) == Expected );
            CHECK( Memory.GetPosition() == static_cast<int32>( Size ) );
            const size_t Part = Random() % ( Size + 1 );
            const CBytes Head( Bytes.begin(), Bytes.begin() + static_cast<std::ptrdiff_t>( Part ) );
            CHECK( Memory.GetChecksum( static_cast<int32>( Part ) ) == CalcPlainChecksum( Head ) );
            CHECK( Memory.GetPosition() == static_cast<int32>( Part ) );

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
    CHECK( File.GetChecksum( -1 ) == 0 );
    File.WriteByte( 1 );
    CHECK( File.GetChecksum( -1 ) == 0x00010001 );
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
    const struct
    {
        int32 Start, End;
        std::vector<uint32> Sizes;
    } Rows[] = {
        { 0, -1, { Piece, Piece, 1 } },
        { 1, -1, { Piece, Piece } },
        { 5, 5 + Piece, { Piece } },
        { 5, 6 + Piece, { Piece, 1 } },
        { 5, 4 + Piece, { Piece - 1 } },
        { 7, 7, {} },
        { Total, -1, {} },
    };
    for ( const auto& [ Start, End, Sizes ] : Rows )
    {
        CAPTURE( Start, End );
        const int32 Stop = End < 0 ? Total : End;
        const CBytes Expected( Bytes.begin() + Start, Bytes.begin() + Stop );
        CPlainFile Plain( Bytes );
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
    CPlainFile Plain( CBytes( 10 ) ), Unseekable( CBytes( 10 ), false );
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
