#pragma once

#include "zan_core/hashing/zan_hash.h"
#include "zan_core/hashing/zan_robin_hood_table.h"
#include "zan_core/holders/zan_optional.h"
#include "zan_core/memory/zan_inline_allocator.h"

#include <initializer_list>

template <typename T, typename TSize>
class CZanArray;

/// Keys, each once, in a Robin Hood table (see there). They need only move. Where a small set is the rule,
/// CZanHybridUnorderedSet saves the allocation; for a handful of keys an array is faster. Keys of text are
/// looked up by any text, without making a key of it. Any insertion or removal invalidates iterators and
/// references. Memory comes from the allocator passed in; assignments and swaps exchange contents only. Not
/// synchronised; an unchanged set may be read by several threads.
///
///     CZanUnorderedSet<CString> Seen;
///     if ( Seen.Insert( Name ) ) { Visit( Name ); }
template <typename TKey, typename THash = SZanHash<TKey>, typename TEqual = std::equal_to<TKey>>
class CZanUnorderedSet
{
public:
    using CTable = CZanRobinHoodTable<TKey, NZanRobinHoodTable::SPayloadIsKey, THash,
        NZanRobinHoodTable::NDetail::SKeyEqual<TKey, TEqual>>;
    using CIterator = typename CTable::CConstIterator; // a key in a set cannot be changed
    using CConstIterator = CIterator;
    using SEmplaceResult = NZanRobinHoodTable::SEmplaceResult<CIterator>;

    explicit CZanUnorderedSet( CZanAllocator* pAllocator = &GetDefaultAllocator() ) : _Table( pAllocator ) {}

    /// Each inserts the items one by one, so that duplicates collapse.
    CZanUnorderedSet( std::initializer_list<TKey> Keys, CZanAllocator* pAllocator = &GetDefaultAllocator() );
    template <typename TIterator>
    requires requires( TIterator Iterator ) { *Iterator, ++Iterator; }
    CZanUnorderedSet( TIterator First, TIterator Last, CZanAllocator* pAllocator = &GetDefaultAllocator() );
    template <typename TSize>
    explicit CZanUnorderedSet(
        const CZanArray<TKey, TSize>& Keys, CZanAllocator* pAllocator = &GetDefaultAllocator() );

    /// Between sets of any kind. A copy sizes its block by the number of keys. A move takes over the block if
    /// the allocators are the same and moves each key otherwise, where a failing allocation ends the program.
    CZanUnorderedSet( const CZanUnorderedSet& Other, CZanAllocator* pAllocator = &GetDefaultAllocator() );
    CZanUnorderedSet( CZanUnorderedSet&& Other, CZanAllocator* pAllocator = &GetDefaultAllocator() ) noexcept;
    CZanUnorderedSet& operator=( const CZanUnorderedSet& Other ) = default;
    CZanUnorderedSet& operator=( CZanUnorderedSet&& Other ) noexcept = default;
    void Swap( CZanUnorderedSet& Other ) { _Table.Swap( Other._Table ); }

    int32 GetSize() const { return _Table.GetSize(); }
    bool IsEmpty() const { return GetSize() == 0; }
    NZanRobinHoodTable::SInfo GetInfo() const { return _Table.GetInfo(); }
    float GetMaxLoadFactor() const { return _Table.GetMaxLoadFactor(); }
    void SetMaxLoadFactor( float Factor ) { _Table.SetMaxLoadFactor( Factor ); }

    CIterator begin() const { return _Table.begin(); }
    CIterator end() const { return _Table.end(); }

    /// Inserts unless an equal key is there, which then stays. The two are the same.
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey>
    SEmplaceResult Insert( TKeyArg&& Key );
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey>
    SEmplaceResult InsertOrSet( TKeyArg&& Key )
    {
        return Insert( std::forward<TKeyArg>( Key ) );
    }

    /// The stored key, or the end.
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey>
    CIterator Find( const TKeyArg& Key ) const;
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey>
    bool Contains( const TKeyArg& Key ) const
    {
        return _Table.GetPayload( NZanRobinHoodTable::NDetail::AsKey<TKey, THash, TEqual>( Key ) ) != nullptr;
    }

    /// Whether there was something to remove.
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey>
    bool Remove( const TKeyArg& Key );

    /// Gives an iterator to the same slot, which holds the key that followed or is empty. Requires a key.
    CIterator Remove( CIterator Position ) { return _Table.Remove( Position ); }

    /// Removes a key and gives it. Requires a key.
    TKey ReleaseValue( CIterator Position );
    template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg = TKey>
    CZanOptional<TKey> TryReleaseValue( const TKeyArg& Key );

    void Clear() { _Table.Clear(); }                         ///< Keeps the buckets.
    void Reserve( int32 Count ) { _Table.Reserve( Count ); } ///< Room for Count keys in all.
    void ShrinkToFit() { _Table.ShrinkToFit(); } ///< Gives back memory, if there is enough to spare.
    bool CheckInvariants() const { return _Table.CheckInvariants(); } ///< For self-checks.

protected:
    CTable _Table;
};

/// A set whose first block lies inside the object: N keys take no allocation. What it holds beyond that comes
/// from the parent allocator, and it does not return to its own block. Copies and moves into it size a block
/// by the number of keys, which the parent supplies. It converts to a reference to the plain set; copies,
/// moves and swaps work between all sets of the same key.
template <typename TKey, int32 N, typename THash = SZanHash<TKey>, typename TEqual = std::equal_to<TKey>>
class CZanHybridUnorderedSet : public CZanUnorderedSet<TKey, THash, TEqual>
{
    using CBase = CZanUnorderedSet<TKey, THash, TEqual>;

public:
    explicit CZanHybridUnorderedSet( CZanAllocator* pParent = &GetDefaultAllocator() );
    CZanHybridUnorderedSet(
        std::initializer_list<TKey> Keys, CZanAllocator* pParent = &GetDefaultAllocator() );
    template <typename TIterator>
    requires requires( TIterator Iterator ) { *Iterator, ++Iterator; }
    CZanHybridUnorderedSet(
        TIterator First, TIterator Last, CZanAllocator* pParent = &GetDefaultAllocator() );
    template <typename TSize>
    explicit CZanHybridUnorderedSet(
        const CZanArray<TKey, TSize>& Keys, CZanAllocator* pParent = &GetDefaultAllocator() );
    CZanHybridUnorderedSet( const CBase& Other, CZanAllocator* pParent = &GetDefaultAllocator() );
    CZanHybridUnorderedSet( CBase&& Other, CZanAllocator* pParent = &GetDefaultAllocator() ) noexcept;
    CZanHybridUnorderedSet(
        const CZanHybridUnorderedSet& Other, CZanAllocator* pParent = &GetDefaultAllocator() );
    CZanHybridUnorderedSet(
        CZanHybridUnorderedSet&& Other, CZanAllocator* pParent = &GetDefaultAllocator() ) noexcept;
    ~CZanHybridUnorderedSet() { this->_Table.Release(); }

    CZanHybridUnorderedSet& operator=( const CBase& Other );
    CZanHybridUnorderedSet& operator=( CBase&& Other ) noexcept;
    CZanHybridUnorderedSet& operator=( const CZanHybridUnorderedSet& Other );
    CZanHybridUnorderedSet& operator=( CZanHybridUnorderedSet&& Other ) noexcept;

private:
    static constexpr int32 InlineBits = NZanRobinHoodTable::CalcInlineBits( N );

    CZanHybridInlineBufferAllocator<typename CBase::CTable::SEntry,
        NZanRobinHoodTable::CalcSlotCount( InlineBits )>
        _InlineAllocator;
};

/// The same keys, in whatever order.
template <typename TKey, typename THash, typename TEqual>
bool operator==(
    const CZanUnorderedSet<TKey, THash, TEqual>& Left, const CZanUnorderedSet<TKey, THash, TEqual>& Right );

template <typename TKey, typename THash, typename TEqual>
void swap( CZanUnorderedSet<TKey, THash, TEqual>& Left, CZanUnorderedSet<TKey, THash, TEqual>& Right )
{
    Left.Swap( Right );
}
template <typename TKey, int32 N, typename THash, typename TEqual>
void swap( CZanHybridUnorderedSet<TKey, N, THash, TEqual>& Left,
    CZanHybridUnorderedSet<TKey, N, THash, TEqual>& Right )
{
    Left.Swap( Right );
}

template <typename TKey, typename THash, typename TEqual>
auto begin( const CZanUnorderedSet<TKey, THash, TEqual>& Set )
{
    return Set.begin();
}
template <typename TKey, typename THash, typename TEqual>
auto end( const CZanUnorderedSet<TKey, THash, TEqual>& Set )
{
    return Set.end();
}

// --- Bodies --------------------------------------------------------------------------------------------

template <typename TKey, typename THash, typename TEqual>
CZanUnorderedSet<TKey, THash, TEqual>::CZanUnorderedSet(
    std::initializer_list<TKey> Keys, CZanAllocator* pAllocator )
    : _Table( pAllocator )
{
    for ( const TKey& Key : Keys )
    {
        Insert( Key );
    }
}

template <typename TKey, typename THash, typename TEqual>
template <typename TIterator>
requires requires( TIterator Iterator ) { *Iterator, ++Iterator; }
CZanUnorderedSet<TKey, THash, TEqual>::CZanUnorderedSet(
    TIterator First, TIterator Last, CZanAllocator* pAllocator )
    : _Table( pAllocator )
{
    for ( ; First != Last; ++First )
    {
        Insert( *First );
    }
}

template <typename TKey, typename THash, typename TEqual>
template <typename TSize>
CZanUnorderedSet<TKey, THash, TEqual>::CZanUnorderedSet(
    const CZanArray<TKey, TSize>& Keys, CZanAllocator* pAllocator )
    : _Table( pAllocator )
{
    for ( const TKey& Key : Keys )
    {
        Insert( Key );
    }
}

template <typename TKey, typename THash, typename TEqual>
CZanUnorderedSet<TKey, THash, TEqual>::CZanUnorderedSet(
    const CZanUnorderedSet& Other, CZanAllocator* pAllocator )
    : _Table( pAllocator )
{
    _Table = Other._Table;
}

template <typename TKey, typename THash, typename TEqual>
CZanUnorderedSet<TKey, THash, TEqual>::CZanUnorderedSet(
    CZanUnorderedSet&& Other, CZanAllocator* pAllocator ) noexcept
    : _Table( pAllocator )
{
    _Table = std::move( Other._Table );
}

template <typename TKey, typename THash, typename TEqual>
template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg>
inline auto CZanUnorderedSet<TKey, THash, TEqual>::Insert( TKeyArg&& Key ) -> SEmplaceResult
{
    auto&& Actual = NZanRobinHoodTable::NDetail::AsKey<TKey, THash, TEqual>( std::forward<TKeyArg>( Key ) );
    const auto Result = _Table.EmplaceBuilt( CTable::CalcHash( Actual ), Actual,
        [ & ]() -> TKey { return TKey( std::forward<decltype( Actual )>( Actual ) ); } );
    return { Result._Iterator, Result._bInserted };
}

template <typename TKey, typename THash, typename TEqual>
template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg>
inline auto CZanUnorderedSet<TKey, THash, TEqual>::Find( const TKeyArg& Key ) const -> CIterator
{
    return _Table.Find( NZanRobinHoodTable::NDetail::AsKey<TKey, THash, TEqual>( Key ) );
}

template <typename TKey, typename THash, typename TEqual>
template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg>
inline bool CZanUnorderedSet<TKey, THash, TEqual>::Remove( const TKeyArg& Key )
{
    const CIterator Found = Find( Key );
    if ( !Found )
    {
        return false;
    }
    _Table.Remove( Found );
    return true;
}

template <typename TKey, typename THash, typename TEqual>
TKey CZanUnorderedSet<TKey, THash, TEqual>::ReleaseValue( CIterator Position )
{
    TKey Key( std::move( const_cast<TKey&>( *Position ) ) );
    _Table.Remove( Position );
    return Key;
}

template <typename TKey, typename THash, typename TEqual>
template <NZanRobinHoodTable::CKeyFor<TKey, THash, TEqual> TKeyArg>
CZanOptional<TKey> CZanUnorderedSet<TKey, THash, TEqual>::TryReleaseValue( const TKeyArg& Key )
{
    const CIterator Found = Find( Key );
    return Found ? CZanOptional<TKey>( ReleaseValue( Found ) ) : CZanOptional<TKey>();
}

template <typename TKey, int32 N, typename THash, typename TEqual>
CZanHybridUnorderedSet<TKey, N, THash, TEqual>::CZanHybridUnorderedSet( CZanAllocator* pParent )
    : _InlineAllocator( *pParent )
{
    typename CBase::CTable::SEntry* pEntries = nullptr;
    int32 SlotCount = 0;
    _InlineAllocator.GetBuffer( &pEntries, &SlotCount );
    this->_Table.StartOnInternalBlock( &_InlineAllocator, pEntries, InlineBits );
}

template <typename TKey, int32 N, typename THash, typename TEqual>
CZanHybridUnorderedSet<TKey, N, THash, TEqual>::CZanHybridUnorderedSet(
    std::initializer_list<TKey> Keys, CZanAllocator* pParent )
    : CZanHybridUnorderedSet( pParent )
{
    for ( const TKey& Key : Keys )
    {
        this->Insert( Key );
    }
}

template <typename TKey, int32 N, typename THash, typename TEqual>
template <typename TIterator>
requires requires( TIterator Iterator ) { *Iterator, ++Iterator; }
CZanHybridUnorderedSet<TKey, N, THash, TEqual>::CZanHybridUnorderedSet(
    TIterator First, TIterator Last, CZanAllocator* pParent )
    : CZanHybridUnorderedSet( pParent )
{
    for ( ; First != Last; ++First )
    {
        this->Insert( *First );
    }
}

template <typename TKey, int32 N, typename THash, typename TEqual>
template <typename TSize>
CZanHybridUnorderedSet<TKey, N, THash, TEqual>::CZanHybridUnorderedSet(
    const CZanArray<TKey, TSize>& Keys, CZanAllocator* pParent )
    : CZanHybridUnorderedSet( pParent )
{
    for ( const TKey& Key : Keys )
    {
        this->Insert( Key );
    }
}

template <typename TKey, int32 N, typename THash, typename TEqual>
CZanHybridUnorderedSet<TKey, N, THash, TEqual>::CZanHybridUnorderedSet(
    const CBase& Other, CZanAllocator* pParent )
    : CZanHybridUnorderedSet( pParent )
{
    CBase::operator=( Other );
}

template <typename TKey, int32 N, typename THash, typename TEqual>
CZanHybridUnorderedSet<TKey, N, THash, TEqual>::CZanHybridUnorderedSet(
    CBase&& Other, CZanAllocator* pParent ) noexcept
    : CZanHybridUnorderedSet( pParent )
{
    CBase::operator=( std::move( Other ) );
}

template <typename TKey, int32 N, typename THash, typename TEqual>
CZanHybridUnorderedSet<TKey, N, THash, TEqual>::CZanHybridUnorderedSet(
    const CZanHybridUnorderedSet& Other, CZanAllocator* pParent )
    : CZanHybridUnorderedSet( pParent )
{
    CBase::operator=( Other );
}

template <typename TKey, int32 N, typename THash, typename TEqual>
CZanHybridUnorderedSet<TKey, N, THash, TEqual>::CZanHybridUnorderedSet(
    CZanHybridUnorderedSet&& Other, CZanAllocator* pParent ) noexcept
    : CZanHybridUnorderedSet( pParent )
{
    CBase::operator=( std::move( Other ) );
}

template <typename TKey, int32 N, typename THash, typename TEqual>
auto CZanHybridUnorderedSet<TKey, N, THash, TEqual>::operator=( const CBase& Other )
    -> CZanHybridUnorderedSet&
{
    CBase::operator=( Other );
    return *this;
}

template <typename TKey, int32 N, typename THash, typename TEqual>
auto CZanHybridUnorderedSet<TKey, N, THash, TEqual>::operator=( CBase&& Other ) noexcept
    -> CZanHybridUnorderedSet&
{
    CBase::operator=( std::move( Other ) );
    return *this;
}

template <typename TKey, int32 N, typename THash, typename TEqual>
auto CZanHybridUnorderedSet<TKey, N, THash, TEqual>::operator=( const CZanHybridUnorderedSet& Other )
    -> CZanHybridUnorderedSet&
{
    CBase::operator=( Other );
    return *this;
}

template <typename TKey, int32 N, typename THash, typename TEqual>
auto CZanHybridUnorderedSet<TKey, N, THash, TEqual>::operator=( CZanHybridUnorderedSet&& Other ) noexcept
    -> CZanHybridUnorderedSet&
{
    CBase::operator=( std::move( Other ) );
    return *this;
}

template <typename TKey, typename THash, typename TEqual>
bool operator==(
    const CZanUnorderedSet<TKey, THash, TEqual>& Left, const CZanUnorderedSet<TKey, THash, TEqual>& Right )
{
    if ( Left.GetSize() != Right.GetSize() )
    {
        return false;
    }
    const bool bWalkLeft = Left.GetInfo()._Buckets <= Right.GetInfo()._Buckets;
    const auto& Searched = bWalkLeft ? Right : Left;
    for ( const TKey& Key : bWalkLeft ? Left : Right )
    {
        if ( !Searched.Contains( Key ) )
        {
            return false;
        }
    }
    return true;
}
