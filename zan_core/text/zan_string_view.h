#pragma once

#include "zan_core/zan_types.h"

#include <cstring>

/// A pointer to characters that somebody else owns, their number, and what is known of the byte behind them.
/// Pass it by value wherever text is only read; text that is kept goes into a CString. Characters are opaque
/// bytes, zero included, and order as unsigned bytes. Valid as long as the characters are.
///
/// Whether a zero byte follows is never measured but carried along from how the view came to be: measured
/// text and CStrings are terminated, and cutting the tail off ends that. So a terminated view can be handed
/// to a C interface without a copy.
///
///     CZanStringView Path = "root/child";
///     Path.GetSubstring( Path.ReverseFind( '/' ) + 1 );  // "child", still terminated
class CZanStringView
{
public:
    /// A null view: empty, without data, and not terminated.
    constexpr CZanStringView() = default;

    /// The text up to its zero byte, less than 2^31 characters. Null gives a null view.
    constexpr CZanStringView( const char* pText );

    /// Size characters, not terminated as far as the view knows. Requires 0 <= Size.
    constexpr CZanStringView( const char* pData, int32 Size );

    /// Size characters of which the caller knows that pData[ Size ] is a zero byte. Null gives a null view.
    static constexpr CZanStringView FromNullTerminated( const char* pData, int32 Size );

    constexpr bool IsEmpty() const { return _Size == 0; }
    constexpr int32 GetSize() const { return _Size; }
    constexpr const char* GetData() const { return _pData; }
    constexpr const char* GetIterStart() const { return _pData; }
    constexpr const char* GetIterEnd() const { return _pData + _Size; }

    /// True when a zero byte is known to follow the last character.
    constexpr bool IsNullTerminated() const { return !_bMayLackTerminator; }

    /// Requires 0 <= Index < GetSize().
    constexpr char operator[]( int32 Index ) const { return _pData[ Index ]; }

    /// Both require 0 <= Count <= GetSize().
    constexpr void RemovePrefix( int32 Count );
    constexpr void RemoveSuffix( int32 Count );

    constexpr void Swap( CZanStringView& Other );

    /// The characters from Start up to, not including, the position End. Requires 0 <= Start <= End <=
    /// GetSize().
    constexpr CZanStringView GetSubstring( int32 Start ) const { return GetSubstring( Start, _Size ); }
    constexpr CZanStringView GetSubstring( int32 Start, int32 End ) const;

    /// Negative, zero or positive as this sorts before, with or behind Other. A prefix sorts first.
    constexpr int32 Compare( CZanStringView Other ) const;

    /// The position of the first or last occurrence, or -1. An empty text is found at 0, or at the end.
    /// At worst the product of the sizes.
    constexpr int32 Find( CZanStringView Text ) const;
    constexpr int32 Find( char Char ) const;
    constexpr int32 ReverseFind( CZanStringView Text ) const;
    constexpr int32 ReverseFind( char Char ) const;

    /// The position of the first character that occurs in Set, or -1. The cost is the sum of the sizes.
    constexpr int32 FindFirst( CZanStringView Set ) const;
    constexpr int32 FindFirst( const char* pSet ) const { return FindFirst( CZanStringView( pSet ) ); }
    constexpr int32 FindFirst( const char* pSet, int32 Count ) const;
    constexpr int32 FindFirst( char Char ) const { return Find( Char ); }

    /// The position of the last character at or before Pos that occurs in Set, or -1.
    constexpr int32 FindLast( CZanStringView Set, int32 Pos = 2147483647 ) const;
    constexpr int32 FindLast( const char* pSet, int32 Pos = 2147483647 ) const;
    constexpr int32 FindLast( const char* pSet, int32 Count, int32 Pos ) const;
    constexpr int32 FindLast( char Char, int32 Pos = 2147483647 ) const;

private:
    const char* _pData = nullptr;    // null only with a size of 0
    int32 _Size = 0;                 // never negative
    bool _bMayLackTerminator = true; // false: _pData[ _Size ] is known to be zero
};

namespace NZanStringView::NDetail
{
// The library's functions where they may run, and plain loops in constant expressions. Sizes of 0 are allowed
// with null pointers, which the library's functions forbid. Sizes widen by way of uint32, for sign extension
// costs an operation of its own.

constexpr int CompareBytes( const char* pLeft, const char* pRight, int32 Size )
{
    if ( !__builtin_is_constant_evaluated() )
    {
        return Size == 0 ? 0 : std::memcmp( pLeft, pRight, static_cast<uint32>( Size ) );
    }
    for ( int32 i = 0; i < Size; ++i )
    {
        if ( pLeft[ i ] != pRight[ i ] )
        {
            return static_cast<uint8>( pLeft[ i ] ) < static_cast<uint8>( pRight[ i ] ) ? -1 : 1;
        }
    }
    return 0;
}

constexpr const char* FindByte( const char* pFirst, int32 Size, char Char )
{
    if ( !__builtin_is_constant_evaluated() )
    {
        return Size == 0
                   ? nullptr
                   : static_cast<const char*>( std::memchr( pFirst, Char, static_cast<uint32>( Size ) ) );
    }
    for ( int32 i = 0; i < Size; ++i )
    {
        if ( pFirst[ i ] == Char )
        {
            return pFirst + i;
        }
    }
    return nullptr;
}

constexpr const char* FindLastByte( const char* pFirst, int32 Size, char Char )
{
#if defined( _GNU_SOURCE )
    if ( !__builtin_is_constant_evaluated() )
    {
        return Size == 0 ? nullptr
                         : static_cast<const char*>( ::memrchr( pFirst, Char, static_cast<uint32>( Size ) ) );
    }
#endif
    for ( int32 i = Size; i-- > 0; )
    {
        if ( pFirst[ i ] == Char )
        {
            return pFirst + i;
        }
    }
    return nullptr;
}

struct SByteSet
{
    constexpr explicit SByteSet( CZanStringView Set )
    {
        for ( int32 i = 0; i < Set.GetSize(); ++i )
        {
            _bHas[ static_cast<uint8>( Set[ i ] ) ] = true;
        }
    }
    constexpr bool Has( char Char ) const { return _bHas[ static_cast<uint8>( Char ) ]; }

    bool _bHas[ 256 ] = {};
};
} // namespace NZanStringView::NDetail

constexpr CZanStringView::CZanStringView( const char* pText )
    : _pData( pText ), _Size( pText != nullptr ? static_cast<int32>( __builtin_strlen( pText ) ) : 0 ),
      _bMayLackTerminator( pText == nullptr )
{}

constexpr CZanStringView::CZanStringView( const char* pData, int32 Size ) : _pData( pData ), _Size( Size ) {}

constexpr CZanStringView CZanStringView::FromNullTerminated( const char* pData, int32 Size )
{
    CZanStringView View( pData, Size );
    View._bMayLackTerminator = pData == nullptr;
    return View;
}

constexpr void CZanStringView::RemovePrefix( int32 Count )
{
    _pData += Count;
    _Size -= Count;
}

constexpr void CZanStringView::RemoveSuffix( int32 Count )
{
    _Size -= Count;
    _bMayLackTerminator |= Count > 0;
}

constexpr void CZanStringView::Swap( CZanStringView& Other )
{
    const CZanStringView Former = *this;
    *this = Other;
    Other = Former;
}

constexpr CZanStringView CZanStringView::GetSubstring( int32 Start, int32 End ) const
{
    CZanStringView Result( _pData + Start, End - Start );
    Result._bMayLackTerminator = _bMayLackTerminator || End < _Size;
    return Result;
}

constexpr int32 CZanStringView::Compare( CZanStringView Other ) const
{
    const int32 SharedSize = _Size < Other._Size ? _Size : Other._Size;
    const int Order = NZanStringView::NDetail::CompareBytes( _pData, Other._pData, SharedSize );
    if ( Order != 0 ) [[likely]] // what is sorted or searched mostly differs
    {
        return Order;
    }
    return ( _Size > Other._Size ) - ( _Size < Other._Size );
}

constexpr int32 CZanStringView::Find( CZanStringView Text ) const
{
    using namespace NZanStringView::NDetail;
    if ( Text._Size == 0 )
    {
        return 0;
    }
    const char* pCandidate = _pData;
    for ( int32 StartCount = _Size - Text._Size + 1; StartCount > 0; )
    {
        const char* pFound = FindByte( pCandidate, StartCount, Text._pData[ 0 ] );
        if ( pFound == nullptr )
        {
            return -1;
        }
        if ( CompareBytes( pFound + 1, Text._pData + 1, Text._Size - 1 ) == 0 )
        {
            return static_cast<int32>( pFound - _pData );
        }
        StartCount -= static_cast<int32>( pFound + 1 - pCandidate );
        pCandidate = pFound + 1;
    }
    return -1;
}

constexpr int32 CZanStringView::Find( char Char ) const
{
    const char* pFound = NZanStringView::NDetail::FindByte( _pData, _Size, Char );
    const bool bFound = __builtin_expect_with_probability( pFound != nullptr, 1, 0.5 ); // a select, no branch
    return bFound ? static_cast<int32>( pFound - _pData ) : -1;
}

constexpr int32 CZanStringView::ReverseFind( CZanStringView Text ) const
{
    using namespace NZanStringView::NDetail;
    if ( Text._Size == 0 )
    {
        return _Size;
    }
    for ( int32 StartCount = _Size - Text._Size + 1; StartCount > 0; )
    {
        const char* pFound = FindLastByte( _pData, StartCount, Text._pData[ 0 ] );
        if ( pFound == nullptr )
        {
            return -1;
        }
        StartCount = static_cast<int32>( pFound - _pData );
        if ( CompareBytes( pFound + 1, Text._pData + 1, Text._Size - 1 ) == 0 )
        {
            return StartCount;
        }
    }
    return -1;
}

constexpr int32 CZanStringView::ReverseFind( char Char ) const
{
    const char* pFound = NZanStringView::NDetail::FindLastByte( _pData, _Size, Char );
    return pFound != nullptr ? static_cast<int32>( pFound - _pData ) : -1;
}

constexpr int32 CZanStringView::FindFirst( CZanStringView Set ) const
{
    if ( _Size == 0 || Set._Size == 0 )
    {
        return -1;
    }
    const NZanStringView::NDetail::SByteSet Bytes( Set );
    for ( int32 i = 0; i < _Size; ++i )
    {
        if ( Bytes.Has( _pData[ i ] ) )
        {
            return i;
        }
    }
    return -1;
}

constexpr int32 CZanStringView::FindFirst( const char* pSet, int32 Count ) const
{
    return FindFirst( CZanStringView( pSet, Count ) );
}

constexpr int32 CZanStringView::FindLast( CZanStringView Set, int32 Pos ) const
{
    if ( _Size == 0 || Set._Size == 0 )
    {
        return -1;
    }
    const NZanStringView::NDetail::SByteSet Bytes( Set );
    for ( int32 i = Pos < _Size ? Pos : _Size - 1; i >= 0; --i )
    {
        if ( Bytes.Has( _pData[ i ] ) )
        {
            return i;
        }
    }
    return -1;
}

constexpr int32 CZanStringView::FindLast( const char* pSet, int32 Pos ) const
{
    return FindLast( CZanStringView( pSet ), Pos );
}

constexpr int32 CZanStringView::FindLast( const char* pSet, int32 Count, int32 Pos ) const
{
    return FindLast( CZanStringView( pSet, Count ), Pos );
}

constexpr int32 CZanStringView::FindLast( char Char, int32 Pos ) const
{
    const int32 Size = Pos < 0 ? 0 : ( Pos < _Size ? Pos + 1 : _Size );
    return CZanStringView( _pData, Size ).ReverseFind( Char );
}

// Not templates and not hidden friends, so that whatever converts to a view compares with one.

// By reference and inlined early, so that unequal sizes load no pointers.
[[gnu::always_inline]] constexpr bool operator==( const CZanStringView& Left, const CZanStringView& Right )
{
    if ( Left.GetSize() != Right.GetSize() ) [[likely]]
    {
        return false;
    }
    return NZanStringView::NDetail::CompareBytes( Left.GetData(), Right.GetData(), Left.GetSize() ) == 0;
}

// An exact match for text of which both a view and an owning string could be made.
constexpr bool operator==( CZanStringView Left, const char* pRight )
{
    return Left == CZanStringView( pRight );
}
constexpr bool operator<( CZanStringView Left, CZanStringView Right ) { return Left.Compare( Right ) < 0; }
constexpr bool operator<=( CZanStringView Left, CZanStringView Right ) { return Left.Compare( Right ) <= 0; }
constexpr bool operator>( CZanStringView Left, CZanStringView Right ) { return Left.Compare( Right ) > 0; }
constexpr bool operator>=( CZanStringView Left, CZanStringView Right ) { return Left.Compare( Right ) >= 0; }

constexpr const char* begin( CZanStringView View ) { return View.GetIterStart(); }
constexpr const char* end( CZanStringView View ) { return View.GetIterEnd(); }
constexpr void swap( CZanStringView& Left, CZanStringView& Right ) { Left.Swap( Right ); }
