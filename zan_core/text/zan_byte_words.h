#pragma once

#include "zan_core/zan_types.h"

#include <bit>
#include <cstring>

/// Eight characters at a time, in one word.
namespace NZanByteWords
{
constexpr uint64 EachByte = 0x0101010101010101;

/// Eight characters, the first one in the lowest byte.
inline uint64 LoadWord( const void* pBytes )
{
    uint64 Word;
    std::memcpy( &Word, pBytes, sizeof( Word ) );
    return std::endian::native == std::endian::big ? __builtin_bswap64( Word ) : Word;
}

/// Sets the top bit of the first byte that is zero, and perhaps of some behind it; none if no byte is zero.
constexpr uint64 MarkZero( uint64 Word ) { return ( Word - EachByte ) & ~Word & 0x80 * EachByte; }

/// The same for bytes of a value.
constexpr uint64 MarkEqual( uint64 Word, char Char )
{
    return MarkZero( Word ^ static_cast<uint8>( Char ) * EachByte );
}
} // namespace NZanByteWords
