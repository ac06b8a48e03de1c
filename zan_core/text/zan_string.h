#pragma once

#include "zan_core/text/zan_string_view.h"
#include "zan_core/zan_types.h"

#include <cstring>
#include <string>
#include <utility>

/// Owned text: bytes, zero included, in a standard string, whose small-string storage, growth and memory are
/// its own. Interfaces that keep text take or give one; those that only read take a CZanStringView, to which
/// it converts. Sizes stay below 2^31. Any change invalidates views of it; out of memory throws what the
/// standard string throws.
///
///     CString Name = "node";
///     Name = std::move( Name ) + '_' + Suffix;  // grows the one buffer
class CString
{
public:
    /// Returned by searches that find nothing.
    static constexpr int32 npos = -1;

    CString() = default;

    /// A copy of the text up to its zero byte. Null gives an empty string.
    CString( const char* pText );

    /// A copy of Size bytes. Null gives an empty string.
    CString( const char* pData, uint32 Size );

    /// A copy of the characters. Explicit, because it allocates.
    explicit CString( CZanStringView View );
    explicit CString( const std::string& Text ) : _Text( Text ) {}
    explicit CString( std::string&& Text ) : _Text( std::move( Text ) ) {}

    /// A moved-from string is empty, but for one that is moved to itself, which stays as it is.
    CString( const CString& ) = default;
    CString( CString&& Other ) noexcept = default;
    CString& operator=( const CString& ) = default;
    CString& operator=( CString&& Other ) noexcept;

    /// View may look at this string.
    CString& operator=( CZanStringView View );
    CString& operator=( const char* pText ) { return *this = CZanStringView( pText ); }

    bool IsEmpty() const { return _Text.empty(); }
    int32 GetSize() const { return static_cast<int32>( _Text.size() ); }
    const char* GetCharPtr() const { return _Text.c_str(); } ///< Never null, terminated.
    const std::string& GetString() const { return _Text; }
    operator CZanStringView() const { return CZanStringView::FromNullTerminated( GetCharPtr(), GetSize() ); }

    /// Requires 0 <= Index < GetSize().
    char operator[]( int32 Index ) const { return _Text[ static_cast<size_t>( Index ) ]; }

    void Swap( CString& Other ) noexcept { _Text.swap( Other._Text ); }
    void Clear() { _Text.clear(); }
    void Reserve( int32 Size ) { _Text.reserve( static_cast<size_t>( Size ) ); }

    /// View may look at this string.
    CString& operator+=( CZanStringView View );
    CString& operator+=( char Char );

    /// Inserts before Position; View may look at this string. Requires 0 <= Position <= GetSize(), and throws
    /// std::out_of_range otherwise.
    CString& Insert( int32 Position, CZanStringView View );
    CString& Insert( int32 Position, int32 Count, char Char );

    bool StartsWith( CZanStringView Prefix ) const;
    bool EndsWith( CZanStringView Suffix ) const;

    /// The last position of Char at or before Pos, or npos. A negative Pos, and one past the end, means the
    /// last character.
    int32 FindLast( char Char, int32 Pos = -1 ) const;

    /// The characters from Start up to, not including, the position End, but no further than the first zero
    /// byte among them. Any arguments: both are cut to the size, and what ends before it starts is empty.
    CString GetSubstring( int32 Start, int32 End ) const;

private:
    std::string _Text;
};

inline CString::CString( const char* pText ) : _Text( pText != nullptr ? pText : "" ) {}

inline CString::CString( const char* pData, uint32 Size )
    : _Text( pData != nullptr ? pData : "", pData != nullptr ? Size : 0 )
{}

inline CString::CString( CZanStringView View )
    : CString( View.GetData(), static_cast<uint32>( View.GetSize() ) )
{}

inline CString& CString::operator=( CString&& Other ) noexcept
{
    if ( this != &Other ) // the standard string would be emptied
    {
        _Text = std::move( Other._Text );
    }
    return *this;
}

inline CString& CString::operator+=( CZanStringView View )
{
    _Text.append( View.GetData(), static_cast<size_t>( View.GetSize() ) );
    return *this;
}

inline CString& CString::operator+=( char Char )
{
    _Text += Char;
    return *this;
}

inline CString CString::GetSubstring( int32 Start, int32 End ) const
{
    const int32 First = std::max( std::min( Start, GetSize() ), 0 );
    const int32 Last = std::max( std::min( End, GetSize() ), First );
    const CZanStringView Range = CZanStringView( *this ).GetSubstring( First, Last );
    const int32 ZeroByte = Range.Find( '\0' );
    return CString( Range.GetData(), static_cast<uint32>( ZeroByte >= 0 ? ZeroByte : Range.GetSize() ) );
}

inline void swap( CString& Left, CString& Right ) noexcept { Left.Swap( Right ); }

inline bool operator==( const CString& Left, const CString& Right )
{
    return Left.GetString() == Right.GetString();
}

inline bool operator==( const CString& Left, CZanStringView Right )
{
    return Left.GetSize() == Right.GetSize() &&
           NZanStringView::NDetail::CompareBytes( Left.GetCharPtr(), Right.GetData(), Right.GetSize() ) == 0;
}

/// Compares as C strings, up to the first zero byte of either side. Null compares as empty.
inline bool operator==( const CString& Left, const char* pRight )
{
    return std::strcmp( Left.GetCharPtr(), pRight != nullptr ? pRight : "" ) == 0;
}

namespace NZanString::NDetail
{
inline CZanStringView ViewOf( const char& Char ) { return CZanStringView( &Char, 1 ); }

inline CString Concatenate( CZanStringView Left, CZanStringView Right )
{
    CString Result;
    Result.Reserve( Left.GetSize() + Right.GetSize() );
    Result += Left;
    Result += Right;
    return Result;
}

// Both change the operand before they move it away: the other one may look at it.

inline CString Append( CString& Left, CZanStringView Right )
{
    Left += Right;
    return std::move( Left );
}

inline CString Prepend( CZanStringView Left, CString& Right )
{
    Right.Insert( 0, Left );
    return std::move( Right );
}
} // namespace NZanString::NDetail

// Concatenation. A temporary string lends the result its buffer, the left one first, so that a chain of sums
// grows one buffer; null text adds nothing.

inline CString operator+( const CString& Left, const CString& Right )
{
    return NZanString::NDetail::Concatenate( Left, Right );
}

inline CString operator+( const CString& Left, CString&& Right )
{
    return NZanString::NDetail::Prepend( Left, Right );
}

inline CString operator+( const CString& Left, CZanStringView Right )
{
    return NZanString::NDetail::Concatenate( Left, Right );
}

inline CString operator+( const CString& Left, const char* pRight )
{
    return NZanString::NDetail::Concatenate( Left, pRight );
}

inline CString operator+( const CString& Left, char Right )
{
    return NZanString::NDetail::Concatenate( Left, NZanString::NDetail::ViewOf( Right ) );
}

inline CString operator+( CString&& Left, const CString& Right )
{
    return NZanString::NDetail::Append( Left, Right );
}

inline CString operator+( CString&& Left, CString&& Right )
{
    return NZanString::NDetail::Append( Left, Right );
}

inline CString operator+( CString&& Left, CZanStringView Right )
{
    return NZanString::NDetail::Append( Left, Right );
}

inline CString operator+( CString&& Left, const char* pRight )
{
    return NZanString::NDetail::Append( Left, pRight );
}

inline CString operator+( CString&& Left, char Right )
{
    return NZanString::NDetail::Append( Left, NZanString::NDetail::ViewOf( Right ) );
}

inline CString operator+( CZanStringView Left, const CString& Right )
{
    return NZanString::NDetail::Concatenate( Left, Right );
}

inline CString operator+( CZanStringView Left, CString&& Right )
{
    return NZanString::NDetail::Prepend( Left, Right );
}

inline CString operator+( const char* pLeft, const CString& Right )
{
    return NZanString::NDetail::Concatenate( pLeft, Right );
}

inline CString operator+( const char* pLeft, CString&& Right )
{
    return NZanString::NDetail::Prepend( pLeft, Right );
}

inline CString operator+( char Left, const CString& Right )
{
    return NZanString::NDetail::Concatenate( NZanString::NDetail::ViewOf( Left ), Right );
}

inline CString operator+( char Left, CString&& Right )
{
    return NZanString::NDetail::Prepend( NZanString::NDetail::ViewOf( Left ), Right );
}
