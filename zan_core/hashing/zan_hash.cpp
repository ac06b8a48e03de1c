#include "zan_core/hashing/zan_hash.h"

#include "zan_core/text/zan_string.h"

using namespace NZanHash::NDetail;

uint32 ZanHash( const void* pData, int32 Length )
{
    if ( Length <= 0 )
    {
        return Finalise( 0, 0 );
    }
    const unsigned char* pBytes = static_cast<const unsigned char*>( pData );
    uint32 Hash = 0;
    int32 Remaining = Length;
    for ( ; Remaining >= 4; Remaining -= 4, pBytes += 4 )
    {
        Hash = MixWholeBlocks<4>( Hash, pBytes );
    }
    if ( Remaining > 0 )
    {
        uint32 Tail = 0;
        std::memcpy( &Tail, pBytes, static_cast<size_t>( Remaining ) );
        Hash ^= ScrambleBlock( Tail );
    }
    return Finalise( Hash, static_cast<uint32>( Length ) );
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
            _Hash = MixWholeBlocks<4>( _Hash, pBytes );
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
