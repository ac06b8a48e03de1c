#include "zan_core/persistence/zan_writer.h"

#include "zan_core/text/zan_charconv.h"

#include <algorithm>

namespace
{
// The texts of the tokens that are most of all output, by number; zero for the others, which are looked up.
constexpr char CommonTexts[] = { 0, '=', '"', '{', '}', '(', ')', 0, ',', 0, 0, 0, 0, 0, 0, 0, '\n', '\t',
    ' ' };
} // namespace

inline void CWriter::Write( CZanStringView Bytes )
{
    if ( _pMemoryFile == nullptr || !_pMemoryFile->TryAppend( Bytes ) )
    {
        _pFile->WriteString( Bytes );
    }
}

template <typename T>
inline void CWriter::WriteNumber( uint32 Token, T Value )
{
    if ( _bBinary )
    {
        const uint32 Bits = static_cast<uint32>( Value );
        const char Bytes[] = { static_cast<char>( Token ), static_cast<char>( Token >> 8 ),
            static_cast<char>( Bits ), static_cast<char>( Bits >> 8 ), static_cast<char>( Bits >> 16 ),
            static_cast<char>( Bits >> 24 ) };
        Write( CZanStringView( Bytes, sizeof( Bytes ) ) );
    }
    else
    {
        char Buffer[ NZanStringUtils::MaxNumberSize ];
        Write( NZanStringUtils::ToString( Buffer, Buffer + sizeof( Buffer ), Value ) );
    }
}

inline void CWriter::WriteUint16( uint32 Value )
{
    const char Bytes[] = { static_cast<char>( Value ), static_cast<char>( Value >> 8 ) };
    Write( CZanStringView( Bytes, sizeof( Bytes ) ) );
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
            Write( CZanStringView( CommonTexts + Token, 1 ) ); // compiles to storing a byte
        }
        else
        {
            Write( GetTokenText( static_cast<int32>( Token ) ) );
        }
        return;
    }
    if ( Token == NToken::LineFeed || Token == NToken::Tab || Token == NToken::Blank )
    {
        return;
    }
    if ( !IsDynamicToken( static_cast<int32>( Token ) ) )
    {
        WriteUint16( Token );
        return;
    }
    constexpr int32 MaxSize = 0xFFFF; // that its field can hold
    const CZanStringView Text = GetTokenText( static_cast<int32>( Token ) );
    const int32 Size = std::min( Text.GetSize(), MaxSize );
    WriteUint16( NToken::Registered );
    WriteUint16( static_cast<uint32>( Size ) );
    Write( Text.GetSubstring( 0, Size ) );
}

void CWriter::WriteTokenText( const SToken& Token ) { Write( Token.GetView() ); }

void CWriter::WriteInt( int32 Value ) { WriteNumber( NToken::Number, Value ); }

void CWriter::WriteUint( uint32 Value ) { WriteNumber( NToken::Unsigned, Value ); }
