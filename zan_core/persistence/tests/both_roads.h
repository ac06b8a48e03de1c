#pragma once

#include "zan_core/persistence/lexer.h"

#include <string>
#include <vector>

namespace NZanTestUtils
{
/// A file over a text that does what the rules of CFile say in the plainest way.
class CPlainFile : public CFile
{
public:
    explicit CPlainFile( const std::string& Content, bool bError ) : _Content( Content ), _bError( bError )
    {
        _Type = FILE_TEXT;
    }

    uint8 ReadChar() override
    {
        _Line += _LastChar == '\n' ? 1 : 0;
        if ( !_bUnget )
        {
            const size_t Position = static_cast<size_t>( _Position++ );
            _LastChar = Position < _Content.size() ? static_cast<uint8>( _Content[ Position ] ) : EndOfData;
            _LastChar = _LastChar == 0 ? EndOfData : _LastChar;
        }
        _bUnget = false;
        return _LastChar;
    }
    bool Read( void* pBuffer, uint32 Size ) override
    {
        if ( _Position + int64( Size ) > GetSize() )
        {
            return false;
        }
        _Content.copy( static_cast<char*>( pBuffer ), Size, static_cast<size_t>( _Position ) );
        _Position += static_cast<int32>( Size );
        return true;
    }
    bool Seek( int64 Position ) override
    {
        const bool bThere = Position >= 0 && Position <= GetSize();
        _Position = bThere ? static_cast<int32>( Position ) : _Position;
        return bThere;
    }
    bool IsGood() const override { return !_bError && _LastChar < EndOfData; }
    int32 GetPosition() const override { return _Position; }
    int32 GetSize() const override { return static_cast<int32>( _Content.size() ); }

    bool Open( uint32, uint32 ) override { return false; }
    bool ReadAll( CZanArray<uint8>& ) override { return false; }
    bool IsAvailable() const override { return true; }
    void WriteString( CZanStringView ) override {}
    void WriteUint32( uint32 ) override {}
    void WriteByte( uint8 ) override {}
    void Write( const void*, uint32 ) override {}
    bool IsBuffered() const override { return false; }

private:
    const std::string _Content;
    const bool _bError;
    int32 _Position = 0;
};

/// The same text in a file that the lexer looks into and in one that it reads by virtual calls, each with a
/// lexer. Every step is done on both and gives whether they came out the same in all that can be seen.
class CBothRoads
{
public:
    /// With bError, in files that have an error.
    explicit CBothRoads( const std::string& Content, bool bError = false )
        : _Content( Content.begin(), Content.end() ),
          _Memory( _Content.data(), static_cast<int32>( _Content.size() ), bError ? OPEN_WRITE : OPEN_READ ),
          _Plain( Content, bError )
    {
        if ( bError )
        {
            _Memory.WriteString( CZanStringView( Content.data(), _Plain.GetSize() ) );
            _Memory.WriteByte( 0 ); // does not fit
            _Memory.Seek( 0 );
        }
    }

    bool GetTok()
    {
        _bFound = _Fast.GetTok();
        return _bFound == _Slow.GetTok() && IsSame();
    }
    bool PeekTok()
    {
        _Fast.PeekTok();
        _Slow.PeekTok();
        return IsSame();
    }
    bool ReadUntil( char Stop ) { return _Fast.ReadUntil( Stop ) == _Slow.ReadUntil( Stop ) && IsSame(); }

    // What others may do to a file between two tokens.

    bool Seek( int32 Position )
    {
        _Memory.Seek( Position );
        _Plain.Seek( Position );
        return IsSame();
    }
    bool Unget()
    {
        _Memory.UngetChar( 0 );
        _Plain.UngetChar( 0 );
        return IsSame();
    }

    bool WasFound() const { return _bFound; }
    bool IsAtEnd() const { return _Memory.GetPosition() > _Memory.GetSize(); }
    const CTextLexer& GetLexer() const { return _Fast; }

private:
    bool IsSame() const;

    std::vector<uint8> _Content; // on the heap and of exactly this size, where a sanitizer guards its end
    CMemoryFile _Memory;
    CPlainFile _Plain;
    CTextLexer _Fast{ &_Memory };
    CTextLexer _Slow{ &_Plain };
    bool _bFound = false;
};

inline bool CBothRoads::IsSame() const
{
    const SToken& Fast = _Fast.Tok();
    const SToken& Slow = _Slow.Tok();
    const auto* pFastRow = _Fast.GetRowData().GetValue<CTextLexer::SRowData>();
    const auto* pSlowRow = _Slow.GetRowData().GetValue<CTextLexer::SRowData>();
    return Fast._Type == Slow._Type && Fast._bExplicitString == Slow._bExplicitString &&
           Fast._Text == Slow._Text && Fast._Value == Slow._Value &&
           _Memory.GetPosition() == _Plain.GetPosition() && _Memory.GetLine() == _Plain.GetLine() &&
           _Memory.GetLastChar() == _Plain.GetLastChar() && _Memory.IsGood() == _Plain.IsGood() &&
           _Fast.GetBytesRead() == _Slow.GetBytesRead() &&
           _Fast.GetBytesOutsideTokens() == _Slow.GetBytesOutsideTokens() &&
           ( pFastRow != nullptr ) == ( pSlowRow != nullptr ) &&
           ( pFastRow == nullptr || pFastRow->_Text == pSlowRow->_Text );
}
} // namespace NZanTestUtils
