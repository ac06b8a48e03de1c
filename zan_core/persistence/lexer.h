#pragma once

#include "zan_core/holders/zan_multi_any.h"
#include "zan_core/persistence/zan_file.h"
#include "zan_core/persistence/zan_token.h"
#include "zan_core/text/zan_string.h"
#include "zan_core/zan_types.h"

/// Cuts a file into tokens. One thread at a time. The file has to outlive the lexer, unless it is owned.
class CLexer
{
public:
    /// Room in place for a text.
    using CRowData = CZanMultiAny<sizeof( CString ), true>;

    virtual ~CLexer();
    CLexer( const CLexer& ) = delete;
    CLexer& operator=( const CLexer& ) = delete;

    /// Fetches the next token. False at the end of the input, where the current token is empty.
    virtual bool GetTok() = 0;

    /// The characters up to Stop or the end of the input, as they stand there. Stop itself is read too.
    virtual CString ReadUntil( char Stop ) = 0;

    virtual bool IsBinary() const = 0;

    /// Fetches the next token without using it up: the next GetTok gives it again. At the end of the input
    /// the current token's number is EndOfInput.
    void PeekTok();

    const SToken& Tok() const { return _Tok; }
    SToken& AccessTok() { return _Tok; }
    CFile& AccessFile() { return *_pFile; }
    const CFile& GetFile() const { return *_pFile; }

    /// What goes with the current token, by its type.
    const CRowData& GetRowData() const { return _RowData; }

    /// Makes the destructor delete the file.
    void OwnFile() { _bOwnsFile = true; }

    uint64 GetBytesRead() const { return _BytesRead; } ///< By GetTok.

    /// Of these, what is in no token's text.
    uint64 GetBytesOutsideTokens() const { return _BytesOutsideTokens; }

protected:
    explicit CLexer( CFile* pFile ) : _pFile( pFile ) {}

    CFile* _pFile;
    SToken _Tok;
    CRowData _RowData;
    bool _bPeeked = false;    // the current token is the next one
    bool _PeekResult = false; // what GetTok will give for it
    bool _bOwnsFile = false;
    uint64 _BytesRead = 0;
    uint64 _BytesOutsideTokens = 0;
};

/// The lexer of the text form: words, numbers, quoted strings with \" and \\, operators, blocks, and comments
/// from '#' or ';' to the end of the line. Any input gives tokens. A CMemoryFile is read many times faster
/// than other files, with the same results. Quoted strings need a file that can seek and are empty otherwise.
///
///     CMemoryFile File( "width = 3 # cells" );
///     CTextLexer Lexer( &File );
///     while ( Lexer.GetTok() )
///     {
///         Use( Lexer.Tok().GetString() );  // "width", "=", "3"
///     }
class CTextLexer final : public CLexer
{
public:
    /// What stood ahead of the current token: whitespace and comments.
    struct SRowData
    {
        CString _Text;
    };

    explicit CTextLexer( CFile* pFile ) : CLexer( pFile ) {}

    bool GetTok() override;
    CString ReadUntil( char Stop ) override;
    bool IsBinary() const override { return false; }

    /// Whether lexers keep row data. Off at first, for all of the process; any thread.
    static void SetCollectRowData( bool bCollect );

private:
    using CText = decltype( SToken::_Text );
    static constexpr int32 MaxTextSize = 0x7ffffffe; // a longer word is cut

    struct SWord;
    class CFileSource;
    class CMemorySource;

    bool GetTokOfAnyFile();
    template <typename TSource, typename TFile>
    bool GetTok( TFile& File );
    template <typename TSource, typename TFile>
    bool ReadToken( TFile& File );
    template <typename TSource, typename TFile>
    void ReadQuoted( TFile& File );
    template <typename TSource>
    uint8 SkipToToken( TSource& Source );
    void SetWord( const SWord& Word );
    void ReportBackslash( int32 Line ) const;
};
