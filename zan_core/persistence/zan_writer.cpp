#include "zan_core/persistence/zan_writer.h"

#include "zan_core/containers/zan_inline_array.h"
#include "zan_core/text/zan_charconv.h"
#include "zan_core/text/zan_string_utils.h"

#include <algorithm>
#include <cstring>

namespace
{
// The texts of the tokens that are most of all output, by number; zero for the others, which are looked up.
constexpr char CommonTexts[] = { 0, '=', '"', '{', '}', '(', ')', 0, ',', 0, 0, 0, 0, 0, 0, 0, '\n', '\t',
    ' ' };

/// Writes at most twice the size, and gives the end.
inline char* PutEscaped( char* pTarget, CZanStringView Text )
{
    for ( const char Char : Text )
    {
        *pTarget = '\\';
        pTarget += Char == '"' || Char == '\\' ? 1 : 0;
        *pTarget++ = Char;
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
        char Buffer[ NZanStringUtils::MaxNumberSize ];
        Write( NZanStringUtils::ToString( Buffer, Buffer + sizeof( Buffer ), Value ) );
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
    constexpr CZanStringView Tabs = "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t"
                                    "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t";
    static_assert( Tabs.GetSize() == 64 );

    for ( int32 Rest = _bBinary ? 0 : _Indent; Rest > 0; Rest -= Tabs.GetSize() )
    {
        Write( Tabs.GetSubstring( 0, std::min( Rest, Tabs.GetSize() ) ) );
    }
}

void CWriter::WriteToken( uint32 Token )
{
    if ( !_bBinary )
    {
        if ( Token < sizeof( CommonTexts ) && CommonTexts[ Token ] != 0 )
        {
            WriteBytes( { CommonTexts[ Token ] } );
            return;
        }
        Write( GetTokenText( static_cast<int32>( Token ) ) );
    }
    else if ( Token != NToken::LineFeed && Token != NToken::Tab && Token != NToken::Blank )
    {
        // What is registered has numbers behind all others, which saves the look.
        if ( Token <= NToken::NotEqual || !IsDynamicToken( static_cast<int32>( Token ) ) )
        {
            WriteUint16( Token );
            return;
        }
        WriteRegistered( GetTokenText( static_cast<int32>( Token ) ) );
    }
}

[[gnu::noinline]] void CWriter::WriteRegistered( CZanStringView Text )
{
    constexpr int32 MaxSize = 0xFFFF; // that its field can hold
    const int32 Size = std::min( Text.GetSize(), MaxSize );
    WriteUint16( NToken::Registered );
    WriteUint16( static_cast<uint32>( Size ) );
    Write( Text.GetSubstring( 0, Size ) );
}

void CWriter::WriteTokenText( const SToken& Token ) { Write( Token.GetView() ); }

void CWriter::WriteQuoted( CZanStringView Text )
{
    constexpr int32 MaxPiece = 1 << 20; // so that twice the size is one
    WriteToken( NToken::Quote );
    while ( !Text.IsEmpty() )
    {
        const CZanStringView Piece = Text.GetSubstring( 0, std::min( Text.GetSize(), MaxPiece ) );
        Text.RemovePrefix( Piece.GetSize() );
        char* pTarget = TryExtend( Piece.GetSize() * 2 );
        if ( pTarget != nullptr )
        {
            _pMemoryFile->GiveBack( PutEscaped( pTarget, Piece ) );
            continue;
        }
        CZanInlineBufArray<char, 512> Escaped;
        Escaped.SetSizeNoInit( Piece.GetSize() * 2 );
        const char* const pEnd = PutEscaped( Escaped.GetData(), Piece );
        Write( CZanStringView( Escaped.GetData(), static_cast<int32>( pEnd - Escaped.GetData() ) ) );
    }
    WriteToken( NToken::Quote );
}

void CWriter::WriteInt( int32 Value ) { WriteNumber( NToken::Number, Value ); }

void CWriter::WriteUint( uint32 Value ) { WriteNumber( NToken::Unsigned, Value ); }
