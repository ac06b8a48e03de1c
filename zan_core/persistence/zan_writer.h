#pragma once

#include "zan_core/numerics/zan_fixed_point.h"
#include "zan_core/persistence/zan_file.h"
#include "zan_core/persistence/zan_token.h"
#include "zan_core/text/zan_string_view.h"
#include "zan_core/zan_types.h"

class CPersistent;

/// Writes the token stream to a file, in the form of the file's type. The counterpart of CLexer. The file has
/// to be open for writing and to outlive the writer, unless it is owned. One thread at a time.
class CWriter
{
public:
    explicit CWriter( CFile* pFile );
    virtual ~CWriter();
    CWriter( const CWriter& ) = delete;
    CWriter& operator=( const CWriter& ) = delete;

    /// Tabs up to the depth, in text form.
    void WriteIndent();

    /// Layout is left out of the binary form.
    void WriteToken( uint32 Token );
    void WriteTokenText( const SToken& Token );

    /// Text in quotes, which the lexer gives back as it is, unless it holds a byte 0 or 255: these end a
    /// file.
    void WriteQuoted( CZanStringView Text );
    void WriteInt( int32 Value );
    void WriteUint( uint32 Value );

    // A line "Key = value" for CZanPersistentReader::TryRead to take. Requires text form, and a key that is a
    // word. Text comes in quotes.

    void WriteStatement( CZanStringView Key, int32 Value );
    void WriteStatement( CZanStringView Key, CFixedPoint Value );
    void WriteStatement( CZanStringView Key, double Value ) = delete; // no number of the format
    void WriteStatement( CZanStringView Key, CZanStringView Text );
    void WriteStatement( CZanStringView Key, CPersistent& Block );

    CFile& AccessFile() { return *_pFile; }
    bool IsBinary() const { return _bBinary; }

    /// The depth of blocks. Negative means flat output: no braces and line ends around blocks.
    int32 GetIndent() const { return _Indent; }
    void SetIndent( int32 Indent ) { _Indent = Indent; }

    /// Makes the destructor delete the file.
    void OwnFile() { _bOwnsFile = true; }

    /// False when only a checksum of the output is wanted.
    bool IsProducingOutput() const { return _bProduceOutput; }
    void SetProduceOutput( bool bProduceOutput ) { _bProduceOutput = bProduceOutput; }

private:
    char* TryExtend( int32 Size );
    void Write( CZanStringView Bytes );
    template <int32 Size>
    void WriteBytes( const char ( &Bytes )[ Size ] );
    void WriteSlowly( CZanStringView Bytes );
    template <typename TPut>
    bool TryWriteLine( CZanStringView Key, int64 MaxSize, const TPut& Put );
    template <typename T>
    void WriteNumberLine( CZanStringView Key, T Value );
    void WriteKey( CZanStringView Key );
    void WriteUint16( uint32 Value );
    char* PutQuote( char* pTarget ) const;
    void WriteTextToken( uint32 Token );
    void WriteLongText( uint32 Token );
    void WriteBinaryToken( uint32 Token );
    void WriteRegistered( uint32 Token );
    template <typename T>
    void WriteNumber( uint32 Token, T Value );

    CFile* _pFile;
    CMemoryFile* _pMemoryFile; // the file if it is one, which most are; else null
    int32 _Indent = 0;
    bool _bBinary; // settled at construction
    bool _bOwnsFile = false;
    bool _bProduceOutput = true;
};

inline void CWriter::WriteToken( uint32 Token )
{
    if ( !_bBinary )
    {
        WriteTextToken( Token );
    }
    else if ( Token != NToken::LineFeed && Token != NToken::Tab && Token != NToken::Blank )
    {
        WriteBinaryToken( Token );
    }
}
