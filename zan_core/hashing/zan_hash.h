#pragma once

#include "zan_core/text/zan_string_view.h"
#include "zan_core/zan_types.h"

#include <bit>
#include <concepts>
#include <cstring>
#include <type_traits>
#include <typeindex> // the lightest home of std::hash

class CString;

/// The library's hash of values: MurmurHash3 (Austin Appleby), x86 32-bit variant, seed 0. Unsalted, so that
/// one input gives one value in every run; not for use against an attacker who chooses the keys. All
/// functions are pure and may be called from any thread.
///
/// A type takes part by a function ZanHash( const T& ) beside it, found by its argument. Values that compare
/// equal have to hash equal; values of different types that compare equal mostly do not:
///
///     uint32 ZanHash( const SCell& Cell ) { return ZanHashCombine( Cell._Column, Cell._Row ); }

// --- Bytes and text ------------------------------------------------------------------------------------

/// The hash of Length bytes. A Length of 0 or less hashes as no bytes.
uint32 ZanHash( const void* pData, int32 Length );

/// Text hashes by its characters, whatever holds them. A CString comes here as a view. Null is empty text.
inline uint32 ZanHash( CZanStringView Text ) { return ZanHash( Text.GetData(), Text.GetSize() ); }
inline uint32 ZanHash( const char* pText ) { return ZanHash( CZanStringView( pText ) ); }
inline uint32 ZanCStringHash( CZanStringView Text ) { return ZanHash( Text ); }

/// Bytes that arrive in pieces. However they are cut, they hash as they would in one piece.
///
///     SZanHashStream Stream;
///     Stream.Feed( Header.GetData(), Header.GetSize() );
///     Stream.Feed( Body.GetData(), Body.GetSize() );
///     const uint32 Hash = Stream.Finalise();  // and the stream is fresh again
struct SZanHashStream
{
    /// A Length of 0 or less feeds nothing.
    void Feed( const void* pData, int32 Length );

    /// The sizeof( T ) bytes of the object, padding included.
    template <typename T>
    void FeedObject( const T& Object );

    /// The hash of all that was fed since the start or the last call.
    uint32 Finalise();

    uint32 _Hash = 0;
    uint32 _Carry =
        0; // low two bits: how many bytes wait for a block; the bytes themselves from the top down
    uint32 _Total = 0; // bytes fed
};

namespace NZanHash::NDetail
{
static_assert( std::endian::native == std::endian::little, "blocks are read as little-endian words" );

constexpr uint32 ScrambleBlock( uint32 Block ) { return std::rotl( Block * 0xCC9E2D51u, 15 ) * 0x1B873593u; }

constexpr uint32 MixBlock( uint32 Hash, uint32 Block )
{
    return std::rotl( Hash ^ ScrambleBlock( Block ), 13 ) * 5 + 0xE6546B64u;
}

constexpr uint32 Finalise( uint32 Hash, uint32 Total )
{
    Hash ^= Total;
    Hash = ( Hash ^ ( Hash >> 16 ) ) * 0x85EBCA6Bu;
    Hash = ( Hash ^ ( Hash >> 13 ) ) * 0xC2B2AE35u;
    return Hash ^ ( Hash >> 16 );
}

/// As many whole blocks, 0 to 4 of them, as a small object has: unrolled where it is used.
template <size_t Size>
uint32 MixWholeBlocks( uint32 Hash, const unsigned char* pBytes )
{
    for ( size_t i = 0; i + 4 <= Size; i += 4 )
    {
        uint32 Block = 0;
        std::memcpy( &Block, pBytes + i, 4 );
        Hash = MixBlock( Hash, Block );
    }
    return Hash;
}

template <typename T>
inline uint32 HashObject( const T& Object )
{
    constexpr size_t Size = sizeof( T ); // NOLINT(bugprone-sizeof-expression): of a pointer, itself
    if constexpr ( Size <= 16 )
    {
        const unsigned char* pBytes = reinterpret_cast<const unsigned char*>( &Object );
        uint32 Hash = MixWholeBlocks<Size>( 0, pBytes );
        if constexpr ( Size % 4 != 0 )
        {
            uint32 Tail = 0;
            std::memcpy( &Tail, pBytes + Size / 4 * 4, Size % 4 );
            Hash ^= ScrambleBlock( Tail );
        }
        return Finalise( Hash, Size );
    }
    else
    {
        return ZanHash( static_cast<const void*>( &Object ), static_cast<int32>( Size ) );
    }
}

template <typename T>
concept CCharPointer = std::is_pointer_v<T> && std::is_same_v < std::remove_cv_t<std::remove_pointer_t<T>>,
char > ;

template <typename T>
concept CScalarByBytes = std::is_integral_v<T> || std::is_enum_v<T> || std::is_null_pointer_v<T> ||
    ( std::is_pointer_v<T> && !CCharPointer<T> );

/// The standard library's strings and views, known by their shape so that their headers stay out of this one.
template <typename T>
concept CCharRange =
    std::is_class_v<T> && !std::is_convertible_v<const T&, CZanStringView> && requires( const T& Text )
{
    {
        Text.data()
        } -> std::same_as<const char*>;
    {
        Text.size()
        } -> std::same_as<size_t>;
};

/// std::unique_ptr, likewise.
template <typename T>
concept CUniquePointer = std::is_class_v<T> && requires( const T& Owner )
{
    typename T::deleter_type;
    {
        Owner.get()
        } -> std::same_as<typename T::pointer>;
} && std::is_pointer_v<typename T::pointer>;

template <typename T>
concept CText = CCharRange<T> || std::is_convertible_v<const T&, CZanStringView>;
} // namespace NZanHash::NDetail

// --- Values --------------------------------------------------------------------------------------------

/// Integers, enumerations and pointers hash by their bytes.
template <NZanHash::NDetail::CScalarByBytes T>
uint32 ZanHash( const T& Value )
{
    return NZanHash::NDetail::HashObject( Value );
}

/// Both zeros, which compare equal, hash alike. A long double, whose bytes include padding, hashes as a
/// double.
template <std::floating_point T>
uint32 ZanHash( const T& Value )
{
    using TBytes = std::conditional_t<std::is_same_v<T, long double>, double, T>;
    return NZanHash::NDetail::HashObject( static_cast<TBytes>( Value ) + TBytes( 0 ) );
}

template <NZanHash::NDetail::CCharRange T>
uint32 ZanHash( const T& Text )
{
    return ZanHash( static_cast<const void*>( Text.data() ), static_cast<int32>( Text.size() ) );
}

/// By the pointer's value, never by what it points to.
template <NZanHash::NDetail::CUniquePointer T>
uint32 ZanHash( const T& Owner )
{
    return NZanHash::NDetail::HashObject( Owner.get() );
}

template <typename T>
concept CZanHashable = requires( const T& Value )
{
    {
        ZanHash( Value )
        } -> std::same_as<uint32>;
};

// --- Function objects ----------------------------------------------------------------------------------

/// Hashes the bytes of the object, whatever its type, so padding has to be equal too. For enumerations and
/// plain structures.
template <typename T>
struct SZanBitWiseHash
{
    uint32 operator()( const T& Value ) const { return NZanHash::NDetail::HashObject( Value ); }
};

/// Calls ZanHash; what the hash containers use by default. A container of texts is searched with any text,
/// and one of a class type with whatever hashes but does not turn into that class, without making a key of
/// it. A container of numbers, enumerations or pointers converts to the key first: 5 and int64( 5 ) hash
/// apart.
template <typename T>
struct SZanHash
{
    using is_transparent = void;

    /// True for the types that are hashed as they are, beside T itself.
    template <typename TOther>
    static constexpr bool TakesAsIs = std::is_class_v<T>&& CZanHashable<TOther> &&
                                      ( (NZanHash::NDetail::CText<T> && NZanHash::NDetail::CText<TOther>) ||
                                          !std::is_convertible_v<const TOther&, T> );

    uint32 operator()( const T& Value ) const { return ZanHash( Value ); }

    template <typename TOther>
    requires( !std::is_same_v<TOther, T> && TakesAsIs<TOther> ) uint32 operator()( const TOther& Value ) const
    {
        return ZanHash( Value );
    }
};

template <>
struct std::hash<CZanStringView>
{
    size_t operator()( CZanStringView Text ) const { return ZanHash( Text ); }
};

template <>
struct std::hash<CString>
{
    size_t operator()( const CString& Text ) const;
};

// --- Several values ------------------------------------------------------------------------------------

namespace Zan
{
/// The hash of the bytes of all elements in order, as of one block of memory. Texts and other owners hash as
/// the bytes of their handles: for those see ZanHashCombineRange.
template <typename TIterator>
uint32 HashRange( TIterator First, TIterator Last );

/// The hash of the bytes of all arguments in order, under the same rule.
template <typename... T>
uint32 HashMultiple( const T&... Values );
} // namespace Zan

namespace NZanHash::NDetail
{
/// Folds Hash into Seed; the constant is 2^32 divided by the golden ratio.
constexpr uint32 Combine( uint32 Seed, uint32 Hash )
{
    return Seed ^ ( Hash + 0x9E3779B9u + ( Seed << 6 ) + ( Seed >> 2 ) );
}
} // namespace NZanHash::NDetail

/// One hash of several values, each by its own ZanHash. The order counts; one value alone keeps its hash.
template <typename TFirst, typename... TRest>
uint32 ZanHashCombine( const TFirst& First, const TRest&... Rest )
{
    uint32 Seed = ZanHash( First );
    ( ( Seed = NZanHash::NDetail::Combine( Seed, ZanHash( Rest ) ) ), ... );
    return Seed;
}

/// The same over the elements of a range; 0 when there are none.
template <typename TIterator>
uint32 ZanHashCombineRange( TIterator First, TIterator Last )
{
    if ( First == Last )
    {
        return 0;
    }
    uint32 Seed = ZanHash( *First );
    for ( ++First; First != Last; ++First )
    {
        Seed = NZanHash::NDetail::Combine( Seed, ZanHash( *First ) );
    }
    return Seed;
}

template <typename TRange>
uint32 ZanHashCombineRange( const TRange& Range )
{
    uint32 Seed = 0;
    bool bFirst = true;
    for ( const auto& Item : Range )
    {
        const uint32 Hash = ZanHash( Item );
        Seed = bFirst ? Hash : NZanHash::NDetail::Combine( Seed, Hash );
        bFirst = false;
    }
    return Seed;
}

template <typename T>
void SZanHashStream::FeedObject( const T& Object )
{
    const unsigned char* pBytes = reinterpret_cast<const unsigned char*>( &Object );
    if constexpr ( sizeof( T ) % 4 == 0 && sizeof( T ) <= 16 )
    {
        if ( ( _Carry & 3u ) == 0 )
        {
            _Hash = NZanHash::NDetail::MixWholeBlocks<sizeof( T )>( _Hash, pBytes );
            _Total += sizeof( T );
            return;
        }
    }
    Feed( pBytes, static_cast<int32>( sizeof( T ) ) );
}

template <typename TIterator>
uint32 Zan::HashRange( TIterator First, TIterator Last )
{
    SZanHashStream Stream;
    for ( ; First != Last; ++First )
    {
        const auto& Element = *First;
        Stream.FeedObject( Element );
    }
    return Stream.Finalise();
}

template <typename... T>
uint32 Zan::HashMultiple( const T&... Values )
{
    SZanHashStream Stream;
    ( Stream.FeedObject( Values ), ... );
    return Stream.Finalise();
}
