#include "zan_core/persistence/zan_writer.h"

#include "zan_core/containers/zan_inline_array.h"
#include "zan_core/persistence/zan_persistent_reader.h"
#include "zan_core/text/zan_byte_words.h"
#include "zan_core/text/zan_charconv.h"
#include "zan_core/text/zan_string_utils.h"
#include "zan_core/zan_expects.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

using namespace NZanByteWords;

namespace
{
// The texts of the tokens that are most of all output, by number; zero for the others, which are looked up.
constexpr char CommonTexts[] = { 0, '=', '"', '{', '}', '(', ')', 0, ',', 0, 0, 0, 0, 0, 0, 0, '\n', '\t',
    ' ' };

constexpr CZanStringView Tabs = "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t"
                                "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t";
static_assert( Tabs.GetSize() == 64 );

/// Writes at most twice the size, and gives the end.
inline char* PutEscaped( char* pTarget, CZanStringView Text )
{
    constexpr std::ptrdiff_t WordSize = sizeof( uint64 );
    const char* pRead = Text.GetData();
    const char* const pEnd = pRead + Text.GetSize();
    while ( pRead != pEnd )
    {
        const char* pStop = pEnd;
        if ( pEnd - pRead >= WordSize )
        {
            pStop = pRead + WordSize;
            const uint64 Word = LoadWord( pRead );
            if ( ( MarkEqual( Word, '"' ) | MarkEqual( Word, '\\' ) ) == 0 )
            {
                std::memcpy( pTarget, pRead, WordSize );
                pTarget += WordSize;
                pRead = pStop;
            }
        }
        for ( ; pRead != pStop; ++pRead )
        {
            *pTarget = '\\';
            pTarget += *pRead == '"' || *pRead == '\\' ? 1 : 0;
            *pTarget++ = *pRead;
        }
    }
    return pTarget;
}
} // namespace

inline char* CWriter::TryExtend( int32 Size )
{
    return _pMemoryFile != nullptr ? _pMemoryFile->TryExtend( Size ) : nullptr;
}

inline void CWriter::Write( CZanStringView Bytes )
{
    char* const pTarget = TryExtend( Bytes.GetSize() );
    if ( pTarget == nullptr )
    {
        WriteSlowly( Bytes );
        return;
    }
    NZanStringUtils::NDetail::Put( pTarget, Bytes );
}

/// As above, with a size for the compiler to know.
template <int32 Size>
inline void CWriter::WriteBytes( const char ( &Bytes )[ Size ] )
{
    char* const pTarget = TryExtend( Size );
    if ( pTarget == nullptr )
    {
        WriteSlowly( CZanStringView( Bytes, Size ) );
        return;
    }
    std::memcpy( pTarget, Bytes, Size );
}

[[gnu::noinline]] void CWriter::WriteSlowly( CZanStringView Bytes ) { _pFile->WriteString( Bytes ); }

template <typename T>
inline void CWriter::WriteNumber( uint32 Token, T Value )
{
    if ( _bBinary )
    {
        const uint32 Bits = static_cast<uint32>( Value );
        WriteBytes( { static_cast<char>( Token ), static_cast<char>( Token >> 8 ), static_cast<char>( Bits ),
            static_cast<char>( Bits >> 8 ), static_cast<char>( Bits >> 16 ),
            static_cast<char>( Bits >> 24 ) } );
    }
    else
    {
        constexpr int32 MaxSize = NZanStringUtils::MaxNumberSize;
        char* const pTarget = TryExtend( MaxSize );
        if ( pTarget != nullptr )
        {
            _pMemoryFile->GiveBack( NZanStringUtils::to_chars( pTarget, pTarget + MaxSize, Value ).ptr );
            return;
        }
        char Buffer[ MaxSize ];
        WriteSlowly( NZanStringUtils::ToString( Buffer, Buffer + MaxSize, Value ) );
    }
}

inline void CWriter::WriteUint16( uint32 Value )
{
    WriteBytes( { static_cast<char>( Value ), static_cast<char>( Value >> 8 ) } );
}

CWriter::CWriter( CFile* pFile )
    : _pFile( pFile ), _pMemoryFile( dynamic_cast<CMemoryFile*>( pFile ) ),
      _bBinary( pFile->GetType() == FILE_BINARY )
{}

CWriter::~CWriter()
{
    if ( _bOwnsFile )
    {
        delete _pFile;
    }
}

void CWriter::WriteIndent()
{
    for ( int32 Rest = _bBinary ? 0 : _Indent; Rest > 0; Rest -= Tabs.GetSize() )
    {
        Write( Tabs.GetSubstring( 0, std::min( Rest, Tabs.GetSize() ) ) );
    }
}

void CWriter::WriteTextToken( uint32 Token )
{
    if ( Token < sizeof( CommonTexts ) && CommonTexts[ Token ] != 0 )
    {
        WriteBytes( { CommonTexts[ Token ] } );
        return;
    }
    WriteLongText( Token );
}

[[gnu::noinline]] void CWriter::WriteLongText( uint32 Token )
{
    Write( GetTokenText( static_cast<int32>( Token ) ) );
}

void CWriter::WriteBinaryToken( uint32 Token )
{
    // What is registered has numbers behind all others, which saves the look.
    if ( Token <= NToken::NotEqual || !IsDynamicToken( static_cast<int32>( Token ) ) )
    {
        WriteUint16( Token );
        return;
    }
    WriteRegistered( Token );
}

[[gnu::noinline]] void CWriter::WriteRegistered( uint32 Token )
{
    const CZanStringView Text = GetTokenText( static_cast<int32>( Token ) );
    constexpr int32 MaxSize = 0xFFFF; // that its field can hold
    const int32 Size = std::min( Text.GetSize(), MaxSize );
    WriteUint16( NToken::Registered );
    WriteUint16( static_cast<uint32>( Size ) );
    Write( Text.GetSubstring( 0, Size ) );
}

void CWriter::WriteTokenText( const SToken& Token ) { Write( Token.GetView() ); }

void CWriter::WriteQuoted( CZanStringView Text )
{
    constexpr int32 MaxPiece = 1 << 20; // so that twice the size, and the quotes, is one
    constexpr int32 QuotesSize = 4;     // at most
    char* pTarget = Text.GetSize() <= MaxPiece ? TryExtend( Text.GetSize() * 2 + QuotesSize ) : nullptr;
    if ( pTarget != nullptr )
    {
        pTarget = PutQuote( pTarget );
        pTarget = PutEscaped( pTarget, Text );
        _pMemoryFile->GiveBack( PutQuote( pTarget ) );
        return;
    }
    WriteToken( NToken::Quote );
    while ( !Text.IsEmpty() )
    {
        const CZanStringView Piece = Text.GetSubstring( 0, std::min( Text.GetSize(), MaxPiece ) );
        Text.RemovePrefix( Piece.GetSize() );
        CZanInlineBufArray<char, 512> Escaped;
        Escaped.SetSizeNoInit( Piece.GetSize() * 2 );
        const char* const pEnd = PutEscaped( Escaped.GetData(), Piece );
        Write( CZanStringView( Escaped.GetData(), static_cast<int32>( pEnd - Escaped.GetData() ) ) );
    }
    WriteToken( NToken::Quote );
}

/// Writes up to two bytes, and gives the end.
inline char* CWriter::PutQuote( char* pTarget ) const
{
    pTarget[ 0 ] = _bBinary ? static_cast<char>( NToken::Quote ) : '"';
    pTarget[ 1 ] = 0; // in text, what comes next goes here
    return pTarget + ( _bBinary ? 2 : 1 );
}

void CWriter::WriteInt( int32 Value ) { WriteNumber( NToken::Number, Value ); }

void CWriter::WriteUint( uint32 Value ) { WriteNumber( NToken::Unsigned, Value ); }

// --- Statements --------------------------------------------------------------------------------------------

/// Writes the whole line at once, where there is room for it at hand. Put writes up to MaxSize characters of
/// the value, and gives their end. False, and nothing is written, elsewhere.
template <typename TPut>
inline bool CWriter::TryWriteLine( CZanStringView Key, int64 MaxSize, const TPut& Put )
{
    constexpr int64 MaxRoom = 1 << 24;
    constexpr CZanStringView Assign = " = ";
    const int32 TabCount = std::max( _Indent, 0 );
    const int64 Room = MaxSize + Key.GetSize() + TabCount + Assign.GetSize() + 1;
    if ( _bBinary || TabCount > Tabs.GetSize() || Room > MaxRoom )
    {
        return false;
    }
    char* pTarget = TryExtend( static_cast<int32>( Room ) );
    if ( pTarget == nullptr )
    {
        return false;
    }
    pTarget = NZanStringUtils::NDetail::Put( pTarget, Tabs.GetSubstring( 0, TabCount ) );
    pTarget = NZanStringUtils::NDetail::Put( pTarget, Key );
    pTarget = NZanStringUtils::NDetail::Put( pTarget, Assign );
    pTarget = Put( pTarget );
    *pTarget = '\n';
    _pMemoryFile->GiveBack( pTarget + 1 );
    return true;
}

template <typename T>
inline void CWriter::WriteNumberLine( CZanStringView Key, T Value )
{
    constexpr int32 MaxSize = NZanStringUtils::MaxNumberSize;
    const auto Put = [ Value ]( char* pTarget ) {
        return NZanStringUtils::to_chars( pTarget, pTarget + MaxSize, Value ).ptr;
    };
    if ( !TryWriteLine( Key, MaxSize, Put ) )
    {
        char Buffer[ MaxSize ];
        WriteKey( Key );
        Write( CZanStringView( Buffer, static_cast<int32>( Put( Buffer ) - Buffer ) ) );
        WriteToken( NToken::LineFeed );
    }
}

void CWriter::WriteKey( CZanStringView Key )
{
    static_cast<void>( zan_expects( !_bBinary, "A statement in words for a file of the binary form" ) );
    WriteIndent();
    Write( Key );
    WriteToken( NToken::Blank );
    WriteToken( NToken::Assign );
    WriteToken( NToken::Blank );
}

void CWriter::WriteStatement( CZanStringView Key, int32 Value ) { WriteNumberLine( Key, Value ); }

void CWriter::WriteStatement( CZanStringView Key, CFixedPoint Value ) { WriteNumberLine( Key, Value ); }

void CWriter::WriteStatement( CZanStringView Key, CZanStringView Text )
{
    constexpr int32 QuotesSize = 2;
    const auto Put = [ Text ]( char* pTarget ) {
        *pTarget = '"';
        pTarget = PutEscaped( pTarget + 1, Text );
        *pTarget = '"';
        return pTarget + 1;
    };
    if ( !TryWriteLine( Key, int64( Text.GetSize() ) * 2 + QuotesSize, Put ) )
    {
        WriteKey( Key );
        WriteQuoted( Text );
        WriteToken( NToken::LineFeed );
    }
}

void CWriter::WriteStatement( CZanStringView Key, CPersistent& Block )
{
    WriteKey( Key );
    Block.WriteBlock( *this );
}
