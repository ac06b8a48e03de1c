#include "zan_core/persistence/zan_file.h"

#include "zan_core/zan_assert.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace
{
constexpr int64 MaxSize = std::numeric_limits<int32>::max();

struct SLittleEndian
{
    explicit SLittleEndian( uint32 Value )
    {
        for ( uint8& Byte : Bytes )
        {
            Byte = static_cast<uint8>( Value );
            Value >>= 8;
        }
    }

    uint8 Bytes[ sizeof( uint32 ) ];
};

void CopyBytes( void* pTo, const void* pFrom, uint64 Size )
{
    if ( Size > 0 ) // where there are none, the pointers may be null
    {
        std::memcpy( pTo, pFrom, Size );
    }
}
} // namespace

// --- CFile -------------------------------------------------------------------------------------------------

void CFile::UngetChar( uint8 )
{
    _bUnget = true;
    if ( _LastChar == '\n' )
    {
        --_Line; // ReadChar adds it again
    }
}

void CFile::SetType( uint32 Type ) { _Type = Type; }

bool CFile::Seek( int64 ) { return false; }

void CFile::SeekEnd() {}

bool CFile::Rewind() { return false; }

void* CFile::GetHandle() const { return nullptr; }

uint32 CFile::GetChecksum( int32 ) { return 0; }

bool CFile::ProcessRange( int32 Start, int32 End, FRangeCallback Callback, void* pContext )
{
    constexpr int32 ChunkSize = 0x10000;

    if ( End < 0 )
    {
        End = GetSize();
    }
    const bool bValid = _Mode == OPEN_READ && Start >= 0 && Start <= End && End <= GetSize();
    zan_assert_text( bValid, "_Mode == OPEN_READ && Start >= 0 && Start <= End && End <= (int32)GetSize()" );
    if ( !bValid || !Seek( Start ) )
    {
        return false;
    }

    uint8 Chunk[ ChunkSize ];
    while ( Start < End )
    {
        const int32 Size = std::min( End - Start, ChunkSize );
        if ( !Read( Chunk, static_cast<uint32>( Size ) ) )
        {
            return false;
        }
        Callback( pContext, Chunk, static_cast<uint32>( Size ) );
        Start += Size;
    }
    return true;
}

void* CFile::GetNativeFile() const { return nullptr; }

void CFile::Restart( uint32 Type, uint32 Mode )
{
    _Type = Type;
    _Mode = Mode;
    _LastChar = 0;
    _bUnget = false;
    _Line = 1;
}

// --- CZanChecksum ------------------------------------------------------------------------------------------

// Reducing after every byte is slow. Added up in 64 bits, n bytes b raise the first sum by all b, and the
// second by n times the first sum and by each b as often as a byte is added from it on. To let a vector unit
// do that, the bytes are laid out in rows of LaneCount: Plain[ j ] adds up column j, and Running[ j ] the
// values of Plain[ j ], in which a byte counts once for each row from its own on; in the whole it counts
// LaneCount times as often, but j times less.
void CZanChecksum::Add( const void* pData, uint64 Size )
{
    constexpr uint32 LaneCount = 16;
    constexpr uint64 MaxRowCount = 4096; // then 255 * Rows * ( Rows + 1 ) / 2 fits in a lane

    // What subtracting 65,535 from every sum above it leaves: zero stands only for zero.
    const auto Reduce = []( uint64 Sum ) {
        return Sum == 0 ? 0 : static_cast<uint32>( ( Sum - 1 ) % 65535 + 1 );
    };

    const uint8* pByte = static_cast<const uint8*>( pData );
    while ( Size >= LaneCount )
    {
        const uint64 RowCount = std::min( Size / LaneCount, MaxRowCount );
        uint32 Plain[ LaneCount ] = {};
        uint32 Running[ LaneCount ] = {};
        for ( uint64 Row = 0; Row < RowCount; ++Row )
        {
            for ( uint32 i = 0; i < LaneCount; ++i )
            {
                Plain[ i ] += pByte[ i ];
                Running[ i ] += Plain[ i ];
            }
            pByte += LaneCount;
        }

        uint64 Sum1 = _Sum1;
        uint64 Sum2 = _Sum2 + RowCount * LaneCount * Sum1;
        for ( uint32 i = 0; i < LaneCount; ++i )
        {
            Sum1 += Plain[ i ];
            Sum2 += uint64( LaneCount ) * Running[ i ] - uint64( i ) * Plain[ i ];
        }
        _Sum1 = Reduce( Sum1 );
        _Sum2 = Reduce( Sum2 );
        Size -= RowCount * LaneCount;
    }

    uint64 Sum1 = _Sum1;
    uint64 Sum2 = _Sum2;
    for ( uint64 i = 0; i < Size; ++i )
    {
        Sum1 += pByte[ i ];
        Sum2 += Sum1;
    }
    _Sum1 = Reduce( Sum1 );
    _Sum2 = Reduce( Sum2 );
}

// --- CMemoryFile -------------------------------------------------------------------------------------------

CMemoryFile::CMemoryFile( uint8* pBuffer, int32 Size, uint32 Mode )
    : _pBuffer( pBuffer ), _Size( Mode == OPEN_READ ? std::max( Size, 0 ) : 0 ),
      _Capacity( std::max( Size, 0 ) )
{
    _Type = FILE_TEXT;
    _Mode = Mode;
}

CMemoryFile::CMemoryFile( CZanStringView Content )
    // Without capacity there is no way to a write.
    : _pBuffer( reinterpret_cast<uint8*>( const_cast<char*>( Content.GetData() ) ) ),
      _Size( Content.GetSize() )
{
    _Type = FILE_TEXT;
}

CMemoryFile::CMemoryFile( CZanArray<uint8>& Array, uint32 Type, uint32 Mode )
    : _pArray( &Array ), _Capacity( -1 )
{
    _Type = Type;
    _Mode = Mode;
}

CMemoryFile::CMemoryFile( CMemoryFile&& Other ) noexcept : CMemoryFile() { Exchange( Other ); }

CMemoryFile& CMemoryFile::operator=( CMemoryFile&& Other ) noexcept
{
    Exchange( Other );
    return *this;
}

CMemoryFile::~CMemoryFile()
{
    if ( _bOwnsData )
    {
        delete[] _pBuffer;
        delete _pArray;
    }
}

uint8 CMemoryFile::ReadChar()
{
    if ( _LastChar == '\n' )
    {
        ++_Line;
    }
    if ( _bUnget )
    {
        _bUnget = false;
        return _LastChar;
    }
    const uint8 Byte = _Position < GetSize() ? GetData()[ _Position ] : EndOfData;
    MoveOn( 1 );
    _LastChar = Byte != 0 ? Byte : EndOfData;
    return _LastChar;
}

bool CMemoryFile::Open( uint32 Type, uint32 Mode )
{
    Restart( Type, Mode );
    _bError = false;
    if ( Mode == OPEN_WRITE )
    {
        _Size = 0;
        if ( _pArray != nullptr )
        {
            _pArray->RemoveAll();
        }
    }
    _Position = Mode == OPEN_APPEND ? GetSize() : 0;
    return true;
}

bool CMemoryFile::Read( void* pBuffer, uint32 Size )
{
    if ( int64( _Position ) + Size > GetSize() )
    {
        return false;
    }
    CopyBytes( pBuffer, GetData() + _Position, Size );
    _Position += static_cast<int32>( Size );
    return true;
}

bool CMemoryFile::ReadAll( CZanArray<uint8>& Out )
{
    if ( &Out != _pArray )
    {
        Out.SetSizeNoInit( GetSize() );
        CopyBytes( Out.GetData(), GetData(), static_cast<uint64>( GetSize() ) );
    }
    MoveOn( Out.GetSize() );
    return true;
}

void CMemoryFile::WriteString( CZanStringView Text )
{
    Write( Text.GetData(), static_cast<uint32>( Text.GetSize() ) );
}

void CMemoryFile::WriteUint32( uint32 Value ) { Write( SLittleEndian( Value ).Bytes, sizeof( Value ) ); }

void CMemoryFile::WriteByte( uint8 Value ) { Write( &Value, 1 ); }

void CMemoryFile::Write( const void* pData, uint32 Size )
{
    if ( _Mode == OPEN_READ )
    {
        return;
    }
    const int32 Start = std::min( _Position, GetSize() );
    if ( !MakeRoom( int64( Start ) + Size ) )
    {
        _bError = true;
        zan_assert_text( false, "Out of space, will not write the Data." );
        return;
    }
    uint8* pContent = _pArray != nullptr ? _pArray->GetData() : _pBuffer;
    CopyBytes( pContent + Start, pData, Size );
    _Position = Start + static_cast<int32>( Size );
}

bool CMemoryFile::Seek( int64 Position )
{
    if ( Position < 0 || Position > GetSize() )
    {
        return false;
    }
    _Position = static_cast<int32>( Position );
    return true;
}

bool CMemoryFile::Rewind()
{
    _bError = false;
    _Position = 0;
    return true;
}

uint32 CMemoryFile::GetChecksum( int32 End )
{
    Rewind();
    CZanChecksum Checksum;
    const int32 Size = End == -1 ? GetSize() : std::clamp( End, 0, GetSize() );
    Checksum.Add( GetData(), static_cast<uint64>( Size ) );
    _Position = Size;
    return Checksum.GetValue();
}

bool CMemoryFile::ProcessRange( int32 Start, int32 End, FRangeCallback Callback, void* pContext )
{
    if ( End < 0 )
    {
        End = GetSize();
    }
    const bool bValid = Start >= 0 && Start <= End && End <= GetSize();
    zan_assert_text( bValid, "Start >= 0 && Start <= End && End <= GetSize()" );
    if ( !bValid )
    {
        return false;
    }
    Callback( pContext, GetData() + Start, static_cast<uint32>( End - Start ) );
    _Position = End;
    return true;
}

void CMemoryFile::Exchange( CMemoryFile& Other ) noexcept
{
    std::swap( _Line, Other._Line );
    std::swap( _LastChar, Other._LastChar );
    std::swap( _bUnget, Other._bUnget );
    std::swap( _Type, Other._Type );
    std::swap( _Mode, Other._Mode );
    _Name.Swap( Other._Name );
    std::swap( _pArray, Other._pArray );
    std::swap( _pBuffer, Other._pBuffer );
    std::swap( _Size, Other._Size );
    std::swap( _Position, Other._Position );
    std::swap( _Capacity, Other._Capacity );
    std::swap( _bError, Other._bError );
    std::swap( _bOwnsData, Other._bOwnsData );
}

// Stays at the largest position, which lies behind any content.
void CMemoryFile::MoveOn( int64 Count )
{
    _Position = static_cast<int32>( std::min( _Position + Count, MaxSize ) );
}

// Grows the content to Size, unless it is that large.
bool CMemoryFile::MakeRoom( int64 Size )
{
    if ( Size > ( _pArray != nullptr ? MaxSize : _Capacity ) )
    {
        return false;
    }
    const int32 OldSize = GetSize();
    const int32 NewSize = std::max( static_cast<int32>( Size ), OldSize );
    if ( _pArray == nullptr )
    {
        _Size = NewSize;
        return true;
    }
    if ( NewSize > _pArray->GetCapacity() )
    {
        _pArray->Reserve(
            static_cast<int32>( std::min( std::max( int64( NewSize ), int64( OldSize ) * 2 ), MaxSize ) ) );
    }
    _pArray->SetSizeNoInit( NewSize );
    return true;
}

// --- CChecksumFile -----------------------------------------------------------------------------------------

bool CChecksumFile::Open( uint32 Type, uint32 Mode )
{
    Restart( Type, Mode == OPEN_APPEND ? OPEN_APPEND : OPEN_WRITE );
    if ( Mode != OPEN_APPEND )
    {
        Rewind();
    }
    return Mode != OPEN_READ;
}

void CChecksumFile::WriteString( CZanStringView Text )
{
    _Checksum.Add( Text.GetData(), static_cast<uint64>( Text.GetSize() ) );
}

void CChecksumFile::WriteUint32( uint32 Value )
{
    _Checksum.Add( SLittleEndian( Value ).Bytes, sizeof( Value ) );
}

bool CChecksumFile::Rewind()
{
    _Checksum.Reset();
    return true;
}
