#include "zan_core/hashing/zan_hash.h"

#include "zan_core/text/zan_string.h"

using namespace NZanHash::NDetail;

namespace
{
uint32 ReadBlock( const unsigned char* pBytes )
{
    uint32 Block;
    std::memcpy( &Block, pBytes, 4 );
    return Block;
}

/// The bytes behind the last whole block, Length % 4 of them and at least one, without a branch on how many:
/// nothing is harder to predict in texts.
uint32 ReadTail( const unsigned char* pBytes, uint32 Length )
{
    if ( Length >= 4 ) [[likely]]
    {
        const uint64 LastBytes = ReadBlock( pBytes + Length - 4 );
        return static_cast<uint32>( LastBytes >> ( 8 * ( 4 - Length % 4 ) ) );
    }
    const uint32 Middle = Length / 2; // the first or the last one too when there are fewer than 3
    return pBytes[ 0 ] | static_cast<uint32>( pBytes[ Middle ] ) << ( 8 * Middle ) |
           static_cast<uint32>( pBytes[ Length - 1 ] ) << ( 8 * ( Length - 1 ) );
}
} // namespace

uint32 ZanHash( const void* pData, int32 Length )
{
    if ( Length <= 0 )
    {
        return Finalise( 0, 0 );
    }
    const unsigned char* const pBytes = static_cast<const unsigned char*>( pData );
    const uint32 Size = static_cast<uint32>( Length );
    const unsigned char* const pTail = pBytes + ( Size - Size % 4 );
    uint32 Hash = 0;
    for ( const unsigned char* pBlock = pBytes; pBlock != pTail; pBlock += 4 )
    {
        Hash = MixBlock( Hash, ReadBlock( pBlock ) );
    }
    if ( Size % 4 != 0 )
    {
        Hash ^= ScrambleBlock( ReadTail( pBytes, Size ) );
    }
    return Finalise( Hash, Size );
}

void SZanHashStream::Feed( const void* pData, int32 Length )
{
    if ( Length <= 0 )
    {
        return;
    }
    const unsigned char* pBytes = static_cast<const unsigned char*>( pData );
    const unsigned char* const pEnd = pBytes + Length;
    uint32 Carry = _Carry;
    uint32 CarryCount = _Carry & 3u;
    _Total += static_cast<uint32>( Length );

    // The newest byte enters at the top and pushes the others down; after four the count is pushed out.
    const auto ShiftIn = [ &Carry, &CarryCount ]( unsigned char Byte ) {
        Carry = ( Carry >> 8 ) | ( static_cast<uint32>( Byte ) << 24 );
        ++CarryCount;
    };

    if ( CarryCount != 0 && static_cast<uint32>( Length ) >= 4 - CarryCount )
    {
        while ( CarryCount < 4 )
        {
            ShiftIn( *pBytes++ );
        }
        _Hash = MixBlock( _Hash, Carry );
        CarryCount = 0;
    }
    if ( CarryCount == 0 )
    {
        for ( ; pEnd - pBytes >= 4; pBytes += 4 )
        {
            _Hash = MixBlock( _Hash, ReadBlock( pBytes ) );
        }
    }
    while ( pBytes != pEnd )
    {
        ShiftIn( *pBytes++ );
    }
    _Carry = ( Carry & ~0xFFu ) | CarryCount;
}

uint32 SZanHashStream::Finalise()
{
    const uint32 CarryCount = _Carry & 3u;
    if ( CarryCount != 0 )
    {
        _Hash ^= ScrambleBlock( _Carry >> ( 8 * ( 4 - CarryCount ) ) );
    }
    const uint32 Result = NZanHash::NDetail::Finalise( _Hash, _Total );
    *this = SZanHashStream();
    return Result;
}

size_t std::hash<CString>::operator()( const CString& Text ) const { return ZanHash( Text ); }
