#include "zan_core/text/zan_string.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace
{
size_t SizeOf( CZanStringView View ) { return static_cast<size_t>( View.GetSize() ); }

CString Concatenate( CZanStringView Left, CZanStringView Right )
{
    std::string Text;
    Text.reserve( SizeOf( Left ) + SizeOf( Right ) );
    Text.append( Left.GetData(), SizeOf( Left ) );
    Text.append( Right.GetData(), SizeOf( Right ) );
    return CString( std::move( Text ) );
}

// Both change the operand before they move it away: the other one may look at it.

CString Append( CString& Left, CZanStringView Right )
{
    Left += Right;
    return std::move( Left );
}

CString Prepend( CZanStringView Left, CString& Right )
{
    Right.Insert( 0, Left );
    return std::move( Right );
}

CZanStringView ViewOf( const char& Char ) { return CZanStringView( &Char, 1 ); }
} // namespace

CString::CString( const char* pText ) : CString( CZanStringView( pText ) ) {}

CString::CString( const char* pData, uint32 Size )
    : _Text( pData != nullptr ? pData : "", pData != nullptr ? Size : 0 )
{}

CString::CString( CZanStringView View ) : CString( View.GetData(), static_cast<uint32>( View.GetSize() ) ) {}

CString::CString( std::string Text ) : _Text( std::move( Text ) ) {}

CString::CString( CString&& Other ) noexcept : _Text( std::move( Other._Text ) ) { Other._Text.clear(); }

CString& CString::operator=( CString&& Other ) noexcept
{
    if ( this != &Other )
    {
        _Text = std::move( Other._Text );
        Other._Text.clear();
    }
    return *this;
}

CString& CString::operator=( CZanStringView View )
{
    _Text.assign( View.GetData(), SizeOf( View ) );
    return *this;
}

CString& CString::operator+=( CZanStringView View )
{
    _Text.append( View.GetData(), SizeOf( View ) );
    return *this;
}

CString& CString::operator+=( char Char )
{
    _Text += Char;
    return *this;
}

CString& CString::Insert( int32 Position, CZanStringView View )
{
    _Text.insert( static_cast<size_t>( Position ), View.GetData(), SizeOf( View ) );
    return *this;
}

CString& CString::Insert( int32 Position, int32 Count, char Char )
{
    _Text.insert( static_cast<size_t>( Position ), static_cast<size_t>( Count ), Char );
    return *this;
}

bool CString::StartsWith( CZanStringView Prefix ) const
{
    return GetSize() >= Prefix.GetSize() &&
           CZanStringView( *this ).GetSubstring( 0, Prefix.GetSize() ) == Prefix;
}

bool CString::EndsWith( CZanStringView Suffix ) const
{
    return GetSize() >= Suffix.GetSize() &&
           CZanStringView( *this ).GetSubstring( GetSize() - Suffix.GetSize() ) == Suffix;
}

int32 CString::FindLast( char Char, int32 Pos ) const
{
    return CZanStringView( *this ).FindLast( Char, Pos < 0 ? GetSize() : Pos );
}

CString CString::GetSubstring( int32 Start, int32 End ) const
{
    const int32 First = std::clamp( Start, 0, GetSize() );
    const int32 Last = std::clamp( End, First, GetSize() );
    const CZanStringView Range = CZanStringView( *this ).GetSubstring( First, Last );
    const int32 ZeroByte = Range.Find( '\0' );
    return CString( ZeroByte >= 0 ? Range.GetSubstring( 0, ZeroByte ) : Range );
}

bool operator==( const CString& Left, const CString& Right ) { return Left.GetString() == Right.GetString(); }

bool operator==( const CString& Left, CZanStringView Right ) { return CZanStringView( Left ) == Right; }

bool operator==( const CString& Left, const char* pRight )
{
    return std::strcmp( Left.GetCharPtr(), pRight != nullptr ? pRight : "" ) == 0;
}

CString operator+( const CString& Left, const CString& Right ) { return Concatenate( Left, Right ); }
CString operator+( const CString& Left, CString&& Right ) { return Prepend( Left, Right ); }
CString operator+( const CString& Left, CZanStringView Right ) { return Concatenate( Left, Right ); }
CString operator+( const CString& Left, const char* pRight ) { return Concatenate( Left, pRight ); }
CString operator+( const CString& Left, char Right ) { return Concatenate( Left, ViewOf( Right ) ); }
CString operator+( CString&& Left, const CString& Right ) { return Append( Left, Right ); }
CString operator+( CString&& Left, CString&& Right ) { return Append( Left, Right ); }
CString operator+( CString&& Left, CZanStringView Right ) { return Append( Left, Right ); }
CString operator+( CString&& Left, const char* pRight ) { return Append( Left, pRight ); }
CString operator+( CString&& Left, char Right ) { return Append( Left, ViewOf( Right ) ); }
CString operator+( CZanStringView Left, const CString& Right ) { return Concatenate( Left, Right ); }
CString operator+( CZanStringView Left, CString&& Right ) { return Prepend( Left, Right ); }
CString operator+( const char* pLeft, const CString& Right ) { return Concatenate( pLeft, Right ); }
CString operator+( const char* pLeft, CString&& Right ) { return Prepend( pLeft, Right ); }
CString operator+( char Left, const CString& Right ) { return Concatenate( ViewOf( Left ), Right ); }
CString operator+( char Left, CString&& Right ) { return Prepend( ViewOf( Left ), Right ); }
