#pragma once

#include "zan_core/text/zan_string_view.h"
#include "zan_core/zan_types.h"

/// FNV-1a (Fowler, Noll, Vo), 32 bits, for names: usable in constant expressions, so that a name written in
/// the source costs nothing at run time, and in a form that is blind to ASCII case. Slower than ZanHash on
/// long text.
///
///     case FNV1a::HashIgnoreCase( "repeat" ): // equals the hash of "Repeat"
namespace FNV1a
{
namespace NDetail
{
constexpr uint32 Start = 0x811C9DC5u;

constexpr uint32 MixByte( uint32 Hash, uint8 Byte ) { return ( Hash ^ Byte ) * 16777619u; }

constexpr uint8 FoldCase( uint8 Byte )
{
    return Byte >= 'A' && Byte <= 'Z' ? static_cast<uint8>( Byte + 32 ) : Byte;
}
} // namespace NDetail

/// The hash of Length bytes. A Length of 0 or less hashes as no bytes.
template <typename TByte>
constexpr uint32 Hash( const TByte* pData, int32 Length )
{
    static_assert( sizeof( TByte ) == 1, "one byte is mixed at a time" );
    uint32 Result = NDetail::Start;
    for ( int32 i = 0; i < Length; ++i )
    {
        Result = NDetail::MixByte( Result, static_cast<uint8>( pData[ i ] ) );
    }
    return Result;
}

/// The text up to its zero byte, which does not count.
constexpr uint32 HashNullTerminated( const char* pText )
{
    const CZanStringView Text( pText );
    return Hash( Text.GetData(), Text.GetSize() );
}

/// As if the letters A to Z were lower case. Bytes beyond ASCII stay as they are.
constexpr uint32 HashIgnoreCase( CZanStringView Text )
{
    uint32 Result = NDetail::Start;
    for ( int32 i = 0; i < Text.GetSize(); ++i )
    {
        Result = NDetail::MixByte( Result, NDetail::FoldCase( static_cast<uint8>( Text[ i ] ) ) );
    }
    return Result;
}
} // namespace FNV1a
