#include "zan_core/text/zan_string.h"

CString& CString::operator=( CZanStringView View )
{
    _Text.assign( View.GetData(), static_cast<size_t>( View.GetSize() ) );
    return *this;
}

CString& CString::Insert( int32 Position, CZanStringView View )
{
    _Text.insert( static_cast<size_t>( Position ), View.GetData(), static_cast<size_t>( View.GetSize() ) );
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
