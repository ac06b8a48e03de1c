#include "zan_core/persistence/lexer.h"

#include "zan_core/containers/zan_inline_array.h"
#include "zan_core/hashing/fnv1a.h"
#include "zan_core/persistence/zan_token_registry.h"
#include "zan_core/text/zan_byte_words.h"
#include "zan_core/zan_log.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstring>
#include <limits>
#include <typeinfo>
#include <utility>

using namespace NZanByteWords;

// The lexer is written once, on a source of characters that is a template argument. One source is any file,
// by its virtual functions. The other is a file in memory, whose state it keeps at hand while it reads one
// token; it also passes over runs of characters that mean nothing to the step that reads them, where the
// first has none, so that they come one by one. Whatever decides is the same code for both.

namespace
{
/// What a character is, as a set of bits.
enum ECharClass : uint8
{
    ClassBlank = 1,   // isspace in the C locale
    ClassToken = 2,   // a token of its own, or the start of one
    ClassEnd = 4,     // reads as the end of the data
    ClassLine = 8,    // a line feed, which counts
    ClassQuoted = 16, // has a meaning in a quoted string
    ClassComment = 32,

    EndsWord = ClassBlank | ClassToken | ClassEnd,
    EndsCommentRun = ClassLine | ClassEnd,
    EndsQuotedRun = ClassQuoted | ClassLine | ClassEnd
};

struct SCharTables
{
    consteval SCharTables();

    uint8 Classes[ 256 ] = {};
    uint8 FoldedWordChars[ 256 ] = {};   // in lower case, 0 for what ends a word
    uint16 Tokens[ 256 ] = {};           // of single characters, else None
    uint16 TokensWithAssign[ 256 ] = {}; // the same with a '=' behind them
};

consteval SCharTables::SCharTables()
{
    constexpr NToken::SKeyword SingleTokens[] = { { "!", NToken::Not }, { "\"", NToken::Quote },
        { "#", NToken::Comment }, { ";", NToken::Comment }, { "(", NToken::OpenParenthesis },
        { ")", NToken::CloseParenthesis }, { ",", NToken::Comma }, { "<", NToken::Less },
        { "=", NToken::Assign }, { ">", NToken::Greater }, { "{", NToken::OpenBlock },
        { "}", NToken::CloseBlock } };
    for ( const auto& [ Text, Token ] : SingleTokens )
    {
        Classes[ static_cast<uint8>( Text[ 0 ] ) ] = ClassToken;
        Tokens[ static_cast<uint8>( Text[ 0 ] ) ] = static_cast<uint16>( Token );
    }
    TokensWithAssign[ uint8( '=' ) ] = NToken::Equal;
    TokensWithAssign[ uint8( '<' ) ] = NToken::LessEqual;
    TokensWithAssign[ uint8( '>' ) ] = NToken::GreaterEqual;
    TokensWithAssign[ uint8( '!' ) ] = NToken::NotEqual;
    for ( const char Blank : { ' ', '\t', '\n', '\v', '\f', '\r' } )
    {
        Classes[ static_cast<uint8>( Blank ) ] = ClassBlank;
    }
    Classes[ 0 ] = Classes[ CFile::EndOfData ] = ClassEnd;
    Classes[ uint8( '#' ) ] |= ClassComment;
    Classes[ uint8( ';' ) ] |= ClassComment;
    Classes[ uint8( '\n' ) ] |= ClassLine;
    Classes[ uint8( '"' ) ] |= ClassQuoted;
    Classes[ uint8( '\\' ) ] |= ClassQuoted;
    for ( uint32 Char = 0; Char < 256; ++Char )
    {
        const bool bEnds = ( Classes[ Char ] & EndsWord ) != 0;
        FoldedWordChars[ Char ] = bEnds ? uint8( 0 ) : FNV1a::NDetail::FoldCase( static_cast<uint8>( Char ) );
    }
}

constexpr SCharTables CharTables;

bool IsOf( uint8 Char, uint8 Classes ) { return ( CharTables.Classes[ Char ] & Classes ) != 0; }

int32 IsLineFeed( uint8 Char ) { return static_cast<int32>( Char == '\n' ); }

/// Sets the top bit of the first character that ends a run, and perhaps of some behind it.
template <bool bQuoted>
uint64 MarkStops( uint64 Word )
{
    const uint64 Marks = MarkZero( Word ) | MarkZero( ~Word ) | MarkEqual( Word, '\n' );
    return bQuoted ? Marks | MarkEqual( Word, '"' ) | MarkEqual( Word, '\\' ) : Marks;
}

/// The end of the data, and not a character of this value.
template <typename TSource>
bool IsEnd( const TSource& Source, uint8 Char )
{
    return Char == CFile::EndOfData && !Source.IsGood( Char );
}

constinit std::atomic<bool> GCollectRowData = false;
} // namespace

// --- CLexer ------------------------------------------------------------------------------------------------

CLexer::~CLexer()
{
    if ( _bOwnsFile )
    {
        delete _pFile;
    }
}

void CLexer::PeekTok()
{
    if ( _bPeeked )
    {
        return;
    }
    _PeekResult = GetTok();
    if ( !_PeekResult )
    {
        _Tok._Type = NToken::EndOfInput;
    }
    _bPeeked = true;
}

// --- The sources -------------------------------------------------------------------------------------------

/// A word, as it stands in the token or in the file.
struct CTextLexer::SWord
{
    const char* pData;
    int32 Size;
    int32 ReadableSize; // with what follows in the file
    uint32 Hash;        // see CTokenRegistry::ClassifyWord
};

class CTextLexer::CFileSource
{
public:
    explicit CFileSource( CFile& File ) : _File( File ) {}

    uint8 ReadChar() { return _File.ReadChar(); }
    void UngetChar() { _File.UngetChar( _File.GetLastChar() ); }
    bool IsGood( uint8 ) const { return _File.IsGood(); }
    bool HasFailed() const { return !_File.IsGood(); }
    int32 GetLine() const { return _File.GetLine(); }
    int32 GetPosition() const { return _File.GetPosition(); }
    bool Seek( int32 Position ) { return _File.Seek( Position ); }
    bool Read( char* pBuffer, int32 Size ) { return _File.Read( pBuffer, static_cast<uint32>( Size ) ); }

    SWord ReadWord( CText& Text, uint8 First );
    template <bool bQuoted>
    int32 SkipRun()
    {
        return 0;
    }
    void Collect( uint8 Char );
    void StoreRowData( CRowData& RowData );

private:
    CFile& _File;
    const bool _bCollect = GCollectRowData.load( std::memory_order_relaxed );
    SRowData _Collected;
};

/// Of a file without an error, in which a character that was pushed back is the one before the position. The
/// file is brought up to date in the end. Does not collect row data.
class CTextLexer::CMemorySource
{
public:
    static bool IsFor( const CFile& File );

    explicit CMemorySource( CMemoryFile& File )
        : _File( File ), _pData( File.GetData() ), _Size( File.GetSize() ), _Position( File._Position ),
          _NextLine( File._Line + IsLineFeed( File._LastChar ) ), _LastChar( File._LastChar ),
          _bUnget( File._bUnget )
    {}
    ~CMemorySource();
    CMemorySource( const CMemorySource& ) = delete;
    CMemorySource& operator=( const CMemorySource& ) = delete;

    uint8 ReadChar();
    void UngetChar();
    bool IsGood( uint8 LastChar ) const { return LastChar < CFile::EndOfData; } // spares a field
    static constexpr bool HasFailed() { return false; }                         // but for the end of the data
    int32 GetLine() const { return _NextLine - IsLineFeed( _LastChar ); }
    int32 GetPosition() const { return _Position; }
    bool Seek( int32 Position );
    bool Read( char* pBuffer, int32 Size );

    /// Reads the rest of a word and pushes the character behind it back.
    SWord ReadWord( CText& Text, uint8 First );

    /// Reads characters that mean nothing in a comment or in a quoted string, line feeds not among them, and
    /// gives how many. No character may be pushed back, and another one has to be read next.
    template <bool bQuoted>
    int32 SkipRun();

    void Collect( uint8 ) {}
    void StoreRowData( CRowData& ) {}

private:
    CMemoryFile& _File;
    const uint8* const _pData;
    const int32 _Size;
    int32 _Position;
    int32 _NextLine; // that of the next character: it counts when it is read
    uint8 _LastChar;
    bool _bUnget;
};

CTextLexer::SWord CTextLexer::CFileSource::ReadWord( CText& Text, uint8 First )
{
    Text.RemoveAll();
    uint32 Hash = FNV1a::NDetail::Start;
    uint8 Char = First;
    do
    {
        Text.Append( static_cast<char>( Char ) );
        Hash = FNV1a::NDetail::MixByte( Hash, FNV1a::NDetail::FoldCase( Char ) );
        if ( !IsGood( Char ) )
        {
            return { Text.GetData(), Text.GetSize(), 0, Hash };
        }
        Char = ReadChar();
    } while ( IsGood( Char ) && !IsOf( Char, ClassBlank | ClassToken ) && Text.GetSize() < MaxTextSize );
    UngetChar();
    return { Text.GetData(), Text.GetSize(), 0, Hash };
}

inline void CTextLexer::CFileSource::Collect( uint8 Char )
{
    if ( _bCollect )
    {
        _Collected._Text += static_cast<char>( Char );
    }
}

inline void CTextLexer::CFileSource::StoreRowData( CRowData& RowData )
{
    if ( _bCollect )
    {
        RowData.SetValue( std::move( _Collected ) );
    }
}

[[gnu::always_inline]] inline bool CTextLexer::CMemorySource::IsFor( const CFile& File )
{
    if ( typeid( File ) != typeid( CMemoryFile ) || GCollectRowData.load( std::memory_order_relaxed ) )
    {
        return false;
    }
    const CMemoryFile& Memory = static_cast<const CMemoryFile&>( File );
    const int32 Before = Memory._Position - 1;
    return !Memory._bError && ( !Memory._bUnget || ( Before >= 0 && Before < Memory.GetSize() &&
                                                       Memory.GetData()[ Before ] == Memory._LastChar ) );
}

[[gnu::always_inline]] inline CTextLexer::CMemorySource::~CMemorySource()
{
    _File._Position = _Position;
    _File._Line = GetLine();
    _File._LastChar = _LastChar;
    _File._bUnget = _bUnget;
}

[[gnu::always_inline]] inline uint8 CTextLexer::CMemorySource::ReadChar()
{
    if ( _bUnget )
    {
        _bUnget = false;
    }
    else if ( _Position < _Size ) [[likely]]
    {
        const uint8 Byte = _pData[ _Position++ ];
        _LastChar = Byte != 0 ? Byte : CFile::EndOfData;
    }
    else
    {
        _Position += static_cast<int32>( _Position < std::numeric_limits<int32>::max() );
        _LastChar = CFile::EndOfData;
    }
    _NextLine += IsLineFeed( _LastChar );
    return _LastChar;
}

[[gnu::always_inline]] inline void CTextLexer::CMemorySource::UngetChar()
{
    _bUnget = true;
    _NextLine -= IsLineFeed( _LastChar );
}

inline bool CTextLexer::CMemorySource::Seek( int32 Position )
{
    if ( Position < 0 || Position > _Size )
    {
        return false;
    }
    _Position = Position;
    return true;
}

inline bool CTextLexer::CMemorySource::Read( char* pBuffer, int32 Size )
{
    if ( Size > _Size - _Position )
    {
        return false;
    }
    std::memcpy( pBuffer, _pData + _Position, static_cast<size_t>( Size ) );
    _Position += Size;
    return true;
}

[[gnu::always_inline]] inline CTextLexer::SWord CTextLexer::CMemorySource::ReadWord( CText&, uint8 First )
{
    const uint8* const pFirst = _pData + _Position - 1;
    const int32 ReadableSize = std::min( _Size - _Position, MaxTextSize - 1 ) + 1;
    uint32 Hash = FNV1a::NDetail::MixByte( FNV1a::NDetail::Start, CharTables.FoldedWordChars[ First ] );
    const uint8* const pEnd = pFirst + ReadableSize;
    const uint8* pNext = pFirst + 1;
    for ( uint8 Folded; pNext != pEnd && ( Folded = CharTables.FoldedWordChars[ *pNext ] ) != 0; ++pNext )
    {
        Hash = FNV1a::NDetail::MixByte( Hash, Folded );
    }
    const int32 Size = static_cast<int32>( pNext - pFirst );
    _Position += Size - 1;
    ReadChar();
    UngetChar();
    return { reinterpret_cast<const char*>( pFirst ), Size, ReadableSize, Hash };
}

template <bool bQuoted>
inline int32 CTextLexer::CMemorySource::SkipRun()
{
    const int32 Start = _Position;
    int32 End = Start;
    while ( _Size - End >= int32( sizeof( uint64 ) ) )
    {
        const uint64 Marks = MarkStops<bQuoted>( LoadWord( _pData + End ) );
        if ( Marks != 0 )
        {
            End += std::countr_zero( Marks ) / 8;
            break;
        }
        End += int32( sizeof( uint64 ) );
    }
    while ( End < _Size && !IsOf( _pData[ End ], bQuoted ? EndsQuotedRun : EndsCommentRun ) )
    {
        ++End;
    }
    _Position = End;
    return End - Start;
}

// --- CTextLexer --------------------------------------------------------------------------------------------

/// Reads whitespace and comments and the character behind them, which it gives.
template <typename TSource>
[[gnu::always_inline]] inline uint8 CTextLexer::SkipToToken( TSource& Source )
{
    uint8 Char = Source.ReadChar();
    for ( ;; )
    {
        while ( IsOf( Char, ClassBlank ) && !Source.HasFailed() )
        {
            Source.Collect( Char );
            Char = Source.ReadChar();
        }
        if ( !IsOf( Char, ClassComment ) ) [[likely]]
        {
            break;
        }
        do
        {
            Source.Collect( Char );
            Source.template SkipRun<false>();
            Char = Source.ReadChar();
        } while ( Char != '\n' && Source.IsGood( Char ) );
        if ( !IsEnd( Source, Char ) )
        {
            Source.Collect( Char );
        }
        Char = Source.ReadChar();
    }
    Source.StoreRowData( _RowData );
    return Char;
}

/// Reads a quoted string behind its opening quote. The first pass finds the end and the backslashes to leave
/// out, the second one copies what is between them.
template <typename TSource, typename TFile>
[[gnu::noinline]] void CTextLexer::ReadQuoted( TFile& File )
{
    TSource Source( File );
    const int32 Start = Source.GetPosition();
    CZanInlineBufArray<int32, 32> PieceSizes; // each with a backslash behind it
    int32 PieceSize = 0;
    int32 TextSize = 0;
    uint8 Previous = 0;
    for ( uint8 Char = '"'; Source.IsGood( Char ); )
    {
        if ( Previous != '\\' )
        {
            PieceSize += Source.template SkipRun<true>();
        }
        Char = Source.ReadChar();
        if ( !Source.IsGood( Char ) || ( Char == '"' && Previous != '\\' ) )
        {
            break;
        }
        if ( Previous == '\\' && ( Char == '"' || Char == '\\' ) )
        {
            PieceSizes.Append( PieceSize - 1 );
            TextSize += PieceSize - 1;
            PieceSize = 1;
            Previous = 0; // it does not escape what follows
            continue;
        }
        if ( Previous == '\\' )
        {
            ReportBackslash( Source.GetLine() );
        }
        ++PieceSize;
        Previous = Char;
    }
    TextSize += PieceSize;

    const int32 End = Source.GetPosition();
    CText& Text = _Tok._Text;
    Text.SetSizeNoInit( TextSize + 1 );
    char* pText = Text.GetData();
    bool bRead = Source.Seek( Start );
    for ( const int32 Size : PieceSizes )
    {
        bRead = bRead && Source.Read( pText, Size ) && Source.Seek( Source.GetPosition() + 1 );
        pText += Size;
    }
    bRead = bRead && Source.Read( pText, PieceSize );
    Text[ bRead ? TextSize : 0 ] = '\0';
    Text.SetSizeNoInit( bRead ? TextSize + 1 : 1 ); // a file that cannot seek has no text to give
    Source.Seek( End );
    _Tok._Type = NToken::String;
    _Tok._bExplicitString = true;
}

[[gnu::always_inline]] inline void CTextLexer::SetWord( const SWord& Word )
{
    constexpr int32 Chunk = 16;
    CText& Text = _Tok._Text;
    if ( Word.Size <= Chunk && Word.ReadableSize >= Chunk )
    {
        Text.SetSizeNoInit( Chunk + 1 );
        std::memcpy( Text.GetData(), Word.pData, Chunk ); // without a call
    }
    else if ( Word.ReadableSize > 0 )
    {
        Text.SetSizeNoInit( Word.Size );
        std::memcpy( Text.GetData(), Word.pData, static_cast<size_t>( Word.Size ) );
    }
    Text.SetSizeNoInit( Word.Size + 1 );
    Text[ Word.Size ] = '\0';
}

/// All that is read of the file comes first, with its state at hand; then the token is made.
template <typename TSource, typename TFile>
[[gnu::always_inline]] inline bool CTextLexer::ReadToken( TFile& File )
{
    CText& Text = _Tok._Text;
    uint32 Token;
    uint8 First;
    bool bEnd;
    bool bAssign = false;
    SWord Word = {};
    {
        TSource Source( File );
        First = SkipToToken( Source );
        bEnd = IsEnd( Source, First );
        Token = CharTables.Tokens[ First ];
        if ( Token == NToken::None && !bEnd )
        {
            Word = Source.ReadWord( Text, First );
        }
        else if ( CharTables.TokensWithAssign[ First ] != NToken::None )
        {
            bAssign = Source.ReadChar() == '=';
            if ( !bAssign )
            {
                Source.UngetChar();
            }
        }
    }
    if ( bEnd )
    {
        _Tok.Reset();
        return false;
    }
    _Tok._bExplicitString = false;
    _Tok._Value = 0;
    if ( Token == NToken::None )
    {
        _Tok._Type = NToken::NDetail::AccessTokenRegistry().ClassifyWord(
            Word.Hash, CZanStringView( Word.pData, Word.Size ) );
        SetWord( Word );
    }
    else if ( Token == NToken::Quote )
    {
        ReadQuoted<TSource>( File );
    }
    else
    {
        _Tok._Type = bAssign ? CharTables.TokensWithAssign[ First ] : Token;
        Text.SetSizeNoInit( bAssign ? 3 : 2 );
        char* const pText = Text.GetData();
        pText[ 0 ] = static_cast<char>( First );
        pText[ 1 ] = bAssign ? '=' : '\0';
        pText[ bAssign ? 2 : 1 ] = '\0';
    }
    return true;
}

template <typename TSource, typename TFile>
[[gnu::always_inline]] inline bool CTextLexer::GetTok( TFile& File )
{
    const int64 Start = File.GetPosition();
    const bool bFound = ReadToken<TSource>( File );
    const int64 Moved = File.GetPosition() - Start;
    const int64 TextSize = bFound ? _Tok._Text.GetSize() - 1 : 0;
    _BytesRead += static_cast<uint64>( Moved );
    // A character that was pushed back has been counted by then: this may wrap, the sum is right.
    _BytesOutsideTokens += static_cast<uint64>( Moved - TextSize );
    return bFound;
}

// By itself, so that the compiler has all registers for files in memory.
[[gnu::noinline]] bool CTextLexer::GetTokOfAnyFile() { return GetTok<CFileSource>( *_pFile ); }

bool CTextLexer::GetTok()
{
    if ( _bPeeked )
    {
        _bPeeked = false;
        return _PeekResult;
    }
    if ( CMemorySource::IsFor( *_pFile ) )
    {
        return GetTok<CMemorySource>( static_cast<CMemoryFile&>( *_pFile ) );
    }
    return GetTokOfAnyFile();
}

CString CTextLexer::ReadUntil( char Stop )
{
    CString Text;
    for ( ;; )
    {
        const uint8 Char = _pFile->ReadChar();
        if ( Char == static_cast<uint8>( Stop ) || ( Char == CFile::EndOfData && !_pFile->IsGood() ) )
        {
            return Text;
        }
        Text += static_cast<char>( Char );
    }
}

void CTextLexer::SetCollectRowData( bool bCollect )
{
    GCollectRowData.store( bCollect, std::memory_order_relaxed );
}

void CTextLexer::ReportBackslash( int32 Line ) const
{
    ZanLog( SLogSite{ __FILE__, __LINE__, LogCategoryError },
        "Location: %s(%d): Backslash followed by neither quote nor backslash, if you meant to write a single "
        "backslash, write two backslashes.\n",
        _pFile->GetName().GetCharPtr(), Line );
}
