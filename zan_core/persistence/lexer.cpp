#include "zan_core/persistence/lexer.h"

#include "zan_core/containers/zan_inline_array.h"
#include "zan_core/hashing/fnv1a.h"
#include "zan_core/persistence/zan_token_registry.h"
#include "zan_core/zan_log.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstring>
#include <limits>
#include <typeinfo>
#include <utility>

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

// Eight characters at once, the first one in the lowest byte.

constexpr uint64 EachByte = 0x0101010101010101;
constexpr uint64 TopBits = 0x80 * EachByte;

uint64 LoadWord( const uint8* pBytes )
{
    uint64 Word;
    std::memcpy( &Word, pBytes, sizeof( Word ) );
    return std::endian::native == std::endian::big ? __builtin_bswap64( Word ) : Word;
}

/// Sets the top bits of the bytes that are Char, where no byte has it.
uint64 MarkEqual( uint64 Low, uint8 Char ) { return ~( ( Low ^ Char * EachByte ) + ~TopBits ); }

uint32 MixFolded( uint32 Hash, uint8 Char )
{
    return FNV1a::NDetail::MixByte( Hash, FNV1a::NDetail::FoldCase( Char ) );
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

class CTextLexer::CFileSource
{
public:
    explicit CFileSource( CFile& File ) : _File( File ) {}

    uint8 ReadChar() { return _File.ReadChar(); }
    void UngetChar() { _File.UngetChar( _File.GetLastChar() ); }
    bool IsGood( uint8 ) const { return _File.IsGood(); }
    int32 GetLine() const { return _File.GetLine(); }
    int32 GetPosition() const { return _File.GetPosition(); }
    bool Seek( int32 Position ) { return _File.Seek( Position ); }
    bool Read( char* pBuffer, int32 Size ) { return _File.Read( pBuffer, static_cast<uint32>( Size ) ); }

    void SkipBlanks() {}
    int32 SkipRun( uint8 ) { return 0; }
    void AppendWordRun( CText&, uint32& ) {}
    void Collect( uint8 Char );
    void StoreRowData( CRowData& RowData );

private:
    CFile& _File;
    const bool _bCollect = GCollectRowData.load( std::memory_order_relaxed );
    SRowData _Collected;
};

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

/// Of a file without an error, which it brings up to date in the end. Leaves row data to the other.
class CTextLexer::CMemorySource
{
public:
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
    int32 GetLine() const { return _NextLine - IsLineFeed( _LastChar ); }
    int32 GetPosition() const { return _Position; }
    bool Seek( int32 Position );
    bool Read( char* pBuffer, int32 Size );

    /// Reads some of the blanks that follow.
    void SkipBlanks();

    /// Reads up to the first character of these classes, to which line feeds have to belong, and gives how
    /// many it has read. No character may be pushed back.
    int32 SkipRun( uint8 Classes );

    /// Reads and appends characters of a word, leaving room for a terminator.
    void AppendWordRun( CText& Text, uint32& Hash );

    void Collect( uint8 ) {}
    void StoreRowData( CRowData& ) {}

private:
    void MoveTo( int32 Position );

    CMemoryFile& _File;
    const uint8* const _pData;
    const int32 _Size;
    int32 _Position;
    int32 _NextLine; // that of the next character: it counts when it is read
    uint8 _LastChar;
    bool _bUnget;
};

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
        _NextLine += IsLineFeed( _LastChar );
        return _LastChar;
    }
    if ( _Position >= _Size ) [[unlikely]]
    {
        _Position += static_cast<int32>( _Position < std::numeric_limits<int32>::max() );
        _LastChar = CFile::EndOfData;
        return _LastChar;
    }
    const uint8 Byte = _pData[ _Position++ ];
    _LastChar = Byte != 0 ? Byte : CFile::EndOfData;
    _NextLine += IsLineFeed( Byte );
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

inline void CTextLexer::CMemorySource::SkipBlanks()
{
    if ( _Size - _Position < int32( sizeof( uint64 ) ) )
    {
        return;
    }
    const uint64 Word = LoadWord( _pData + _Position );
    const uint64 Low = Word & ~TopBits;
    const uint64 Controls = ( Low + ( 128 - '\t' ) * EachByte ) & ~( Low + ( 128 - '\r' - 1 ) * EachByte );
    const uint64 Others = ~( ( Controls | MarkEqual( Low, ' ' ) ) & ~Word ) & TopBits;
    const int32 Count = Others != 0 ? std::countr_zero( Others ) / 8 : 8;
    const uint64 Blanks = Others != 0 ? Others ^ ( Others - 1 ) : ~uint64( 0 );
    if ( Count > 0 )
    {
        _NextLine += std::popcount( MarkEqual( Low, '\n' ) & ~Word & TopBits & Blanks );
        _LastChar = _pData[ _Position + Count - 1 ];
        _Position += Count;
    }
}

[[gnu::always_inline]] inline int32 CTextLexer::CMemorySource::SkipRun( uint8 Classes )
{
    const int32 Start = _Position;
    int32 End = Start;
    while ( End < _Size && !IsOf( _pData[ End ], Classes ) )
    {
        ++End;
    }
    MoveTo( End );
    return End - Start;
}

[[gnu::always_inline]] inline void CTextLexer::CMemorySource::AppendWordRun( CText& Text, uint32& Hash )
{
    const int32 OldSize = Text.GetSize();
    const int32 Limit = std::min( _Size - _Position, MaxTextSize - OldSize );
    const uint8* const pRun = _pData + _Position;
    int32 Count = 0;
    for ( ; Count < Limit; ++Count )
    {
        const uint8 Folded = CharTables.FoldedWordChars[ pRun[ Count ] ];
        if ( Folded == 0 )
        {
            break;
        }
        Hash = FNV1a::NDetail::MixByte( Hash, Folded );
    }
    if ( Count > 0 )
    {
        constexpr int32 Chunk = 16;
        Text.Reserve( OldSize + std::max( Count + 1, Chunk ) );
        Text.SetSizeNoInit( OldSize + Count );
        if ( Count < Chunk && Limit >= Chunk )
        {
            // Without a call, and if it can be together with the first character: words that were written
            // in two parts and are read as one have to wait for the processor to join them.
            const int32 Back = OldSize == 1 && _Position > 0 && pRun[ -1 ] == uint8( Text[ 0 ] ) ? 1 : 0;
            std::memcpy( Text.GetData() + OldSize - Back, pRun - Back, Chunk );
        }
        else
        {
            std::memcpy( Text.GetData() + OldSize, pRun, static_cast<size_t>( Count ) );
        }
        MoveTo( _Position + Count );
    }
}

/// Reads up to a later position without a line feed before it, or stays.
[[gnu::always_inline]] inline void CTextLexer::CMemorySource::MoveTo( int32 Position )
{
    if ( Position > _Position )
    {
        _LastChar = _pData[ Position - 1 ];
        _Position = Position;
    }
}

// --- CTextLexer --------------------------------------------------------------------------------------------

/// Reads whitespace and comments and the character behind them, which it gives.
template <typename TSource>
[[gnu::always_inline]] inline uint8 CTextLexer::SkipToToken( TSource& Source )
{
    uint8 Char = Source.ReadChar();
    for ( ;; )
    {
        while ( IsOf( Char, ClassBlank ) && Source.IsGood( Char ) )
        {
            Source.Collect( Char );

            Char = Source.ReadChar();
        }
        if ( CharTables.Tokens[ Char ] != NToken::Comment )
        {
            break;
        }
        do
        {
            Source.Collect( Char );
            Source.SkipRun( EndsCommentRun );
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

/// An operator of one character is in the token, which becomes Longer with a '=' behind it.
template <typename TSource>
[[gnu::always_inline]] inline void CTextLexer::ReadOperator( TSource& Source, uint32 Longer )
{
    if ( Source.ReadChar() == '=' )
    {
        _Tok._Text.Append( '=' );
        _Tok._Type = Longer;
    }
    else
    {
        Source.UngetChar();
    }
}

template <typename TSource>
[[gnu::always_inline]] inline void CTextLexer::ReadWord( TSource& Source, uint8 First )
{
    CText& Text = _Tok._Text;
    uint32 Hash = MixFolded( FNV1a::NDetail::Start, First );
    uint8 Char = First;
    while ( Source.IsGood( Char ) && Text.GetSize() < MaxTextSize )
    {
        Source.AppendWordRun( Text, Hash );
        Char = Source.ReadChar();
        if ( !Source.IsGood( Char ) || IsOf( Char, ClassBlank | ClassToken ) )
        {
            Source.UngetChar();
            break;
        }
        Text.Append( static_cast<char>( Char ) );
        Hash = MixFolded( Hash, Char );
    }
    const CZanStringView Word( Text.GetData(), Text.GetSize() );
    _Tok._Type = NToken::NDetail::AccessTokenRegistry().ClassifyWord( Hash, Word );
}

/// Of a quoted string only the quote, for ReadQuoted to go on.
template <typename TSource, typename TFile>
[[gnu::always_inline]] inline bool CTextLexer::ReadToken( TFile& File )
{
    TSource Source( File );
    const uint8 First = SkipToToken( Source );
    if ( IsEnd( Source, First ) )
    {
        _Tok.Reset();
        return false;
    }
    _Tok._Type = CharTables.Tokens[ First ];
    _Tok._bExplicitString = false;
    _Tok._Value = 0;
    _Tok._Text.RemoveAll();
    _Tok._Text.Append( static_cast<char>( First ) );
    if ( _Tok._Type == NToken::None )
    {
        ReadWord( Source, First );
    }
    else if ( CharTables.TokensWithAssign[ First ] != NToken::None )
    {
        ReadOperator( Source, CharTables.TokensWithAssign[ First ] );
    }
    _Tok._Text.Append( '\0' );
    return true;
}

/// The opening quote is in the token. The first pass finds the end and the backslashes to leave out, the
/// second one copies what is between them.
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
            PieceSize += Source.SkipRun( EndsQuotedRun );
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

template <typename TSource, typename TFile>
[[gnu::always_inline]] inline bool CTextLexer::GetTok( TFile& File )
{
    const int64 Start = File.GetPosition();
    const bool bFound = ReadToken<TSource>( File );
    if ( _Tok._Type == NToken::Quote )
    {
        ReadQuoted<TSource>( File );
    }
    // A character that was pushed back has been counted by then: this may wrap, the sum is right.
    const uint64 Moved = static_cast<uint64>( File.GetPosition() - Start );
    _BytesRead += Moved;
    _BytesOutsideTokens += Moved - static_cast<uint64>( _Tok.GetView().GetSize() );
    return bFound;
}

bool CTextLexer::GetTok()
{
    if ( _bPeeked )
    {
        _bPeeked = false;
        return _PeekResult;
    }
    if ( typeid( *_pFile ) == typeid( CMemoryFile ) && !GCollectRowData.load( std::memory_order_relaxed ) )
    {
        CMemoryFile& File = static_cast<CMemoryFile&>( *_pFile );
        if ( !File._bError )
        {
            return GetTok<CMemorySource>( File );
        }
    }
    return GetTok<CFileSource>( *_pFile );
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
