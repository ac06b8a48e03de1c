#pragma once

#include "zan_core/zan_types.h"

#include <bit>
#include <concepts>
#include <limits>
#include <type_traits>

/// Bit operations under their usual names, for constant expressions and for every unsigned type from 8 to 64
/// bits; byteswap is for all integers. At run time each is the processor's instruction where the target has
/// one. Counts and widths are int.
namespace ZanStd
{
using std::bit_cast;
using std::bit_floor;
using std::countl_one;
using std::countl_zero;
using std::countr_one;
using std::countr_zero;
using std::popcount;
using std::rotl; // a negative count rotates the other way, in rotr too
using std::rotr;

/// True when exactly one bit is set. Counts no bits, for which the usual x86-64 has no instruction.
template <std::unsigned_integral T>
constexpr bool has_single_bit( T Value )
{
    return Value != 0 && ( Value & ( Value - 1 ) ) == 0;
}

/// 1 plus the index of the highest bit that is set, 0 for 0.
template <std::unsigned_integral T>
constexpr int bit_width( T Value )
{
    return std::numeric_limits<T>::digits - countl_zero( Value );
}

/// The smallest power of two that is not below Value, or 0 when it does not fit the type.
template <std::unsigned_integral T>
constexpr T bit_ceil( T Value )
{
    return static_cast<T>( Value < 2 ? 1 : T{ 2 } << ( bit_width( static_cast<T>( Value - 1 ) ) - 1 ) );
}

/// The bytes in reverse order.
template <std::integral T>
constexpr T byteswap( T Value )
{
    static_assert( sizeof( T ) <= sizeof( uint64 ), "there is no wider byte swap" );
    if constexpr ( sizeof( T ) == 8 )
    {
        return static_cast<T>( __builtin_bswap64( static_cast<uint64>( Value ) ) );
    }
    else if constexpr ( sizeof( T ) == 4 )
    {
        return static_cast<T>( __builtin_bswap32( static_cast<uint32>( Value ) ) );
    }
    else if constexpr ( sizeof( T ) == 2 )
    {
        return static_cast<T>( __builtin_bswap16( static_cast<uint16>( Value ) ) );
    }
    else
    {
        return Value;
    }
}
} // namespace ZanStd

/// The older name of the byte swap.
template <std::integral T>
constexpr T ZanReverseBytes( T Value )
{
    return ZanStd::byteswap( Value );
}
