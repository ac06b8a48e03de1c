#include "zan_core/hashing/zan_hash.h"

#include <bit>
#include <cstring>

namespace
{
uint32 ScrambleBlock( uint32 Block ) { return std::rotl( Block * 0xCC9E2D51u, 15 ) * 0x1B873593u; }

uint32 Finalise( uint32 Hash )
{
    Hash = ( Hash ^ ( Hash >> 16 ) ) * 0x85EBCA6Bu;
    Hash = ( Hash ^ ( Hash >> 13 ) ) * 0xC2B2AE35u;
    return Hash ^ ( Hash >> 16 );
}
} // namespace

uint32 ZanHash( const void* pData, int32 Length )
{
    static_assert( std::endian::native == std::endian::little, "blocks are read as little-endian words" );
    if ( Length <= 0 )
    {
        return Finalise( 0 );
    }

    const unsigned char* pBytes = static_cast<const unsigned char*>( pData );
    uint32 Hash = 0;
    int32 Remaining = Length;
    for ( ; Remaining >= 4; Remaining -= 4, pBytes += 4 )
    {
        uint32 Block = 0;
        std::memcpy( &Block, pBytes, 4 );
        Hash = std::rotl( Hash ^ ScrambleBlock( Block ), 13 ) * 5 + 0xE6546B64u;
    }
    if ( Remaining > 0 )
    {
        uint32 Tail = 0;
        std::memcpy( &Tail, pBytes, static_cast<size_t>( Remaining ) );
        Hash ^= ScrambleBlock( Tail );
    }
    return Finalise( Hash ^ static_cast<uint32>( Length ) );
}
