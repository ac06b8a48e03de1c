#pragma once

#include "zan_core/containers/zan_array.h"
#include "zan_core/text/zan_string.h"
#include "zan_core/text/zan_string_view.h"
#include "zan_core/zan_types.h"

enum EFileMode : uint32
{
    OPEN_READ = 0,
    OPEN_WRITE = 1, ///< From the start; what was there is dropped.
    OPEN_APPEND = 2 ///< Behind what is there.
};

/// The form in which a CWriter writes to the file.
enum EFileType : uint32
{
    FILE_BINARY = 0,
    FILE_TEXT = 1
};

/// A stream of bytes that counts lines and takes one character back, for lexers to stand on. Derive to read
/// from and write to something else. A file may be used as constructed; Open rewinds it and sets its mode.
/// Failures are told by results, never by exceptions. One thread at a time.
class CFile
{
public:
    /// Sees a part of a file. The data is valid during the call.
    using FRangeCallback = void ( * )( void* pContext, const void* pData, uint32 Size );

    /// What ReadChar gives at the end of the data.
    static constexpr uint8 EndOfData = 255;

    CFile() = default;
    virtual ~CFile() = default;
    CFile( const CFile& ) = delete;
    CFile& operator=( const CFile& ) = delete;

    /// The next character, or EndOfData. Bytes 0 and 255 read as EndOfData too, although more may follow:
    /// text ends there. The line counts when the character behind its line feed is asked for.
    virtual uint8 ReadChar() = 0;

    /// Makes the next ReadChar give the character once more that the last one gave. Which one is passed does
    /// not matter.
    virtual void UngetChar( uint8 Char );

    virtual bool Open( uint32 Type, uint32 Mode ) = 0;

    /// Copies Size bytes from the position on and moves it, or copies nothing and gives false when there are
    /// not so many left. Leaves line and last character alone.
    virtual bool Read( void* pBuffer, uint32 Size ) = 0;

    /// Replaces Out with the whole content, wherever the position is, and moves the position by its size.
    virtual bool ReadAll( CZanArray<uint8>& Out ) = 0;

    virtual bool IsAvailable() const = 0;

    // Do nothing in OPEN_READ. What does not fit is not written at all, and IsGood is false from then on.

    virtual void WriteString( CZanStringView Text ) = 0;
    virtual void WriteUint32( uint32 Value ) = 0; ///< Low byte first.
    virtual void WriteByte( uint8 Value ) = 0;
    virtual void Write( const void* pData, uint32 Size ) = 0;

    /// False behind an error, and once ReadChar has met the end of the data.
    virtual bool IsGood() const = 0;

    virtual void SetType( uint32 Type );

    /// False when there is no such position; the size is one. Leaves line and last character alone.
    virtual bool Seek( int64 Position );
    virtual void SeekEnd();
    virtual bool Rewind();
    virtual bool IsBuffered() const = 0;
    virtual int32 GetPosition() const = 0;
    virtual int32 GetSize() const = 0; ///< In bytes.
    virtual void* GetHandle() const;

    /// The checksum of the bytes up to End, or of all for -1. See CZanChecksum.
    virtual uint32 GetChecksum( int32 End );

    /// Hands the bytes from Start up to, not including, End to Callback, in order and in pieces, and moves
    /// the position behind them. A negative End means the size. Requires OPEN_READ and a range within the
    /// content, and reports otherwise by assertion and gives false.
    virtual bool ProcessRange( int32 Start, int32 End, FRangeCallback Callback, void* pContext );

    virtual void* GetNativeFile() const;

    int32 GetLine() const { return _Line; } ///< From 1.
    void SetLine( int32 Line ) { _Line = Line; }
    uint8 GetLastChar() const { return _LastChar; }
    uint32 GetType() const { return _Type; }
    uint32 GetMode() const { return _Mode; }

    /// The name that stands in messages. Empty for memory that has none.
    const CString& GetName() const { return _Name; }
    void SetName( CZanStringView Name ) { _Name = Name; }

protected:
    /// Stores both and starts over with the line.
    void Restart( uint32 Type, uint32 Mode );

    int32 _Line = 1;
    uint8 _LastChar = 0;
    bool _bUnget = false;
    uint32 _Type = FILE_BINARY;
    uint32 _Mode = OPEN_READ;
    CString _Name;
};

/// A running checksum of bytes: two sums after Fletcher ("An Arithmetic Checksum for Serial Transmissions",
/// 1982) with modulus 65,535. A sum that is not zero never becomes zero again; it stands at 65,535 instead.
class CZanChecksum
{
public:
    /// Folds the bytes in. In any cut they give the same.
    void Add( const void* pData, uint64 Size );

    void Reset() { *this = CZanChecksum(); }
    uint32 GetValue() const { return _Sum1 << 16 | _Sum2; }

private:
    uint32 _Sum1 = 0; // of the bytes
    uint32 _Sum2 = 0; // of the values that the first sum took
};

/// A file in memory: in an array, which grows with what is written, or in a buffer of a fixed size. Neither
/// is owned unless OwnData says so, and both have to outlive the file. It can be moved, which exchanges all.
///
///     CZanArray<uint8> Bytes;
///     CMemoryFile File( Bytes, FILE_TEXT, OPEN_WRITE );
///     File.WriteString( "width = 3" );
///     File.Open( FILE_TEXT, OPEN_READ );
class CMemoryFile final : public CFile
{
public:
    /// On a buffer of Size bytes, as FILE_TEXT. With OPEN_READ all of it is content, otherwise none.
    CMemoryFile( uint8* pBuffer, int32 Size, uint32 Mode );

    /// On Content, as FILE_TEXT, to be read only: whatever the mode, no write fits.
    explicit CMemoryFile( CZanStringView Content );

    /// On Array. Mode OPEN_WRITE drops nothing before Open is called.
    CMemoryFile( CZanArray<uint8>& Array, uint32 Type, uint32 Mode );

    /// Other gets what this file had: nothing, if it is a new one.
    CMemoryFile( CMemoryFile&& Other ) noexcept;
    CMemoryFile& operator=( CMemoryFile&& Other ) noexcept;
    ~CMemoryFile() override;

    /// Makes the destructor delete the data: the buffer by delete[], the array by delete.
    void OwnData() { _bOwnsData = true; }

    uint8 ReadChar() override;
    bool Open( uint32 Type, uint32 Mode ) override;
    bool Read( void* pBuffer, uint32 Size ) override;
    bool ReadAll( CZanArray<uint8>& Out ) override;
    bool IsAvailable() const override { return true; }
    void WriteString( CZanStringView Text ) override;
    void WriteUint32( uint32 Value ) override;
    void WriteByte( uint8 Value ) override;

    /// Overwrites from the position on and appends the rest; behind the end of the content all is appended.
    /// The position is behind the data afterwards. What a fixed buffer has no room for is reported by
    /// assertion, and so is content beyond 2^31 - 1 bytes. The data may not lie in the array.
    void Write( const void* pData, uint32 Size ) override;

    bool IsGood() const override { return !_bError && _LastChar < EndOfData; }
    bool Seek( int64 Position ) override;
    void SeekEnd() override { _Position = GetSize(); }

    /// Clears the error, too. Always true.
    bool Rewind() override;
    bool IsBuffered() const override { return false; }
    int32 GetPosition() const override { return _Position; }
    int32 GetSize() const override { return _pArray != nullptr ? _pArray->GetSize() : _Size; }
    uint32 GetChecksum( int32 End ) override;

    /// Calls Callback once, in any mode, and for an empty range too.
    bool ProcessRange( int32 Start, int32 End, FRangeCallback Callback, void* pContext ) override;

    /// The first byte of the content. Any write may move it.
    const uint8* GetData() const { return _pArray != nullptr ? _pArray->GetData() : _pBuffer; }

private:
    friend class CTextLexer; // scans the bytes without a call for each
    friend class CWriter;    // appends pieces of a few bytes without one

    CMemoryFile() = default;
    void Exchange( CMemoryFile& Other ) noexcept;
    void MoveOn( int64 Count );
    bool MakeRoom( int64 Size );
    char* TryExtend( int32 Size );
    void GiveBack( const char* pEnd );

    CZanArray<uint8>* _pArray = nullptr; // the content, unless null
    uint8* _pBuffer = nullptr;           // the content otherwise
    int32 _Size = 0;                     // of the content in the buffer
    int32 _Position = 0;                 // ReadChar moves it past the end
    int32 _Capacity = 0;                 // of the buffer, -1 for an array
    bool _bError = false;                // a write did not fit
    bool _bOwnsData = false;
};

/// Moves behind Size bytes at the end of an array that has the room, which most writing is to, and gives the
/// first of them, to be written at once. Null, and nothing happens, anywhere else.
inline char* CMemoryFile::TryExtend( int32 Size )
{
    if ( _pArray == nullptr || _Mode == OPEN_READ || _Position != _pArray->GetSize() ||
         _pArray->GetCapacity() - _Position < Size )
    {
        return nullptr;
    }
    char* const pEnd = reinterpret_cast<char*>( _pArray->GetData() ) + _Position;
    _Position += Size;
    _pArray->SetSizeNoInit( _Position );
    return pEnd;
}

/// Takes back what TryExtend has extended beyond pEnd.
inline void CMemoryFile::GiveBack( const char* pEnd )
{
    _Position = static_cast<int32>( pEnd - reinterpret_cast<const char*>( _pArray->GetData() ) );
    _pArray->SetSizeNoInit( _Position );
}

/// Keeps nothing of what is written but its checksum, and cannot be read. It has to be opened for writing.
class CChecksumFile final : public CFile
{
public:
    CChecksumFile() { _Name = "checksum"; }

    uint8 ReadChar() override { return 0; }

    /// OPEN_APPEND goes on with the sum. OPEN_READ gives false, and opens for writing.
    bool Open( uint32 Type, uint32 Mode ) override;
    bool Read( void*, uint32 ) override { return false; }
    bool ReadAll( CZanArray<uint8>& ) override { return false; }
    bool IsAvailable() const override { return false; }
    void WriteString( CZanStringView Text ) override;
    void WriteUint32( uint32 Value ) override;
    void WriteByte( uint8 Value ) override { _Checksum.Add( &Value, 1 ); }
    void Write( const void* pData, uint32 Size ) override { _Checksum.Add( pData, Size ); }
    bool IsGood() const override { return _Mode == OPEN_WRITE || _Mode == OPEN_APPEND; }
    bool Rewind() override;
    bool IsBuffered() const override { return false; }
    int32 GetPosition() const override { return 0; }
    int32 GetSize() const override { return sizeof( uint32 ); } ///< Of the checksum.
    uint32 GetChecksum( int32 ) override { return _Checksum.GetValue(); }

private:
    CZanChecksum _Checksum;
};
