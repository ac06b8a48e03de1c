#pragma once

#include "zan_core/memory/zan_allocator.h"
#include "zan_core/zan_expects.h"
#include "zan_core/zan_types.h"

#include <bit>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <type_traits>
#include <utility>

/// The hash table below every hash container: Robin Hood hashing (Pedro Celis, 1986) with linear probing and
/// backward-shift removal. Use the containers; take the table itself only where the payload is neither a key
/// nor a key and a value.
///
/// One block of slots. Hash & _Mask is an entry's home bucket; the entry stands there or a few slots behind.
/// Eight buckets, their overflow run, and the end marker, holding keys a to f with homes 1 1 2 3 7 7:
///
///     slot        0   1   2   3   4   5   6   7 | 8   9  10  11  12 | 13
///     payload     .   a   b   c   d   .   .   e | f   .   .   .   . |
///     _Distance   0   1   2   2   2   0   0   1 | 2   0   0   0   0 | 255
///                 buckets, 2^Bits               | overflow run      | end marker
///
/// _Distance is 0 for an empty slot, whose payload is raw memory (but see below), and otherwise 1 more than
/// the slots between home and entry. Invariants, which CheckInvariants() verifies:
///
///  1. No distance exceeds _MaxDistance = Bits + 2. So the last entry that can be stands two slots before the
///     marker; probes and shifts stop at the empty slot in between, need no test for the end, and never wrap.
///  2. Along a run without empty slots the homes ascend: distances grow by at most 1 from slot to slot, and
///     an entry that is not in its home bucket has a live entry before it.
///  3. _Size counts the non-zero distances before the marker.
///
/// From 2 follows how a lookup runs. At the home bucket, with d = 1, 2, ... along the slots, first come
/// entries of earlier homes, whose distance exceeds d; then those of this home, whose distance is d; then
/// smaller ones. The first kind is a prefix, so that the first two slots are passed by counting comparisons,
/// without a branch that would be mispredicted often; only entries of the second kind are compared by key.
///
/// An insertion puts its entry at the first slot whose distance is below d. The entry that it pushes out
/// carries on along the slots under the same rule: to an empty slot, or to the first of a later home, which
/// it pushes out in turn. When a distance would exceed the bound, the new entry is taken back out, the block
/// doubles, and the new entry goes in again; that may happen in the middle of a rebuild, which then goes on
/// into the newest block. A removal shifts the entries behind it back by one, up to an empty slot or an entry
/// in its home bucket, so there are no tombstones.
///
/// A table without a block stands on a block of two slots, empty and marker, shared by all and never written:
/// lookups and iteration need no test for it, and its bound of 0 makes the first insertion grow.
///
/// A payload aligned to 8 or more leaves a gap in its slot, where the hash is kept for rebuilds.
///
/// The block of small payloads that are bytes starts as zeros, so that an empty slot holds a value as well,
/// and removals leave one. A lookup of a number then compares the keys of the first slots at once, live or
/// not, and looks at a distance only to confirm what it found: neither hit nor miss depends on how far the
/// probe went.

namespace NZanRobinHoodTable
{
constexpr uint8 EndMarker = 255;

/// One slot. The payload is raw memory unless the distance says otherwise.
template <typename T, bool bStoresHash = ( alignof( T ) >= 8 )>
struct SEntry
{
    using TPayload = T;

    T* AccessPayload() { return std::launder( reinterpret_cast<T*>( _Payload ) ); }
    const T* GetPayload() const { return std::launder( reinterpret_cast<const T*>( _Payload ) ); }

    uint32 _Hash;
    uint8 _Distance;
    alignas( T ) unsigned char _Payload[ sizeof( T ) ];
};

template <typename T>
struct SEntry<T, false>
{
    using TPayload = T;

    T* AccessPayload() { return std::launder( reinterpret_cast<T*>( _Payload ) ); }
    const T* GetPayload() const { return std::launder( reinterpret_cast<const T*>( _Payload ) ); }

    uint8 _Distance;
    alignas( T ) unsigned char _Payload[ sizeof( T ) ];
};

static_assert( sizeof( SEntry<int32> ) == 8, "small payloads keep small slots" );
static_assert( sizeof( SEntry<int64> ) == 16, "the hash lies in the gap before the payload" );
static_assert( std::is_trivial_v<SEntry<int64>>, "a block of slots is made by setting distances only" );

/// Walks the live entries in slot order. True unless it is the end. TEntry is const where the payload may not
/// be changed.
template <typename TEntry>
class CIterator
{
    using TPayload = typename TEntry::TPayload;

public:
    using value_type = TPayload;
    using difference_type = std::ptrdiff_t;
    using reference = std::conditional_t<std::is_const_v<TEntry>, const TPayload&, TPayload&>;
    using pointer = std::remove_reference_t<reference>*;

    CIterator() = default;
    explicit CIterator( TEntry* pEntry ) : _pEntry( pEntry ) {}
    operator CIterator<const TEntry>() const requires( !std::is_const_v<TEntry> )
    {
        return CIterator<const TEntry>( _pEntry );
    }

    /// To exactly bool, so that an iterator is not taken for a number.
    template <typename TBool>
    requires( std::is_same_v<TBool, bool> ) operator TBool() const { return _pEntry->_Distance != EndMarker; }

    /// All three require an entry.
    reference operator*() const { return *operator->(); }
    pointer operator->() const;
    CIterator& operator++();
    CIterator operator++( int );

    friend bool operator==( CIterator Left, CIterator Right ) { return Left._pEntry == Right._pEntry; }

    TEntry* GetEntry() const { return _pEntry; }

private:
    TEntry* _pEntry = nullptr; // a slot or the end marker
};

/// What a conditional insertion found or made. True when it inserted.
template <typename TIterator>
struct SEmplaceResult
{
    operator bool() const { return _bInserted; }

    TIterator _Iterator;
    bool _bInserted;
};

struct SInfo
{
    int32 _Size;
    int32 _Buckets;     // 0 without a block
    int32 _MemoryUsage; // bytes of the table object and its block
};

/// The payload is the key.
struct SPayloadIsKey
{
    template <typename T>
    static const T& GetKey( const T& Payload )
    {
        return Payload;
    }
};

/// Significant bits of what a block for Count entries takes, plus Extra, and at least 3.
constexpr int32 CalcBits( int64 Count, int32 Extra )
{
    const int32 Bits =
        Count < 2 ? Extra : static_cast<int32>( std::bit_width( static_cast<uint64>( Count - 1 ) ) ) + Extra;
    return Bits < 3 ? 3 : Bits;
}

constexpr int32 CalcSlotCount( int32 Bits ) { return ( 1 << Bits ) + Bits + 3; }

namespace NDetail
{
/// Two slots, empty and marker, and one more, as a lookup that counts the marker as an entry of an earlier
/// home steps past it.
template <typename TEntry>
struct SEmptyBlock
{
    TEntry _Slots[ 3 ];
};

template <typename TEntry>
constexpr SEmptyBlock<TEntry> MakeEmptyBlock()
{
    SEmptyBlock<TEntry> Block = {};
    Block._Slots[ 1 ]._Distance = EndMarker;
    return Block;
}

/// Constant-initialised, so that tables may be used before and after everything else static. Never written.
template <typename TEntry>
inline constinit SEmptyBlock<TEntry> EmptyBlock = MakeEmptyBlock<TEntry>();

/// A first block on the stack, handed out once; everything else comes from the default allocator.
template <typename TEntry>
class CStackBlockAllocator final : public CZanAllocator
{
public:
    void* Allocate( uint64 Size, uint32 Alignment ) override;
    void Free( void* pData ) override;
    bool IsInternalMemory( const void* pData ) const override { return pData == _Buffer; }

private:
    static constexpr size_t BufferSize = 1024 / sizeof( TEntry ) * sizeof( TEntry );

    bool _bTaken = false;
    alignas( TEntry ) unsigned char _Buffer[ BufferSize + 1 ]; // one more, as it may hold no entry at all
};

/// Whether TOther can be looked for among keys of type TKey without making a key of it.
template <typename TKey, typename THash, typename TEqual, typename TOther>
consteval bool IsSearchedAsIs();

/// TEqual, opened to all that compares with a key if it is the default, which compares keys only.
template <typename TKey, typename TEqual>
struct SKeyEqual
{
    /// Whether any two values compare, at the cost of one instruction.
    template <typename TOther>
    static consteval bool ComparesNumbers();

    template <typename TOther>
    bool operator()( const TKey& Key, const TOther& Other ) const;
};

/// Key itself if it is a key or is looked for as it is, and otherwise the key that it converts to.
template <typename TKey, typename THash, typename TEqual, typename TOther>
decltype( auto ) AsKey( TOther&& Key );
} // namespace NDetail

/// What a container of TKey can be asked for.
template <typename TOther, typename TKey, typename THash, typename TEqual>
concept CKeyFor = NDetail::IsSearchedAsIs<TKey, THash, TEqual, std::remove_cvref_t<TOther>>() ||
    std::is_convertible_v<TOther, TKey>;

/// The exponent of a block inside an object that is to hold Count entries.
constexpr int32 CalcInlineBits( int32 Count )
{
    int32 Bits = 3;
    while ( int64( 10 ) << Bits <= int64( 19 ) * Count + 10 )
    {
        ++Bits;
    }
    return Bits;
}
} // namespace NZanRobinHoodTable

/// TKeyOf::GetKey gives the key in a payload, THash the hash of a key, TEqual compares a stored key with the
/// one that is looked for. Lookups take whatever these two take. Memory comes from the allocator passed in,
/// which stays with the table: assignments and swaps exchange contents only. Any insertion or removal
/// invalidates iterators and pointers into the table. Not synchronised; an unchanged table may be read by
/// several threads.
template <typename T, typename TKeyOf, typename THash, typename TEqual>
class CZanRobinHoodTable
{
    static_assert( std::is_empty_v<THash> && std::is_empty_v<TEqual>, "the function objects are not kept" );
    static_assert( std::is_move_constructible_v<T>, "entries move within the block" );

public:
    using SEntry = NZanRobinHoodTable::SEntry<T>;
    using CIterator = NZanRobinHoodTable::CIterator<SEntry>;
    using CConstIterator = NZanRobinHoodTable::CIterator<const SEntry>;
    using SEmplaceResult = NZanRobinHoodTable::SEmplaceResult<CIterator>;

    explicit CZanRobinHoodTable( CZanAllocator* pAllocator = &GetDefaultAllocator() );

    /// On the default allocator unless one is passed.
    CZanRobinHoodTable( const CZanRobinHoodTable& Other ) : CZanRobinHoodTable() { *this = Other; }
    CZanRobinHoodTable( CZanRobinHoodTable&& Other ) noexcept : CZanRobinHoodTable()
    {
        *this = std::move( Other );
    }
    ~CZanRobinHoodTable() { Release(); }

    /// Keeps the allocator and sizes the block by the number of entries, whatever the source's block is.
    CZanRobinHoodTable& operator=( const CZanRobinHoodTable& Other );

    /// Takes over the block when the allocators are the same, and otherwise moves each entry; a failing
    /// allocation then ends the program. Other is empty afterwards.
    CZanRobinHoodTable& operator=( CZanRobinHoodTable&& Other ) noexcept;

    /// Exchanges blocks when the allocators are the same, and otherwise moves each entry.
    void Swap( CZanRobinHoodTable& Other );

    int32 GetSize() const { return _Size; }
    NZanRobinHoodTable::SInfo GetInfo() const;
    CZanAllocator* GetAllocator() const { return _pAllocator; }

    /// The part of the buckets that may be filled before the block doubles. Requires 0 < Factor; what stands
    /// in the table stays where it is.
    float GetMaxLoadFactor() const { return _MaxLoadFactor; }
    void SetMaxLoadFactor( float Factor );

    CIterator begin() { return CIterator( GetFirst() ); }
    CIterator end() { return CIterator( _pEntries + GetEndIndex() ); }
    CConstIterator begin() const { return CConstIterator( GetFirst() ); }
    CConstIterator end() const { return CConstIterator( _pEntries + GetEndIndex() ); }

    static uint32 CalcHash( const auto& Key ) { return static_cast<uint32>( THash()( Key ) ); }

    /// The entry with an equal key, or the end. The second form takes the hash of the key.
    CIterator Find( const auto& Key ) { return CIterator( FindEntry( CalcHash( Key ), Key ) ); }
    CConstIterator Find( const auto& Key ) const
    {
        return CConstIterator( FindEntry( CalcHash( Key ), Key ) );
    }
    CIterator FindHashed( uint32 Hash, const auto& Key ) { return CIterator( FindEntry( Hash, Key ) ); }
    CConstIterator FindHashed( uint32 Hash, const auto& Key ) const
    {
        return CConstIterator( FindEntry( Hash, Key ) );
    }

    /// The payload with an equal key, or null. Saves the test of an iterator.
    T* AccessPayload( const auto& Key );
    const T* GetPayload( const auto& Key ) const;

    /// Inserts T{ Key, Args... } when no entry has an equal key. Hash is that of Key. The arguments may refer
    /// into the table.
    template <typename TKey, typename... TArgs>
    SEmplaceResult Emplace( uint32 Hash, TKey&& Key, TArgs&&... Args );

    /// The same with a payload that Build() makes, which is called only if it is inserted, and must have a
    /// key equal to Key. Build may not use the table.
    template <typename TKey, typename TBuild>
    SEmplaceResult EmplaceBuilt( uint32 Hash, const TKey& Key, TBuild&& Build );

    /// Removes an entry. Gives an iterator to its slot, which holds the entry that followed or is empty.
    CIterator Remove( CConstIterator Position );

    /// Keeps the block.
    void Clear();

    /// Makes room for Count entries. Never shrinks, and does nothing beyond 2^30 buckets.
    void Reserve( int32 Count );

    /// Goes to the block that Reserve( GetSize() ) would have chosen, if that is smaller, and to no block
    /// without entries. Does nothing on memory inside the allocator.
    void ShrinkToFit();

    /// Rebuilds with 2^Bits buckets, or more if the entries need them. Does nothing unless 1 <= Bits <= 30.
    void Rehash( int32 Bits );

    /// For an owner with a block inside: an empty table takes pAllocator for life and starts on pEntries, raw
    /// memory for CalcSlotCount( Bits ) slots that pAllocator knows as internal.
    void StartOnInternalBlock( CZanAllocator* pAllocator, SEntry* pEntries, int32 Bits );

    /// Destroys all entries and lets go of the block.
    void Release();

    /// For self-checks: whether everything is as the head of this file says. Linear.
    bool CheckInvariants() const;

private:
    static constexpr bool bStoresHash = alignof( T ) >= 8;

    // Payloads that are bytes move as bytes, which is cheaper to branch on and leaves nothing to destroy.
    static constexpr bool bIsBytes = std::is_trivially_copyable_v<T>;

    // Whether empty slots hold values as well.
    static constexpr bool bIsZeroed = bIsBytes && sizeof( T ) <= 16 &&
                                      ( std::is_aggregate_v<T> || std::is_trivially_copy_constructible_v<T> );

    static constexpr uint32 PeekCount = 3; // slots whose keys are compared at once

    template <typename TKey>
    static consteval bool Peeks();

    static SEntry* GetEmptyBlock() { return NZanRobinHoodTable::NDetail::EmptyBlock<SEntry>._Slots; }

    struct SProbe
    {
        SEntry* _pEntry;
        uint32 _Distance; // of an entry with this hash at that slot
        bool _bFound;
    };

    bool IsOnEmptyBlock() const { return _pEntries == GetEmptyBlock(); }
    std::ptrdiff_t GetEndIndex() const { return static_cast<std::ptrdiff_t>( _Mask ) + 1 + _MaxDistance; }
    SEntry* GetFirst() const;
    SEntry* GetHome( uint32 Hash ) const { return _pEntries + ( Hash & static_cast<uint32>( _Mask ) ); }

    static const auto& GetKey( const SEntry& Entry ) { return TKeyOf::GetKey( *Entry.GetPayload() ); }
    static uint32 GetHash( const SEntry& Entry );
    static void SetHash( SEntry* pEntry, uint32 Hash );

    /// Both give no distance to pTo.
    static void MovePayload( SEntry* pTo, SEntry* pFrom );
    template <typename TBuild>
    static void BuildPayload( SEntry* pTo, uint32 Hash, TBuild&& Build );

    /// Does nothing to what has no destructor: it stays alive.
    static void DestroyPayload( SEntry* pEntry );

    void CopyBlock( const CZanRobinHoodTable& Other, int32 Bits );

    SProbe Probe( uint32 Hash, const auto& Key ) const;
    SProbe ProbeFrom( SEntry* pEntry, uint32 Distance, const auto& Key ) const;
    static uint32 PeekEqual( const SEntry* pHome, const auto& Key );
    SEntry* FindLive( uint32 Hash, const auto& Key ) const;
    SEntry* FindEntry( uint32 Hash, const auto& Key ) const;

    bool IsFullFor( uint32 Distance ) const;
    int32 CalcRoomBits( int32 Count ) const;
    SEntry* AllocateBlock( int32 Bits );
    void TakeBlock( SEntry* pEntries, int32 Bits );
    void FreeBlock( SEntry* pEntries );
    void LeaveBlock();
    void Grow( bool bHomesAscend = true );
    void Rebuild( int32 Bits, bool bHomesAscend );

    template <typename TBuild>
    SEntry* EmplaceFar( SEntry* pSlot, uint32 Distance, uint32 Hash, TBuild&& Build );
    SEntry* InsertAbsent( uint32 Hash, T&& Payload );
    SEntry* InsertDisplacing( SEntry* pSlot, uint32 Distance, uint32 Hash, T&& Payload );
    template <bool bMove>
    void TakeEntries( SEntry* pEntries, int32 Mask, int32 Count, bool bHomesAscend );
    void DestroyEntries();

    SEntry* _pEntries;           // a block of CalcSlotCount( Bits ) slots, or the shared empty block
    int32 _Size = 0;             // live entries
    int32 _Mask = 0;             // 2^Bits - 1, or 0 without a block
    uint8 _MaxDistance = 0;      // Bits + 2, or 0 without a block
    float _MaxLoadFactor = 0.9f; // above 0
    CZanAllocator* _pAllocator;  // not owned, never null
};

// --- Iteration -----------------------------------------------------------------------------------------

template <typename TEntry>
inline auto NZanRobinHoodTable::CIterator<TEntry>::operator->() const -> pointer
{
    static_cast<void>( zan_expects(
        _pEntry != nullptr && _pEntry->_Distance != EndMarker, "access to the end of a hash table" ) );
    if constexpr ( std::is_const_v<TEntry> )
    {
        return _pEntry->GetPayload();
    }
    else
    {
        return _pEntry->AccessPayload();
    }
}

template <typename TEntry>
inline auto NZanRobinHoodTable::CIterator<TEntry>::operator++() -> CIterator&
{
    if ( !zan_expects( _pEntry->_Distance != EndMarker, "a step past the end of a hash table" ) )
    {
        return *this;
    }
    do
    {
        ++_pEntry;
    } while ( _pEntry->_Distance == 0 );
    return *this;
}

template <typename TEntry>
inline auto NZanRobinHoodTable::CIterator<TEntry>::operator++( int ) -> CIterator
{
    const CIterator Former = *this;
    ++*this;
    return Former;
}

template <typename TEntry>
void* NZanRobinHoodTable::NDetail::CStackBlockAllocator<TEntry>::Allocate( uint64 Size, uint32 Alignment )
{
    if ( !_bTaken && Size <= BufferSize )
    {
        _bTaken = true;
        return _Buffer;
    }
    return GetDefaultAllocator().Allocate( Size, Alignment );
}

template <typename TEntry>
void NZanRobinHoodTable::NDetail::CStackBlockAllocator<TEntry>::Free( void* pData )
{
    if ( pData == _Buffer )
    {
        _bTaken = false;
    }
    else
    {
        GetDefaultAllocator().Free( pData );
    }
}

// --- Keys ----------------------------------------------------------------------------------------------

template <typename TKey, typename THash, typename TEqual, typename TOther>
consteval bool NZanRobinHoodTable::NDetail::IsSearchedAsIs()
{
    if constexpr ( std::is_same_v<TOther, TKey> )
    {
        return true;
    }
    else if constexpr ( !requires { typename THash::is_transparent; } ||
                        !std::is_invocable_v<THash, const TOther&> )
    {
        return false;
    }
    else
    {
        bool bHashes = true;
        if constexpr ( requires { THash::template TakesAsIs<TOther>; } )
        {
            bHashes = THash::template TakesAsIs<TOther>;
        }
        if constexpr ( std::is_same_v<TEqual, std::equal_to<TKey>> )
        {
            return bHashes && requires( const TKey& Key, const TOther& Other ) { Key == Other; };
        }
        else
        {
            return bHashes && requires { typename TEqual::is_transparent; };
        }
    }
}

template <typename TKey, typename TEqual>
template <typename TOther>
consteval bool NZanRobinHoodTable::NDetail::SKeyEqual<TKey, TEqual>::ComparesNumbers()
{
    return std::is_same_v<TEqual, std::equal_to<TKey>> && std::is_same_v<TKey, TOther> &&
           ( std::is_integral_v<TKey> || std::is_enum_v<TKey> || std::is_pointer_v<TKey> );
}

template <typename TKey, typename TEqual>
template <typename TOther>
inline bool NZanRobinHoodTable::NDetail::SKeyEqual<TKey, TEqual>::operator()(
    const TKey& Key, const TOther& Other ) const
{
    if constexpr ( std::is_same_v<TEqual, std::equal_to<TKey>> && !std::is_same_v<TOther, TKey> )
    {
        return Key == Other;
    }
    else
    {
        return TEqual()( Key, Other );
    }
}

template <typename TKey, typename THash, typename TEqual, typename TOther>
decltype( auto ) NZanRobinHoodTable::NDetail::AsKey( TOther&& Key )
{
    if constexpr ( IsSearchedAsIs<TKey, THash, TEqual, std::remove_cvref_t<TOther>>() )
    {
        return std::forward<TOther>( Key );
    }
    else
    {
        return static_cast<TKey>( std::forward<TOther>( Key ) );
    }
}

// --- The table -----------------------------------------------------------------------------------------

template <typename T, typename TKeyOf, typename THash, typename TEqual>
CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::CZanRobinHoodTable( CZanAllocator* pAllocator )
    : _pEntries( GetEmptyBlock() ), _pAllocator( pAllocator )
{}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
auto CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::operator=( const CZanRobinHoodTable& Other )
    -> CZanRobinHoodTable&
{
    if ( this == &Other )
    {
        return *this;
    }
    Clear();
    _MaxLoadFactor = Other._MaxLoadFactor;
    if ( Other._Size == 0 )
    {
        return *this;
    }
    const int32 Bits = CalcRoomBits( Other._Size );
    if ( bIsZeroed && ( int64( 1 ) << Bits ) == static_cast<int64>( Other._Mask ) + 1 )
    {
        CopyBlock( Other, Bits );
        return *this;
    }
    Rehash( Bits );
    TakeEntries<false>( Other._pEntries, Other._Mask, Other._Size, true );
    return *this;
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
auto CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::operator=( CZanRobinHoodTable&& Other ) noexcept
    -> CZanRobinHoodTable&
{
    if ( this == &Other )
    {
        return *this;
    }
    Release();
    _MaxLoadFactor = Other._MaxLoadFactor;
    if ( _pAllocator == Other._pAllocator )
    {
        _pEntries = Other._pEntries;
        _Size = Other._Size;
        _Mask = Other._Mask;
        _MaxDistance = Other._MaxDistance;
        Other.LeaveBlock();
    }
    else if ( Other._Size > 0 )
    {
        Rehash( CalcRoomBits( Other._Size ) );
        TakeEntries<true>( Other._pEntries, Other._Mask, Other._Size, true );
        SEntry* const pOtherBlock = Other._pEntries;
        Other.LeaveBlock();
        Other.FreeBlock( pOtherBlock );
    }
    return *this;
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::Swap( CZanRobinHoodTable& Other )
{
    if ( this == &Other )
    {
        return;
    }
    if ( _pAllocator == Other._pAllocator )
    {
        std::swap( _pEntries, Other._pEntries );
        std::swap( _Size, Other._Size );
        std::swap( _Mask, Other._Mask );
        std::swap( _MaxDistance, Other._MaxDistance );
        return;
    }
    CZanRobinHoodTable& Smaller = _Size <= Other._Size ? *this : Other;
    CZanRobinHoodTable& Larger = _Size <= Other._Size ? Other : *this;
    NZanRobinHoodTable::NDetail::CStackBlockAllocator<SEntry> StackAllocator;
    CZanRobinHoodTable Parked( &StackAllocator );
    Parked = std::move( Smaller );
    Smaller = std::move( Larger );
    Larger = std::move( Parked );
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
NZanRobinHoodTable::SInfo CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::GetInfo() const
{
    constexpr int64 ObjectSize = sizeof( CZanRobinHoodTable );
    constexpr int64 MaxUsage = 0x7FFFFFFF;
    if ( IsOnEmptyBlock() )
    {
        return { 0, 0, static_cast<int32>( ObjectSize ) };
    }
    const int64 Usage = ObjectSize + ( GetEndIndex() + 1 ) * static_cast<int64>( sizeof( SEntry ) );
    return { _Size, _Mask + 1, static_cast<int32>( Usage < MaxUsage ? Usage : MaxUsage ) };
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::SetMaxLoadFactor( float Factor )
{
    if ( zan_expects( Factor > 0.0f, "a hash table that may hold nothing" ) )
    {
        _MaxLoadFactor = Factor;
    }
}

// --- Lookup --------------------------------------------------------------------------------------------

template <typename T, typename TKeyOf, typename THash, typename TEqual>
inline auto CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::GetFirst() const -> SEntry*
{
    SEntry* pEntry = _pEntries;
    while ( pEntry->_Distance == 0 )
    {
        ++pEntry;
    }
    return pEntry;
}

/// Whether a TKey may be compared with keys of empty slots.
template <typename T, typename TKeyOf, typename THash, typename TEqual>
template <typename TKey>
consteval bool CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::Peeks()
{
    if constexpr ( requires { TEqual::template ComparesNumbers<TKey>(); } )
    {
        return bIsZeroed && TEqual::template ComparesNumbers<TKey>();
    }
    return false;
}

/// Where a key is, or else where it would be inserted.
template <typename T, typename TKeyOf, typename THash, typename TEqual>
inline auto CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::Probe( uint32 Hash, const auto& Key ) const
    -> SProbe
{
    SEntry* const pHome = GetHome( Hash );
    const uint32 EarlierCount =
        static_cast<uint32>( pHome[ 0 ]._Distance > 1 ) + static_cast<uint32>( pHome[ 1 ]._Distance > 2 );
    return ProbeFrom( pHome + EarlierCount, 1 + EarlierCount, Key );
}

/// Goes on where earlier slots are known not to hold the key.
template <typename T, typename TKeyOf, typename THash, typename TEqual>
inline auto CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::ProbeFrom(
    SEntry* pEntry, uint32 Distance, const auto& Key ) const -> SProbe
{
    for ( ;; ++Distance, ++pEntry )
    {
        if ( Distance > pEntry->_Distance )
        {
            return { pEntry, Distance, false };
        }
        if ( Distance == pEntry->_Distance && TEqual()( GetKey( *pEntry ), Key ) )
        {
            return { pEntry, Distance, true };
        }
    }
}

/// A bit for each of the first slots that has an equal key, be it live or empty.
template <typename T, typename TKeyOf, typename THash, typename TEqual>
inline uint32 CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::PeekEqual( const SEntry* pHome, const auto& Key )
{
    uint32 Equal = 0;
    for ( uint32 i = 0; i < PeekCount; ++i )
    {
        Equal |= static_cast<uint32>( GetKey( pHome[ i ] ) == Key ) << i;
    }
    return Equal;
}

/// The entry with an equal key, or null.
template <typename T, typename TKeyOf, typename THash, typename TEqual>
inline auto CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::FindLive( uint32 Hash, const auto& Key ) const
    -> SEntry*
{
    if constexpr ( Peeks<std::remove_cvref_t<decltype( Key )>>() )
    {
        SEntry* const pHome = GetHome( Hash );
        if ( const uint32 Equal = PeekEqual( pHome, Key ) )
        {
            // If the first of them is no live entry at that distance, none behind it is.
            const uint32 Index = static_cast<uint32>( std::countr_zero( Equal ) );
            return pHome[ Index ]._Distance == Index + 1 ? pHome + Index : nullptr;
        }
        if ( pHome[ PeekCount - 1 ]._Distance < PeekCount ) [[likely]]
        {
            return nullptr;
        }
        const SProbe Found = ProbeFrom( pHome + PeekCount, PeekCount + 1, Key );
        return Found._bFound ? Found._pEntry : nullptr;
    }
    else
    {
        const SProbe Found = Probe( Hash, Key );
        return Found._bFound ? Found._pEntry : nullptr;
    }
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
inline auto CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::FindEntry( uint32 Hash, const auto& Key ) const
    -> SEntry*
{
    SEntry* const pFound = FindLive( Hash, Key );
    return pFound != nullptr ? pFound : _pEntries + GetEndIndex();
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
inline T* CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::AccessPayload( const auto& Key )
{
    SEntry* const pFound = FindLive( CalcHash( Key ), Key );
    return pFound != nullptr ? pFound->AccessPayload() : nullptr;
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
inline const T* CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::GetPayload( const auto& Key ) const
{
    const SEntry* const pFound = FindLive( CalcHash( Key ), Key );
    return pFound != nullptr ? pFound->GetPayload() : nullptr;
}

// --- Insertion -----------------------------------------------------------------------------------------

template <typename T, typename TKeyOf, typename THash, typename TEqual>
template <typename TKey, typename... TArgs>
inline auto CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::Emplace( uint32 Hash, TKey&& Key, TArgs&&... Args )
    -> SEmplaceResult
{
    return EmplaceBuilt( Hash, Key, [ & ]() -> T {
        return T{ std::forward<TKey>( Key ), std::forward<TArgs>( Args )... };
    } );
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
template <typename TKey, typename TBuild>
inline auto CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::EmplaceBuilt(
    uint32 Hash, const TKey& Key, TBuild&& Build ) -> SEmplaceResult
{
    const auto [ pEntry, Distance, bFound ] = Probe( Hash, Key );
    if ( bFound )
    {
        return { CIterator( pEntry ), false };
    }
    if ( pEntry->_Distance != 0 || IsFullFor( Distance ) ) [[unlikely]]
    {
        return { CIterator( EmplaceFar( pEntry, Distance, Hash, Build ) ), true };
    }
    BuildPayload( pEntry, Hash, Build );
    pEntry->_Distance = static_cast<uint8>( Distance );
    ++_Size;
    return { CIterator( pEntry ), true };
}

/// An insertion that other entries have to make way for. The payload is made before any of them moves,
/// because what it is made of may lie in one, and because that may throw.
template <typename T, typename TKeyOf, typename THash, typename TEqual>
template <typename TBuild>
[[gnu::noinline]] auto CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::EmplaceFar(
    SEntry* pSlot, uint32 Distance, uint32 Hash, TBuild&& Build ) -> SEntry*
{
    if ( _Size == 0 )
    {
        while ( IsFullFor( 1 ) )
        {
            Grow();
        }
        SEntry* const pHome = GetHome( Hash );
        BuildPayload( pHome, Hash, Build );
        pHome->_Distance = 1;
        ++_Size;
        return pHome;
    }
    T Payload( Build() );
    return IsFullFor( Distance ) ? ( Grow(), InsertAbsent( Hash, std::move( Payload ) ) )
                                 : InsertDisplacing( pSlot, Distance, Hash, std::move( Payload ) );
}

/// Inserts a payload whose key is known to be absent.
template <typename T, typename TKeyOf, typename THash, typename TEqual>
auto CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::InsertAbsent( uint32 Hash, T&& Payload ) -> SEntry*
{
    for ( ;; )
    {
        SEntry* pEntry = GetHome( Hash );
        uint32 Distance = 1;
        for ( ; Distance <= pEntry->_Distance; ++Distance )
        {
            ++pEntry;
        }
        if ( IsFullFor( Distance ) ) [[unlikely]]
        {
            Grow();
            continue;
        }
        if ( pEntry->_Distance != 0 )
        {
            return InsertDisplacing( pEntry, Distance, Hash, std::move( Payload ) );
        }
        BuildPayload( pEntry, Hash, [ & ]() -> T { return T( std::move( Payload ) ); } );
        pEntry->_Distance = static_cast<uint8>( Distance );
        ++_Size;
        return pEntry;
    }
}

/// Inserts at an occupied slot. What it pushes out travels in one of two carriers; the other one takes what
/// that pushes out in turn.
template <typename T, typename TKeyOf, typename THash, typename TEqual>
auto CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::InsertDisplacing(
    SEntry* pSlot, uint32 Distance, uint32 Hash, T&& Payload ) -> SEntry*
{
    SEntry Carriers[ 2 ];
    SEntry* pCarried = &Carriers[ 0 ];
    SEntry* pSpare = &Carriers[ 1 ];

    uint32 CarriedDistance = pSlot->_Distance + 1u;
    MovePayload( pCarried, pSlot );
    BuildPayload( pSlot, Hash, [ & ]() -> T { return T( std::move( Payload ) ); } );
    pSlot->_Distance = static_cast<uint8>( Distance );

    for ( SEntry* pEntry = pSlot + 1; CarriedDistance <= _MaxDistance; ++pEntry )
    {
        const uint32 EntryDistance = pEntry->_Distance;
        if ( EntryDistance >= CarriedDistance )
        {
            ++CarriedDistance;
            continue;
        }
        if ( EntryDistance != 0 )
        {
            MovePayload( pSpare, pEntry );
        }
        MovePayload( pEntry, pCarried );
        pEntry->_Distance = static_cast<uint8>( CarriedDistance );
        if ( EntryDistance == 0 )
        {
            ++_Size;
            return pSlot;
        }
        CarriedDistance = EntryDistance + 1;
        std::swap( pCarried, pSpare );
    }

    // No place for the last one within the bound: it takes the slot of the new entry, whatever distance that
    // says, as a rebuild asks only which slots are live. But the homes are out of order then.
    MovePayload( pSpare, pSlot );
    MovePayload( pSlot, pCarried );
    Grow( false );
    SEntry* const pInserted = InsertAbsent( Hash, std::move( *pSpare->AccessPayload() ) );
    DestroyPayload( pSpare );
    return pInserted;
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
inline uint32 CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::GetHash( const SEntry& Entry )
{
    if constexpr ( bStoresHash )
    {
        return Entry._Hash;
    }
    else
    {
        return CalcHash( GetKey( Entry ) );
    }
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
inline void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::SetHash( SEntry* pEntry, uint32 Hash )
{
    if constexpr ( bStoresHash )
    {
        pEntry->_Hash = Hash;
    }
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
inline void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::MovePayload( SEntry* pTo, SEntry* pFrom )
{
    if constexpr ( bStoresHash )
    {
        pTo->_Hash = pFrom->_Hash;
    }
    if constexpr ( bIsBytes )
    {
        std::memcpy( pTo->_Payload, pFrom->_Payload, sizeof( T ) );
    }
    else
    {
        ::new ( static_cast<void*>( pTo->_Payload ) ) T( std::move( *pFrom->AccessPayload() ) );
        DestroyPayload( pFrom );
    }
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
inline void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::DestroyPayload( SEntry* pEntry )
{
    if constexpr ( !std::is_trivially_destructible_v<T> )
    {
        pEntry->AccessPayload()->~T();
    }
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
template <typename TBuild>
inline void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::BuildPayload(
    SEntry* pTo, uint32 Hash, TBuild&& Build )
{
    ::new ( static_cast<void*>( pTo->_Payload ) ) T( Build() );
    SetHash( pTo, Hash );
}

/// Into an empty table.
template <typename T, typename TKeyOf, typename THash, typename TEqual>
void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::CopyBlock( const CZanRobinHoodTable& Other, int32 Bits )
{
    if ( SEntry* const pBlock = AllocateBlock( Bits ) )
    {
        FreeBlock( _pEntries );
        _pEntries = pBlock;
        _Size = Other._Size;
        _Mask = Other._Mask;
        _MaxDistance = Other._MaxDistance;
        std::memcpy( static_cast<void*>( pBlock ), Other._pEntries,
            static_cast<size_t>( GetEndIndex() + 1 ) * sizeof( SEntry ) );
    }
}

// --- The block -----------------------------------------------------------------------------------------

/// Whether an entry at Distance is beyond the bound, or one more is beyond the load. In this order, because
/// the shared block has a bound and a mask of 0.
template <typename T, typename TKeyOf, typename THash, typename TEqual>
inline bool CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::IsFullFor( uint32 Distance ) const
{
    return Distance > _MaxDistance ||
           static_cast<float>( _Size + 1 ) / static_cast<float>( _Mask ) > _MaxLoadFactor;
}

/// The exponent of a block with ample room for Count entries.
template <typename T, typename TKeyOf, typename THash, typename TEqual>
int32 CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::CalcRoomBits( int32 Count ) const
{
    const float Inverse = 1.0f / _MaxLoadFactor;
    const float Room = ( Inverse > 1.9f ? Inverse : 1.9f ) * static_cast<float>( Count ) + 1.0f;
    constexpr float TooMuch = 4.0e9f; // more than 2^31, so past every block; keeps the truncation defined
    return NZanRobinHoodTable::CalcBits( static_cast<int64>( Room < TooMuch ? Room : TooMuch ), 0 );
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
auto CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::AllocateBlock( int32 Bits ) -> SEntry*
{
    const uint64 SlotCount = static_cast<uint64>( NZanRobinHoodTable::CalcSlotCount( Bits ) );
    void* const pBlock = _pAllocator->Allocate( SlotCount * sizeof( SEntry ), alignof( SEntry ) );
    if ( !zan_expects( pBlock != nullptr, "no memory for a hash table" ) )
    {
        return nullptr;
    }
    if ( !zan_expects( reinterpret_cast<std::uintptr_t>( pBlock ) % alignof( SEntry ) == 0,
             "memory for a hash table that is not aligned for its entries" ) )
    {
        _pAllocator->Free( pBlock );
        return nullptr;
    }
    return static_cast<SEntry*>( pBlock );
}

/// Makes an empty table of raw memory.
template <typename T, typename TKeyOf, typename THash, typename TEqual>
void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::TakeBlock( SEntry* pEntries, int32 Bits )
{
    _pEntries = pEntries;
    _Size = 0;
    _Mask = static_cast<int32>( ( 1u << Bits ) - 1 );
    _MaxDistance = static_cast<uint8>( Bits + 2 );
    SEntry* const pEnd = _pEntries + GetEndIndex();
    if constexpr ( bIsZeroed )
    {
        std::memset(
            static_cast<void*>( _pEntries ), 0, static_cast<size_t>( GetEndIndex() + 1 ) * sizeof( SEntry ) );
    }
    else
    {
        for ( SEntry* pEntry = _pEntries; pEntry != pEnd; ++pEntry )
        {
            pEntry->_Distance = 0;
        }
    }
    pEnd->_Distance = NZanRobinHoodTable::EndMarker;
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::FreeBlock( SEntry* pEntries )
{
    if ( pEntries != GetEmptyBlock() )
    {
        _pAllocator->Free( pEntries );
    }
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::LeaveBlock()
{
    _pEntries = GetEmptyBlock();
    _Size = 0;
    _Mask = 0;
    _MaxDistance = 0;
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::Grow( bool bHomesAscend )
{
    const int32 Bits = NZanRobinHoodTable::CalcBits( static_cast<int64>( _Mask ) + 1, 1 );
    const int32 FormerMask = _Mask;
    if ( Bits <= 30 )
    {
        Rebuild( Bits, bHomesAscend );
    }
    if ( _Mask == FormerMask )
    {
        std::abort();
    }
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::Rehash( int32 Bits )
{
    if ( Bits >= 1 && Bits <= 30 )
    {
        Rebuild( Bits, true );
    }
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
[[gnu::noinline]] void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::Rebuild( int32 Bits, bool bHomesAscend )
{
    SEntry* const pBlock = AllocateBlock( Bits );
    if ( pBlock == nullptr )
    {
        return;
    }
    SEntry* const pFormerBlock = _pEntries;
    const int32 FormerMask = _Mask;
    const int32 FormerSize = _Size;
    TakeBlock( pBlock, Bits );
    TakeEntries<true>( pFormerBlock, FormerMask, FormerSize, bHomesAscend );
    FreeBlock( pFormerBlock );
}

/// Inserts copies of the Count entries of a block, of whose distances only zero counts, or moves them and
/// leaves raw memory. Where homes ascend from slot to slot, they make one or two ascending runs in a table of
/// as many or twice as many buckets: each entry goes to its home or right behind the one before it in its
/// run, without a search. Where the end of one run reaches into the next, entries are inserted as usual, and
/// after growth.
template <typename T, typename TKeyOf, typename THash, typename TEqual>
template <bool bMove>
void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::TakeEntries(
    SEntry* pEntries, int32 Mask, int32 Count, bool bHomesAscend )
{
    if ( Count == 0 )
    {
        return;
    }
    SEntry* const pBlock = _pEntries;
    const uint32 MaxDistance = _MaxDistance;
    const uint32 NewMask = static_cast<uint32>( _Mask );
    const uint32 LowMask = static_cast<uint32>( Mask );
    bool bInRuns = bHomesAscend && ( NewMask == LowMask || NewMask == 2 * LowMask + 1 ) &&
                   static_cast<float>( Count ) / static_cast<float>( NewMask ) <= _MaxLoadFactor;
    uint32 Nexts[ 2 ] = {}; // behind the last entry of each run

    // Which slots are live is hard to predict. So they are listed first, some at a time, without branches.
    constexpr std::ptrdiff_t ListSize = 64;
    SEntry* Live[ ListSize ];
    uint32 Hashes[ ListSize ];
    SEntry* const pEnd = pEntries + static_cast<std::ptrdiff_t>( LowMask ) + std::bit_width( LowMask ) + 3;
    for ( SEntry* pUnlisted = pEntries; pUnlisted != pEnd; )
    {
        SEntry* const pListEnd = pEnd - pUnlisted > ListSize ? pUnlisted + ListSize : pEnd;
        int32 LiveCount = 0;
        for ( ; pUnlisted != pListEnd; ++pUnlisted )
        {
            Live[ LiveCount ] = pUnlisted;
            LiveCount += static_cast<int32>( pUnlisted->_Distance != 0 );
        }
        for ( int32 i = 0; i < LiveCount; ++i )
        {
            Hashes[ i ] = GetHash( *Live[ i ] );
        }
        for ( int32 i = 0; i < LiveCount; ++i )
        {
            SEntry* const pEntry = Live[ i ];
            const auto Take = [ & ]() -> T {
                if constexpr ( bMove )
                {
                    return T( std::move( *pEntry->AccessPayload() ) );
                }
                else
                {
                    return T( *pEntry->GetPayload() );
                }
            };
            const uint32 Hash = Hashes[ i ];
            const uint32 Home = Hash & NewMask;
            uint32& Next = Nexts[ Home > LowMask ];
            const uint32 Slot = Home > Next ? Home : Next;
            const uint32 Distance = Slot - Home + 1;
            SEntry* const pTo = pBlock + Slot;
            if ( bInRuns && pTo->_Distance == 0 && Distance <= MaxDistance ) [[likely]]
            {
                BuildPayload( pTo, Hash, Take );
                pTo->_Distance = static_cast<uint8>( Distance );
                ++_Size;
                Next = Slot + 1;
            }
            else
            {
                InsertAbsent( Hash, Take() );
                bInRuns = bInRuns && NewMask == static_cast<uint32>( _Mask );
            }
            if constexpr ( bMove )
            {
                DestroyPayload( pEntry );
            }
        }
    }
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::Reserve( int32 Count )
{
    if ( !zan_expects( Count >= 0, "Reserve of a negative count" ) )
    {
        return;
    }
    const int32 Bits = CalcRoomBits( Count );
    if ( !zan_expects( Bits <= 30, "Reserve of more than a hash table can hold" ) )
    {
        return;
    }
    if ( ( int64( 1 ) << Bits ) > static_cast<int64>( _Mask ) + 1 )
    {
        Rehash( Bits );
    }
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::ShrinkToFit()
{
    if ( _pAllocator->IsInternalMemory( _pEntries ) )
    {
        return;
    }
    if ( _Size == 0 )
    {
        Release();
        return;
    }
    const int32 Bits = CalcRoomBits( _Size );
    if ( ( int64( 1 ) << Bits ) < static_cast<int64>( _Mask ) + 1 )
    {
        Rehash( Bits );
    }
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::StartOnInternalBlock(
    CZanAllocator* pAllocator, SEntry* pEntries, int32 Bits )
{
    _pAllocator = pAllocator;
    TakeBlock( pEntries, Bits );
}

// --- Removal -------------------------------------------------------------------------------------------

template <typename T, typename TKeyOf, typename THash, typename TEqual>
inline auto CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::Remove( CConstIterator Position ) -> CIterator
{
    SEntry* const pSlot = const_cast<SEntry*>( Position.GetEntry() );
    if ( !zan_expects(
             pSlot != nullptr && pSlot->_Distance != 0 && pSlot->_Distance != NZanRobinHoodTable::EndMarker,
             "Remove at no entry of a hash table" ) )
    {
        return end();
    }
    SEntry* pEntry = pSlot;
    DestroyPayload( pEntry );
    for ( ; pEntry[ 1 ]._Distance > 1; ++pEntry )
    {
        MovePayload( pEntry, pEntry + 1 );
        pEntry->_Distance = static_cast<uint8>( pEntry[ 1 ]._Distance - 1 );
    }
    pEntry->_Distance = 0;
    --_Size;
    return CIterator( pSlot );
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::Clear()
{
    for ( SEntry* pEntry = _pEntries; _Size > 0; ++pEntry )
    {
        if ( pEntry->_Distance != 0 )
        {
            DestroyPayload( pEntry );
            pEntry->_Distance = 0;
            --_Size;
        }
    }
}

/// Leaves the distances as they are.
template <typename T, typename TKeyOf, typename THash, typename TEqual>
void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::DestroyEntries()
{
    if constexpr ( !std::is_trivially_destructible_v<T> )
    {
        int32 Remaining = _Size;
        for ( SEntry* pEntry = _pEntries; Remaining > 0; ++pEntry )
        {
            if ( pEntry->_Distance != 0 )
            {
                DestroyPayload( pEntry );
                --Remaining;
            }
        }
    }
}

template <typename T, typename TKeyOf, typename THash, typename TEqual>
void CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::Release()
{
    DestroyEntries();
    SEntry* const pBlock = _pEntries;
    LeaveBlock();
    FreeBlock( pBlock );
}

// --- Self-check ----------------------------------------------------------------------------------------

template <typename T, typename TKeyOf, typename THash, typename TEqual>
bool CZanRobinHoodTable<T, TKeyOf, THash, TEqual>::CheckInvariants() const
{
    const std::ptrdiff_t End = GetEndIndex();
    if ( IsOnEmptyBlock() )
    {
        return _Size == 0 && _Mask == 0 && _MaxDistance == 0 && _pEntries[ 0 ]._Distance == 0 &&
               _pEntries[ 1 ]._Distance == NZanRobinHoodTable::EndMarker;
    }
    const bool bShapeHolds = ( 1 << ( _MaxDistance - 2 ) ) == _Mask + 1 &&
                             _pEntries[ End ]._Distance == NZanRobinHoodTable::EndMarker &&
                             _pEntries[ End - 1 ]._Distance == 0;
    if ( !bShapeHolds )
    {
        return false;
    }
    int32 LiveCount = 0;
    for ( std::ptrdiff_t i = 0; i < End; ++i )
    {
        const SEntry& Entry = _pEntries[ i ];
        const int32 FormerDistance = i > 0 ? _pEntries[ i - 1 ]._Distance : 0;
        if ( Entry._Distance == 0 )
        {
            continue;
        }
        const uint32 Hash = CalcHash( GetKey( Entry ) );
        if ( &Entry != GetHome( Hash ) + ( Entry._Distance - 1 ) || GetHash( Entry ) != Hash ||
             Entry._Distance > _MaxDistance || Entry._Distance > FormerDistance + 1 )
        {
            return false;
        }
        ++LiveCount;
    }
    return LiveCount == _Size;
}
