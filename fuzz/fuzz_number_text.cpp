#include "fuzz/fuzz_target.h"
#include "zan_core/numerics/zan_fixed_point.h"
#include "zan_core/text/zan_charconv.h"

#include <cstring>

namespace
{
/// What is written is read back, whole.
template <typename T, typename... TBase>
size_t CheckValue( T Value, TBase... Base )
{
    char Buffer[ 65 ];
    const auto Written = NZanStringUtils::to_chars( Buffer, Buffer + sizeof( Buffer ), Value, Base... );
    Require( Written.ec == std::errc() );
    T Back = T();
    const auto Read = NZanStringUtils::from_chars( Buffer, Written.ptr, Back, Base... );
    Require( Read.ec == std::errc() && Read.ptr == Written.ptr && Back == Value );
    return static_cast<size_t>( Written.ptr - Buffer );
}

/// What is read stays within the text, and is written in no more characters, but for a zero before a point.
template <typename T, typename... TBase>
void CheckText( const char* pFirst, const char* pLast, TBase... Base )
{
    T Value = T( 77 );
    const auto Read = NZanStringUtils::from_chars( pFirst, pLast, Value, Base... );
    Require( Read.ptr >= pFirst && Read.ptr <= pLast );
    if ( Read.ec != std::errc() )
    {
        Require( Value == T( 77 ) );
        return;
    }
    Require( CheckValue( Value, Base... ) <= static_cast<size_t>( Read.ptr - pFirst ) + 1 );
}
} // namespace

// Any bytes as text of numbers, and as the numbers themselves.
extern "C" int LLVMFuzzerTestOneInput( const uint8_t* pData, size_t Size )
{
    const char* const pFirst = reinterpret_cast<const char*>( pData );
    CheckText<int64>( pFirst, pFirst + Size );
    CheckText<uint64>( pFirst, pFirst + Size );
    CheckText<CFixedPoint>( pFirst, pFirst + Size );
    if ( Size == 0 )
    {
        return 0;
    }
    const int32 Base = pData[ 0 ] % 35 + 2;
    CheckText<int64>( pFirst + 1, pFirst + Size, Base );
    CheckText<uint64>( pFirst + 1, pFirst + Size, Base );

    uint64 Bits = 0;
    std::memcpy( &Bits, pData, Size < sizeof( Bits ) ? Size : sizeof( Bits ) );
    CheckValue( Bits );
    CheckValue( static_cast<int64>( Bits ) );
    CheckValue( Bits, Base );
    CheckValue( static_cast<int64>( Bits ), Base );
    CheckValue( CFixedPoint::CreateFixedWithUnderlyingValue( static_cast<int64>( Bits ) ) );
    return 0;
}
