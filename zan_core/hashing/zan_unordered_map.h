#pragma once

#include "zan_core/hashing/zan_hash.h"
#include "zan_core/hashing/zan_robin_hood_table.h"
#include "zan_core/holders/zan_optional.h"
#include "zan_core/memory/zan_inline_allocator.h"

namespace NZanUnorderedMap::NDetail
{
/// Requires of its users that they leave the key alone while it stands in a map.
template <typename TKey, typename TValue>
struct SMapEntry
{
    TKey _Key;
    TValue _Value;
};

struct SGetKey
{
    template <typename TEntry>
    static const auto& GetKey( const TEntry& Entry )
    {
        return Entry._Key;
    }
};

/// T( Arguments... ), or T{ Arguments... } for what has no constructor.
template <typename T, typename... TArgs>
T Make( TArgs&&... Arguments );
} // namespace NZanUnorderedMap::NDetail

/// Values by key in a Robin Hood table (see there). Keys and values need only move. Where a small map is the
/// rule, CZanHybridUnorderedMap saves the allocation; for a few dense keys an array is faster.
///
/// The verbs say what happens when the key is there already: Set assigns, TrySet and FindOrSet, which are the
/// same, leave the value and say so, AccessOrSet leaves it and gives it out. Those in ...Emplace build the
/// value from arguments, those in ...Lazy call for it only if it is needed; the callable may not use the map.
/// Keys of text are looked up by any text, without making a key of it. Any insertion or removal invalidates
/// iterators and references. Memory comes from the allocator passed in; assignments and swaps exchange
/// contents only. Not synchronised; an unchanged map may be read by several threads.
///
///     CZanUnorderedMap<CString, int32> Counts;
///     ++Counts.AccessOrSet( Word, 0 );
///     for ( const auto& [ Key, Value ] : Counts ) { Print( Key, Value ); }
template <typename TKey, typename TValue, typename THash = SZanHash<TKey>,
    typename TEqual = std::equal_to<TKey>>
class CZanUnorderedMap
{
public:
    using SMapEntry = NZanUnorderedMap::NDetail::SMapEntry<TKey, TValue>;
    using CTable = CZanRobinHoodTable<SMapEntry, NZanUnorderedMap::NDetail::SGetKey, THash,
        NZanRobinHoodTable::NDetail::SKeyEqual<TKey, TEqual>>;
    using CIterator = typename CTable::CIterator;
    using CConstIterator = typename CTable::CConstIterator;
    using SEmplaceResult = typename CTable::SEmplaceResult;

    explicit CZanUnorderedMap( CZanAllocator* pAllocator = &GetDefaultAllocator() ) : _Table( pAllocator ) {}

    /// Between maps of any kind. A copy sizes its block by the number of entries. A move takes over the block
    /// if the allocators are the same and moves each entry otherwise, where a failing allocation ends the
    /// program.
    CZanUnorderedMap( const CZanUnorderedMap& Other, CZanAllocator* pAllocator = &GetDefaultAllocator() );
    CZanUnorderedMap( CZanUnorderedMap&& Other, CZanAllocator* pAllocator = &GetDefaultAllocator() ) noexcept;
    CZanUnorderedMap& operator=( const CZanUnorderedMap& Other ) = default;
    CZanUnorderedMap& operator=( CZanUnorderedMap&& Other ) noexcept = default;
    void Swap( CZanUnorderedMap& Other ) { _Table.Swap( Other._Table ); }

    int32 GetSize() const { return _Table.GetSize(); }
    bool IsEmpty() const { return GetSize() == 0; }
    NZanRobinHoodTable::SInfo GetInfo() const { return _Table.GetInfo(); }
    float GetMaxLoadFactor() const { return _Table.GetMaxLoadFactor(); }
    void SetMaxLoadFactor( float Factor ) { _Table.SetMaxLoadFactor( Factor ); }

    CIterator begin() { return _Table.begin(); }
    CIterator end() { return _Table.end(); }
    CConstIterator begin() const { return _Table.begin(); }
    CConstIterator end() const { return _Table.end(); }

    /// Assigns the value when the key is there, which stays the key that it was.
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey, typename TValueArg = TValue>
    CIterator Set( TKeyArg&& Key, TValueArg&& Value );
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey, typename... TArgs>
    CIterator SetEmplace( TKeyArg&& Key, TArgs&&... Args );

    /// Leaves the value when the key is there, and the arguments untouched.
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey, typename TValueArg = TValue>
    SEmplaceResult TrySet( TKeyArg&& Key, TValueArg&& Value );
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey, typename... TArgs>
    SEmplaceResult TrySetEmplace( TKeyArg&& Key, TArgs&&... Args );
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey, typename TCallable>
    SEmplaceResult TrySetLazy( TKeyArg&& Key, TCallable&& Callable );

    /// The same under names that read well where the entry is wanted.
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey, typename TValueArg = TValue>
    SEmplaceResult FindOrSet( TKeyArg&& Key, TValueArg&& Value )
    {
        return TrySet( std::forward<TKeyArg>( Key ), std::forward<TValueArg>( Value ) );
    }
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey, typename... TArgs>
    SEmplaceResult FindOrSetEmplace( TKeyArg&& Key, TArgs&&... Args )
    {
        return TrySetEmplace( std::forward<TKeyArg>( Key ), std::forward<TArgs>( Args )... );
    }
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey, typename TCallable>
    SEmplaceResult FindOrSetLazy( TKeyArg&& Key, TCallable&& Callable )
    {
        return TrySetLazy( std::forward<TKeyArg>( Key ), Callable );
    }

    /// The value that is there, or else the new one.
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey, typename TValueArg = TValue>
    TValue& AccessOrSet( TKeyArg&& Key, TValueArg&& Value )
    {
        return TrySet( std::forward<TKeyArg>( Key ), std::forward<TValueArg>( Value ) )._Iterator->_Value;
    }
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey, typename... TArgs>
    TValue& AccessOrSetEmplace( TKeyArg&& Key, TArgs&&... Args )
    {
        return TrySetEmplace( std::forward<TKeyArg>( Key ), std::forward<TArgs>( Args )... )
            ._Iterator->_Value;
    }
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey, typename TCallable>
    TValue& AccessOrSetLazy( TKeyArg&& Key, TCallable&& Callable )
    {
        return TrySetLazy( std::forward<TKeyArg>( Key ), Callable )._Iterator->_Value;
    }

    /// The value, or null.
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey>
    const TValue* GetValue( const TKeyArg& Key ) const;
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey>
    TValue* AccessValue( const TKeyArg& Key );

    /// The entry, or the end.
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey>
    CIterator Find( const TKeyArg& Key );
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey>
    CConstIterator Find( const TKeyArg& Key ) const;
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey>
    bool Contains( const TKeyArg& Key ) const;

    /// Whether there was something to remove.
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey>
    bool Remove( const TKeyArg& Key );

    /// Gives an iterator to the same slot, which holds the entry that followed or is empty. Requires an
    /// entry.
    CIterator Remove( CConstIterator Position ) { return _Table.Remove( Position ); }
    CIterator Remove( CIterator Position ) { return _Table.Remove( Position ); }

    /// Removes an entry and gives its value. Requires an entry.
    TValue ReleaseValue( CIterator Position );
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey>
    CZanOptional<TValue> TryReleaseValue( const TKeyArg& Key );

    void Clear() { _Table.Clear(); }                         ///< Keeps the buckets.
    void Reserve( int32 Count ) { _Table.Reserve( Count ); } ///< Room for Count entries in all.
    void ShrinkToFit() { _Table.ShrinkToFit(); } ///< Gives back memory, if there is enough to spare.
    bool CheckInvariants() const { return _Table.CheckInvariants(); } ///< For self-checks.

protected:
    template <typename TKeyArg, typename TBuild>
    SEmplaceResult EmplaceBuilt( TKeyArg&& Key, TBuild&& BuildValue );

    CTable _Table;
};

/// A map whose first block lies inside the object: N entries take no allocation. What it holds beyond that
/// comes from the parent allocator, and it does not return to its own block. Copies and moves into it size a
/// block by the number of entries, which the parent supplies. It converts to a reference to the plain map;
/// copies, moves and swaps work between all maps of the same key and value.
template <typename TKey, typename TValue, int32 N, typename THash = SZanHash<TKey>,
    typename TEqual = std::equal_to<TKey>>
class CZanHybridUnorderedMap : public CZanUnorderedMap<TKey, TValue, THash, TEqual>
{
    using CBase = CZanUnorderedMap<TKey, TValue, THash, TEqual>;

public:
    explicit CZanHybridUnorderedMap( CZanAllocator* pParent = &GetDefaultAllocator() );
    CZanHybridUnorderedMap( const CBase& Other, CZanAllocator* pParent = &GetDefaultAllocator() );
    CZanHybridUnorderedMap( CBase&& Other, CZanAllocator* pParent = &GetDefaultAllocator() ) noexcept;
    CZanHybridUnorderedMap(
        const CZanHybridUnorderedMap& Other, CZanAllocator* pParent = &GetDefaultAllocator() );
    CZanHybridUnorderedMap(
        CZanHybridUnorderedMap&& Other, CZanAllocator* pParent = &GetDefaultAllocator() ) noexcept;
    ~CZanHybridUnorderedMap() { this->_Table.Release(); }

    CZanHybridUnorderedMap& operator=( const CBase& Other );
    CZanHybridUnorderedMap& operator=( CBase&& Other ) noexcept;
    CZanHybridUnorderedMap& operator=( const CZanHybridUnorderedMap& Other );
    CZanHybridUnorderedMap& operator=( CZanHybridUnorderedMap&& Other ) noexcept;

private:
    static constexpr int32 InlineBits = NZanRobinHoodTable::CalcInlineBits( N );

    CZanHybridInlineBufferAllocator<typename CBase::CTable::SEntry,
        NZanRobinHoodTable::CalcSlotCount( InlineBits )>
        _InlineAllocator;
};

/// The same keys with equal values, in whatever order.
template <typename TKey, typename TValue, typename THash, typename TEqual>
bool operator==( const CZanUnorderedMap<TKey, TValue, THash, TEqual>& Left,
    const CZanUnorderedMap<TKey, TValue, THash, TEqual>& Right );

template <typename TKey, typename TValue, typename THash, typename TEqual>
void swap( CZanUnorderedMap<TKey, TValue, THash, TEqual>& Left,
    CZanUnorderedMap<TKey, TValue, THash, TEqual>& Right )
{
    Left.Swap( Right );
}
template <typename TKey, typename TValue, int32 N, typename THash, typename TEqual>
void swap( CZanHybridUnorderedMap<TKey, TValue, N, THash, TEqual>& Left,
    CZanHybridUnorderedMap<TKey, TValue, N, THash, TEqual>& Right )
{
    Left.Swap( Right );
}

template <typename TKey, typename TValue, typename THash, typename TEqual>
auto begin( CZanUnorderedMap<TKey, TValue, THash, TEqual>& Map )
{
    return Map.begin();
}
template <typename TKey, typename TValue, typename THash, typename TEqual>
auto end( CZanUnorderedMap<TKey, TValue, THash, TEqual>& Map )
{
    return Map.end();
}
template <typename TKey, typename TValue, typename THash, typename TEqual>
auto begin( const CZanUnorderedMap<TKey, TValue, THash, TEqual>& Map )
{
    return Map.begin();
}
template <typename TKey, typename TValue, typename THash, typename TEqual>
auto end( const CZanUnorderedMap<TKey, TValue, THash, TEqual>& Map )
{
    return Map.end();
}

// --- Bodies --------------------------------------------------------------------------------------------

template <typename T, typename... TArgs>
T NZanUnorderedMap::NDetail::Make( TArgs&&... Arguments )
{
    if constexpr ( std::is_constructible_v<T, TArgs...> )
    {
        return T( std::forward<TArgs>( Arguments )... );
    }
    else
    {
        return T{ std::forward<TArgs>( Arguments )... };
    }
}

template <typename TKey, typename TValue, typename THash, typename TEqual>
CZanUnorderedMap<TKey, TValue, THash, TEqual>::CZanUnorderedMap(
    const CZanUnorderedMap& Other, CZanAllocator* pAllocator )
    : _Table( pAllocator )
{
    _Table = Other._Table;
}

template <typename TKey, typename TValue, typename THash, typename TEqual>
CZanUnorderedMap<TKey, TValue, THash, TEqual>::CZanUnorderedMap(
    CZanUnorderedMap&& Other, CZanAllocator* pAllocator ) noexcept
    : _Table( pAllocator )
{
    _Table = std::move( Other._Table );
}

template <typename TKey, typename TValue, typename THash, typename TEqual>
template <typename TKeyArg, typename TBuild>
inline auto CZanUnorderedMap<TKey, TValue, THash, TEqual>::EmplaceBuilt( TKeyArg&& Key, TBuild&& BuildValue )
    -> SEmplaceResult
{
    auto&& Actual = NZanRobinHoodTable::NDetail::AsKey<TKey, THash, TEqual>( std::forward<TKeyArg>( Key ) );
    return _Table.EmplaceBuilt( CTable::CalcHash( Actual ), Actual, [ & ]() -> SMapEntry {
        return SMapEntry{ TKey( std::forward<decltype( Actual )>( Actual ) ), BuildValue() };
    } );
}

template <typename TKey, typename TValue, typename THash, typename TEqual>
template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg, typename TValueArg>
inline auto CZanUnorderedMap<TKey, TValue, THash, TEqual>::Set( TKeyArg&& Key, TValueArg&& Value )
    -> CIterator
{
    const SEmplaceResult Result = TrySet( std::forward<TKeyArg>( Key ), std::forward<TValueArg>( Value ) );
    if ( !Result._bInserted )
    {
        if constexpr ( std::is_arithmetic_v<TValue> )
        {
            Result._Iterator->_Value = static_cast<TValue>( Value ); // narrows as the insertion does
        }
        else
        {
            Result._Iterator->_Value = std::forward<TValueArg>( Value );
        }
    }
    return Result._Iterator;
}

template <typename TKey, typename TValue, typename THash, typename TEqual>
template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg, typename... TArgs>
auto CZanUnorderedMap<TKey, TValue, THash, TEqual>::SetEmplace( TKeyArg&& Key, TArgs&&... Args ) -> CIterator
{
    const SEmplaceResult Result =
        TrySetEmplace( std::forward<TKeyArg>( Key ), std::forward<TArgs>( Args )... );
    if ( !Result._bInserted )
    {
        Result._Iterator->_Value = NZanUnorderedMap::NDetail::Make<TValue>( std::forward<TArgs>( Args )... );
    }
    return Result._Iterator;
}

template <typename TKey, typename TValue, typename THash, typename TEqual>
template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg, typename TValueArg>
inline auto CZanUnorderedMap<TKey, TValue, THash, TEqual>::TrySet( TKeyArg&& Key, TValueArg&& Value )
    -> SEmplaceResult
{
    return EmplaceBuilt( std::forward<TKeyArg>( Key ), [ & ]() -> TValue {
        return NZanUnorderedMap::NDetail::Make<TValue>( std::forward<TValueArg>( Value ) );
    } );
}

template <typename TKey, typename TValue, typename THash, typename TEqual>
template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg, typename... TArgs>
inline auto CZanUnorderedMap<TKey, TValue, THash, TEqual>::TrySetEmplace( TKeyArg&& Key, TArgs&&... Args )
    -> SEmplaceResult
{
    return EmplaceBuilt( std::forward<TKeyArg>( Key ), [ & ]() -> TValue {
        return NZanUnorderedMap::NDetail::Make<TValue>( std::forward<TArgs>( Args )... );
    } );
}

template <typename TKey, typename TValue, typename THash, typename TEqual>
template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg, typename TCallable>
inline auto CZanUnorderedMap<TKey, TValue, THash, TEqual>::TrySetLazy( TKeyArg&& Key, TCallable&& Callable )
    -> SEmplaceResult
{
    return EmplaceBuilt( std::forward<TKeyArg>( Key ),
        [ & ]() -> TValue { return static_cast<TValue>( std::forward<TCallable>( Callable )() ); } );
}

template <typename TKey, typename TValue, typename THash, typename TEqual>
template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg>
inline auto CZanUnorderedMap<TKey, TValue, THash, TEqual>::Find( const TKeyArg& Key ) -> CIterator
{
    return _Table.Find( NZanRobinHoodTable::NDetail::AsKey<TKey, THash, TEqual>( Key ) );
}

template <typename TKey, typename TValue, typename THash, typename TEqual>
template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg>
inline auto CZanUnorderedMap<TKey, TValue, THash, TEqual>::Find( const TKeyArg& Key ) const -> CConstIterator
{
    return _Table.Find( NZanRobinHoodTable::NDetail::AsKey<TKey, THash, TEqual>( Key ) );
}

template <typename TKey, typename TValue, typename THash, typename TEqual>
template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg>
inline bool CZanUnorderedMap<TKey, TValue, THash, TEqual>::Contains( const TKeyArg& Key ) const
{
    return GetValue( Key ) != nullptr;
}

template <typename TKey, typename TValue, typename THash, typename TEqual>
template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg>
inline const TValue* CZanUnorderedMap<TKey, TValue, THash, TEqual>::GetValue( const TKeyArg& Key ) const
{
    const SMapEntry* const pEntry =
        _Table.GetPayload( NZanRobinHoodTable::NDetail::AsKey<TKey, THash, TEqual>( Key ) );
    return pEntry != nullptr ? &pEntry->_Value : nullptr;
}

template <typename TKey, typename TValue, typename THash, typename TEqual>
template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg>
inline TValue* CZanUnorderedMap<TKey, TValue, THash, TEqual>::AccessValue( const TKeyArg& Key )
{
    SMapEntry* const pEntry =
        _Table.AccessPayload( NZanRobinHoodTable::NDetail::AsKey<TKey, THash, TEqual>( Key ) );
    return pEntry != nullptr ? &pEntry->_Value : nullptr;
}

template <typename TKey, typename TValue, typename THash, typename TEqual>
template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg>
inline bool CZanUnorderedMap<TKey, TValue, THash, TEqual>::Remove( const TKeyArg& Key )
{
    const CIterator Found = Find( Key );
    if ( !Found )
    {
        return false;
    }
    _Table.Remove( Found );
    return true;
}

template <typename TKey, typename TValue, typename THash, typename TEqual>
TValue CZanUnorderedMap<TKey, TValue, THash, TEqual>::ReleaseValue( CIterator Position )
{
    TValue Value( std::move( Position->_Value ) );
    _Table.Remove( Position );
    return Value;
}

template <typename TKey, typename TValue, typename THash, typename TEqual>
template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg>
CZanOptional<TValue> CZanUnorderedMap<TKey, TValue, THash, TEqual>::TryReleaseValue( const TKeyArg& Key )
{
    const CIterator Found = Find( Key );
    return Found ? CZanOptional<TValue>( ReleaseValue( Found ) ) : CZanOptional<TValue>();
}

template <typename TKey, typename TValue, int32 N, typename THash, typename TEqual>
CZanHybridUnorderedMap<TKey, TValue, N, THash, TEqual>::CZanHybridUnorderedMap( CZanAllocator* pParent )
    : _InlineAllocator( *pParent )
{
    typename CBase::CTable::SEntry* pEntries = nullptr;
    int32 SlotCount = 0;
    _InlineAllocator.GetBuffer( &pEntries, &SlotCount );
    this->_Table.StartOnInternalBlock( &_InlineAllocator, pEntries, InlineBits );
}

template <typename TKey, typename TValue, int32 N, typename THash, typename TEqual>
CZanHybridUnorderedMap<TKey, TValue, N, THash, TEqual>::CZanHybridUnorderedMap(
    const CBase& Other, CZanAllocator* pParent )
    : CZanHybridUnorderedMap( pParent )
{
    CBase::operator=( Other );
}

template <typename TKey, typename TValue, int32 N, typename THash, typename TEqual>
CZanHybridUnorderedMap<TKey, TValue, N, THash, TEqual>::CZanHybridUnorderedMap(
    CBase&& Other, CZanAllocator* pParent ) noexcept
    : CZanHybridUnorderedMap( pParent )
{
    CBase::operator=( std::move( Other ) );
}

template <typename TKey, typename TValue, int32 N, typename THash, typename TEqual>
CZanHybridUnorderedMap<TKey, TValue, N, THash, TEqual>::CZanHybridUnorderedMap(
    const CZanHybridUnorderedMap& Other, CZanAllocator* pParent )
    : CZanHybridUnorderedMap( pParent )
{
    CBase::operator=( Other );
}

template <typename TKey, typename TValue, int32 N, typename THash, typename TEqual>
CZanHybridUnorderedMap<TKey, TValue, N, THash, TEqual>::CZanHybridUnorderedMap(
    CZanHybridUnorderedMap&& Other, CZanAllocator* pParent ) noexcept
    : CZanHybridUnorderedMap( pParent )
{
    CBase::operator=( std::move( Other ) );
}

template <typename TKey, typename TValue, int32 N, typename THash, typename TEqual>
auto CZanHybridUnorderedMap<TKey, TValue, N, THash, TEqual>::operator=( const CBase& Other )
    -> CZanHybridUnorderedMap&
{
    CBase::operator=( Other );
    return *this;
}

template <typename TKey, typename TValue, int32 N, typename THash, typename TEqual>
auto CZanHybridUnorderedMap<TKey, TValue, N, THash, TEqual>::operator=( CBase&& Other ) noexcept
    -> CZanHybridUnorderedMap&
{
    CBase::operator=( std::move( Other ) );
    return *this;
}

template <typename TKey, typename TValue, int32 N, typename THash, typename TEqual>
auto CZanHybridUnorderedMap<TKey, TValue, N, THash, TEqual>::operator=( const CZanHybridUnorderedMap& Other )
    -> CZanHybridUnorderedMap&
{
    CBase::operator=( Other );
    return *this;
}

template <typename TKey, typename TValue, int32 N, typename THash, typename TEqual>
auto CZanHybridUnorderedMap<TKey, TValue, N, THash, TEqual>::operator=(
    CZanHybridUnorderedMap&& Other ) noexcept -> CZanHybridUnorderedMap&
{
    CBase::operator=( std::move( Other ) );
    return *this;
}

template <typename TKey, typename TValue, typename THash, typename TEqual>
bool operator==( const CZanUnorderedMap<TKey, TValue, THash, TEqual>& Left,
    const CZanUnorderedMap<TKey, TValue, THash, TEqual>& Right )
{
    if ( Left.GetSize() != Right.GetSize() )
    {
        return false;
    }
    const bool bWalkLeft = Left.GetInfo()._Buckets <= Right.GetInfo()._Buckets;
    const auto& Walked = bWalkLeft ? Left : Right;
    const auto& Searched = bWalkLeft ? Right : Left;
    for ( const auto& Entry : Walked )
    {
        const TValue* const pValue = Searched.GetValue( Entry._Key );
        if ( pValue == nullptr || !( *pValue == Entry._Value ) )
        {
            return false;
        }
    }
    return true;
}
