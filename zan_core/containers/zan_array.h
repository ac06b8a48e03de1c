#pragma once

#include "zan_core/memory/zan_allocator.h"
#include "zan_core/memory/zan_inline_allocator.h"
#include "zan_core/zan_expects.h"
#include "zan_core/zan_types.h"

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <new>
#include <type_traits>
#include <utility>

template <typename T, int32 N, typename TSize, typename TAllocator>
class CZanInlineBufArray;

namespace NZanArray::NDetail
{
template <typename TFunction, typename TElement>
concept IsPredicateOn = requires( TFunction& Function, TElement& Element )
{
    {
        Function( Element )
        } -> std::convertible_to<bool>;
};

/// Orders as std::less does, whose header is too heavy for this one.
struct SLess
{
    template <typename T>
    constexpr bool operator()( const T& Left, const T& Right ) const;
};

template <typename T>
class CBlock;
} // namespace NZanArray::NDetail

/// A growable array: contiguous elements in one block of an allocator that is not owned. The first choice for
/// any sequence; where a small number is usual, CZanInlineBufArray saves the block. Calls that append or
/// insert double the capacity when they run out, all others allocate exactly, and only ShrinkToFit shrinks.
/// An argument may be an element of the array itself. The allocator is chosen at construction: copies, moves
/// and swaps exchange elements, or whole blocks between arrays on one allocator object. A change of capacity
/// invalidates references; so does, from there on, inserting and removing. Out of memory throws what the
/// allocator throws, and leaves the array as it was. Any threads may read, one may change.
///
///     CZanArray<int32> Primes = { 2, 3, 5 };
///     Primes.Append( Primes[ 0 ] + Primes[ 2 ] );
///     Primes.RemoveIf( []( int32 Prime ) { return Prime < 3; } );  // 3, 5, 7
template <typename T, typename TSize = int32>
class CZanArray
{
    static_assert( std::is_object_v<T> && std::is_same_v<T, std::remove_cv_t<T>>,
        "elements are assigned and relocated, which neither references nor constants can be" );
    static_assert( std::is_integral_v<TSize> && std::is_signed_v<TSize> && sizeof( TSize ) >= sizeof( int32 ),
        "a negative index means not found, and sizes are added without promotion" );

public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;

    CZanArray() : CZanArray( GetDefaultAllocator() ) {}
    explicit CZanArray( CZanAllocator& Allocator )
        : _pData( nullptr ), _Capacity( 0 ), _Size( 0 ), _pAllocator( &Allocator )
    {}
    CZanArray( const T* pData, TSize Count );
    CZanArray( std::initializer_list<T> Values );

    /// Count elements: value-initialised, copies of Value, or each built from the same arguments.
    explicit CZanArray( TSize Count );
    explicit CZanArray( TSize Count, const T& Value );
    template <typename TArg, typename... TArgs>
    requires std::is_constructible_v<T, TArg&, TArgs&...>
    explicit CZanArray( TSize Count, TArg&& Arg, TArgs&&... Args );

    /// Copies and moves as the assignments do, into an empty array, which does not take on Other's allocator.
    CZanArray( const CZanArray& Other );
    CZanArray( const CZanArray& Other, CZanAllocator& Allocator );
    CZanArray( CZanArray&& Other );
    CZanArray( CZanArray&& Other, CZanAllocator& Allocator );

    ~CZanArray();

    CZanArray& operator=( const CZanArray& Other );
    CZanArray& operator=( std::initializer_list<T> Values );

    /// On the same allocator object, takes Source's block and leaves it without one, in constant time.
    /// Otherwise moves element by element, and Source keeps its block; so do moves from a CZanInlineBufArray.
    CZanArray& operator=( CZanArray&& Source );

    /// On the same allocator object, exchanges the blocks in constant time. Otherwise moves all elements.
    void Swap( CZanArray& Other );
    template <int32 N, typename TAllocator>
    void Swap( CZanInlineBufArray<T, N, TSize, TAllocator>& Other );

    TSize GetSize() const { return _Size; }
    TSize GetCapacity() const { return _Capacity; }
    bool IsEmpty() const { return _Size == 0; }
    CZanAllocator& GetAllocator() const { return *_pAllocator; }
    int32 GetByteSize() const { return static_cast<int32>( CalcBytes( _Size ) ); }
    int32 GetAllocationByteSize() const { return static_cast<int32>( CalcBytes( _Capacity ) ); }

    /// Null while there is no block.
    T* GetData() { return _pData; }
    const T* GetData() const { return _pData; }

    /// Requires an element. First and last.
    T& GetHeadData() { return const_cast<T&>( std::as_const( *this ).GetHeadData() ); }
    const T& GetHeadData() const;
    T& GetTailData() { return const_cast<T&>( std::as_const( *this ).GetTailData() ); }
    const T& GetTailData() const;

    /// Requires 0 <= Index < GetSize().
    T& operator[]( TSize Index ) { return const_cast<T&>( std::as_const( *this )[ Index ] ); }
    const T& operator[]( TSize Index ) const;

    const T* GetIterStart() const { return _pData; }
    const T* GetIterEnd() const { return _pData + _Size; }
    T* AccessIterStart() { return _pData; }
    T* AccessIterEnd() { return _pData + _Size; }

    /// Makes the capacity at least Capacity.
    void Reserve( TSize Capacity );

    /// Destroys the surplus, or adds elements at the end: value-initialised, copies of Value, or raw ones,
    /// which only trivial types can bear.
    void SetSize( TSize Size ) { Resize( Size ); }
    void SetSize( TSize Size, const T& Value ) { Resize( Size, Value ); }
    void SetSizeNoInit( TSize Size );

    /// Adds Count elements as SetSize does. A negative Count removes.
    void IncreaseSize( TSize Count );
    void IncreaseSizeNoInit( TSize Count );

    /// The element at Index, behind growing as SetSize does when there is none yet. Requires 0 <= Index.
    T& GrowToIncludeIndex( TSize Index );
    T& GrowToIncludeIndex( TSize Index, const T& Value );

    /// Gives back what the elements do not need, unless the block is embedded in its allocator.
    void ShrinkToFit();

    /// Add one element at the end and give it.
    T& Append( const T& Value ) { return AppendEmplace( Value ); }
    T& Append( T&& Value ) { return AppendEmplace( std::move( Value ) ); }
    template <typename... TArgs>
    T& AppendEmplace( TArgs&&... Args );

    /// Add copies at the end. The elements may be this array's own.
    template <std::same_as<TSize> TOtherSize> // deduced, so that braces mean an element or a list of them
    void Append( const CZanArray<T, TOtherSize>& Other );
    void Append( const T* pData, TSize Count ) { Insert( _Size, pData, Count ); }
    void Append( std::initializer_list<T> Values );

    /// Moves Source's elements to the end and leaves it empty: by move assignment when this array is empty,
    /// else element by element, with a capacity of exactly the sum if it grows.
    template <std::same_as<TSize> TOtherSize>
    void Append( CZanArray<T, TOtherSize>&& Source );

    /// Add one element before the one at Index, or at the end, and give it. Requires 0 <= Index <= GetSize().
    T& Insert( TSize Index, const T& Value ) { return InsertEmplace( Index, Value ); }
    T& Insert( TSize Index, T&& Value ) { return InsertEmplace( Index, std::move( Value ) ); }
    template <typename... TArgs>
    T& InsertEmplace( TSize Index, TArgs&&... Args );

    /// Inserts copies, also of elements of this array. Requires 0 <= Index <= GetSize().
    void Insert( TSize Index, const T* pData, TSize Count );

    // Nothing that removes changes the capacity. What gives a number gives that of the removed elements.

    void RemoveAll();

    /// For owned pointers into blocks of this array's allocator: destroys each pointee and frees its block.
    void DeleteAll();

    /// Nothing on an empty array.
    void RemoveTail();

    /// Keep the order. Require indices of elements.
    void RemoveAt( TSize Index );
    TSize RemoveRange( TSize First, TSize Last ); ///< First up to, not including, Last.

    /// Removes the first element that equals Value, and keeps the order.
    bool RemoveFirstOf( const T& Value );

    /// Remove every match and keep the order, in one pass.
    TSize Remove( const T& Value );
    template <NZanArray::NDetail::IsPredicateOn<T> TPredicate>
    TSize Remove( TPredicate&& Predicate );
    template <typename TPredicate>
    TSize RemoveIf( TPredicate&& Predicate );

    /// Removes the elements at these ascending positions and keeps the order. The first entry that does not
    /// name a position behind the one before it ends the list.
    TSize RemoveAtIndices( const CZanArray<int32>& Indices );

    /// Fill the gap from the end and so change the order, at a constant cost for each removed element.
    void SwapToTailRemoveAt( TSize Index ); ///< Requires the index of an element.
    TSize SwapToTailRemove( const T& Value );
    template <typename TPredicate>
    TSize SwapToTailRemoveIf( TPredicate&& Predicate );

    bool Contains( const T& Value ) const { return FindIndex( Value ) >= 0; }
    template <NZanArray::NDetail::IsPredicateOn<const T> TPredicate>
    bool Contains( TPredicate&& Predicate ) const;
    template <typename TPredicate>
    bool ContainsIf( TPredicate&& Predicate ) const;

    /// The first match, or null.
    template <typename TPredicate>
    T* FindIf( TPredicate&& Predicate );
    template <typename TPredicate>
    const T* FindIf( TPredicate&& Predicate ) const;

    /// The index of the first match, or -1.
    TSize FindIndex( const T& Value ) const;
    template <NZanArray::NDetail::IsPredicateOn<const T> TPredicate>
    TSize FindIndex( TPredicate&& Predicate ) const;
    template <typename TPredicate>
    TSize FindIndexIf( TPredicate&& Predicate ) const;

    template <typename TFunction>
    void ForEach( TFunction&& Function );
    template <typename TFunction>
    void ForEach( TFunction&& Function ) const;

    /// Equal elements keep their order.
    template <typename TCompare = NZanArray::NDetail::SLess>
    void Sort( TCompare Compare = TCompare() );

    // These require an array that is sorted by Compare, and search by bisection.

    /// Inserts behind the elements that are equivalent to Value and gives the index.
    template <typename TCompare = NZanArray::NDetail::SLess>
    TSize InsertSorted( const T& Value, TCompare Compare = TCompare() );
    template <typename TCompare = NZanArray::NDetail::SLess>
    TSize InsertSorted( T&& Value, TCompare Compare = TCompare() );

    /// The index of the first element that is equivalent to Value, or -1.
    template <typename TCompare = NZanArray::NDetail::SLess>
    TSize FindIndexSorted( const T& Value, TCompare Compare = TCompare() ) const;
    template <typename TCompare = NZanArray::NDetail::SLess>
    bool ContainsSorted( const T& Value, TCompare Compare = TCompare() ) const;

    /// Removes all elements that are equivalent to Value and gives their number.
    template <typename TCompare = NZanArray::NDetail::SLess>
    TSize RemoveSorted( const T& Value, TCompare Compare = TCompare() );

    /// For self-checks: true when the fields keep their invariants.
    bool CheckInvariants() const;

protected:
    // For arrays that hold an allocator with a first buffer as a member. Such an array starts on it in each
    // constructor and leaves it in its destructor, because the member lives shorter than this base.

    struct SWithoutAllocator
    {};
    explicit CZanArray( SWithoutAllocator ) : _Size( 0 ) {} // the rest comes with the buffer

    /// Requires that there is no block.
    template <typename TBufferAllocator>
    void StartOnBuffer( TBufferAllocator& Allocator );

    /// Destroys the elements and frees the block.
    template <typename TBufferAllocator>
    void LeaveBuffer( TBufferAllocator& Allocator );

private:
    template <typename TElement, int32 N, typename TOtherSize, typename TAllocator>
    friend class CZanInlineBufArray;

    // Templates for the sake of incomplete element types.
    template <typename TElement>
    static constexpr bool IsBlockMovable = std::is_trivially_copyable_v<TElement>;

    // Better copied before a call than passed by reference, which would force the caller's value into memory.
    template <typename TElement>
    static constexpr bool IsCheap = std::conjunction_v<std::is_trivially_copyable<TElement>,
        std::is_trivially_copy_constructible<TElement>, std::is_trivially_copy_assignable<TElement>,
        std::bool_constant<sizeof( TElement ) <= 4 * sizeof( void* )>>;

    static constexpr TSize GetMaxSize();
    static constexpr uint64 CalcBytes( TSize Count );
    bool IsIndex( TSize Index ) const { return Index >= 0 && Index < _Size; }
    bool IsOwnElement( const T& Value ) const;

    TSize CalcGrownCapacity( TSize Added ) const;
    void Reallocate( TSize Capacity );
    [[gnu::noinline]] T* GrowForOne();
    template <typename... TArgs>
    [[gnu::noinline]] T& GrowAndEmplace( TSize Index, TArgs&&... Args );
    template <typename TBuild>
    T* GrowWithGap( TSize Capacity, TSize Index, TSize Count, const TBuild& Build );
    void AdoptBlock( NZanArray::NDetail::CBlock<T>& Block, TSize Capacity );

    template <typename... TArgs>
    void Resize( TSize Size, TArgs&... Args );
    void DestroyTail( TSize Count );
    void CloseGap( TSize First, TSize Count );
    void RotateLastTo( TSize Index );
    void RotateTailTo( TSize Index, TSize Count );
    void InsertBlock( TSize Index, const T* pData, TSize Count );

    void AssignCopies( const T* pData, TSize Count );
    void MoveElementsFrom( CZanArray& Source );
    void ExchangeElements( CZanArray& Other );
    void ExchangeBlocks( CZanArray& Other );

    T* _pData;                  // null exactly when the capacity is 0
    TSize _Capacity;            // elements that the block has room for
    TSize _Size;                // the first _Size places hold elements, the others are raw
    CZanAllocator* _pAllocator; // not owned, never null
};

static_assert( sizeof( CZanArray<int32> ) == 2 * sizeof( void* ) + 2 * sizeof( int32 ),
    "arrays are members of most objects, and many of them stay empty" );

template <typename T, typename TSize>
bool operator==( const CZanArray<T, TSize>& Left, const CZanArray<T, TSize>& Right )
{
    return Left.GetSize() == Right.GetSize() &&
           std::equal( Left.GetIterStart(), Left.GetIterEnd(), Right.GetIterStart() );
}

template <typename T, typename TSize>
void swap( CZanArray<T, TSize>& Left, CZanArray<T, TSize>& Right )
{
    Left.Swap( Right );
}

template <typename T, typename TSize>
T* begin( CZanArray<T, TSize>& Array )
{
    return Array.AccessIterStart();
}

template <typename T, typename TSize>
T* end( CZanArray<T, TSize>& Array )
{
    return Array.AccessIterEnd();
}

template <typename T, typename TSize>
const T* begin( const CZanArray<T, TSize>& Array )
{
    return Array.GetIterStart();
}

template <typename T, typename TSize>
const T* end( const CZanArray<T, TSize>& Array )
{
    return Array.GetIterEnd();
}

// --- Elements ------------------------------------------------------------------------------------

namespace NZanArray::NDetail
{
template <typename T>
constexpr bool SLess::operator()( const T& Left, const T& Right ) const
{
    if constexpr ( std::is_pointer_v<T> )
    {
        return std::ranges::less()( Left, Right ); // a total order, which < on pointers need not be
    }
    else
    {
        return Left < Right;
    }
}

template <typename T, typename... TArgs>
inline T* ConstructAt( T* pPlace, TArgs&&... Args )
{
    if constexpr ( std::is_constructible_v<T, TArgs...> )
    {
        return ::new ( static_cast<void*>( pPlace ) ) T( std::forward<TArgs>( Args )... );
    }
    else // an aggregate, for a compiler that builds those from braces only
    {
        return ::new ( static_cast<void*>( pPlace ) ) T{ std::forward<TArgs>( Args )... };
    }
}

template <typename T, typename... TArgs>
inline T Make( TArgs&&... Args )
{
    if constexpr ( std::is_constructible_v<T, TArgs...> )
    {
        return T( std::forward<TArgs>( Args )... );
    }
    else
    {
        return T{ std::forward<TArgs>( Args )... };
    }
}

template <typename T>
inline void DestroyEach( T* pFirst, const T* pEnd )
{
    if constexpr ( !std::is_trivially_destructible_v<T> )
    {
        for ( ; pFirst != pEnd; ++pFirst )
        {
            pFirst->~T();
        }
    }
}

/// The elements from pFirst up to _pEnd, destroyed when building goes no further. Costs nothing where nothing
/// throws.
template <typename T>
class CRollback
{
public:
    CRollback( T* pFirst, T* pEnd ) : _pEnd( pEnd ), _pFirst( pFirst ) {}
    ~CRollback() { DestroyEach( _pFirst, _pEnd ); }
    CRollback( const CRollback& ) = delete;
    CRollback& operator=( const CRollback& ) = delete;

    void Keep() { _pFirst = _pEnd; }

    T* _pEnd;

private:
    T* _pFirst;
};

// Each of these builds all elements or, when a constructor throws, none.

template <typename T, typename TSize, typename... TArgs>
void ConstructEach( T* pFirst, TSize Count, TArgs&... Args )
{
    CRollback<T> Built( pFirst, pFirst );
    for ( T* const pEnd = pFirst + Count; Built._pEnd != pEnd; ++Built._pEnd )
    {
        ConstructAt( Built._pEnd, Args... );
    }
    Built.Keep();
}

/// Bytes of elements that block moves can carry. The ranges may overlap.
template <typename T, typename TSize>
inline void MoveBlock( T* pTo, const T* pFrom, TSize Count )
{
    static_assert( std::is_trivially_copyable_v<T>, "other elements have to see that they are moved" );
    if ( Count > 0 )
    {
        std::memmove( static_cast<void*>( pTo ), pFrom, static_cast<std::size_t>( Count ) * sizeof( T ) );
    }
}

/// The same for ranges that do not overlap.
template <typename T, typename TSize>
inline void CopyBlock( T* pTo, const T* pFrom, TSize Count )
{
    static_assert( std::is_trivially_copyable_v<T>, "other elements have to see that they are moved" );
    if ( Count > 0 )
    {
        std::memcpy( static_cast<void*>( pTo ), pFrom, static_cast<std::size_t>( Count ) * sizeof( T ) );
    }
}

template <typename T, typename TSize>
inline void CopyConstruct( T* pTo, const T* pFrom, TSize Count )
{
    if constexpr ( std::is_trivially_copyable_v<T> && std::is_copy_constructible_v<T> )
    {
        CopyBlock( pTo, pFrom, Count );
    }
    else
    {
        CRollback<T> Built( pTo, pTo );
        for ( T* const pEnd = pTo + Count; Built._pEnd != pEnd; ++Built._pEnd, ++pFrom )
        {
            ConstructAt( Built._pEnd, *pFrom );
        }
        Built.Keep();
    }
}

/// The sources stay, as they are after being moved from.
template <typename T, typename TSize>
inline void MoveConstruct( T* pTo, T* pFrom, TSize Count )
{
    if constexpr ( std::is_trivially_copyable_v<T> )
    {
        CopyBlock( pTo, pFrom, Count );
    }
    else
    {
        CRollback<T> Built( pTo, pTo );
        for ( T* const pEnd = pTo + Count; Built._pEnd != pEnd; ++Built._pEnd, ++pFrom )
        {
            ConstructAt( Built._pEnd, std::move( *pFrom ) );
        }
        Built.Keep();
    }
}

/// Moves elements to raw places that do not overlap them, and leaves their own ones raw.
template <typename T, typename TSize>
inline void Relocate( T* pTo, T* pFrom, TSize Count )
{
    if constexpr ( std::is_trivially_copyable_v<T> || !std::is_nothrow_move_constructible_v<T> )
    {
        MoveConstruct( pTo, pFrom, Count );
        DestroyEach( pFrom, pFrom + Count );
    }
    else
    {
        for ( T* const pEnd = pFrom + Count; pFrom != pEnd; ++pFrom, ++pTo )
        {
            ConstructAt( pTo, std::move( *pFrom ) );
            pFrom->~T();
        }
    }
}

/// Relocates Size elements to another block, so that Count raw places open at Index.
template <typename T, typename TSize>
void RelocateAround( T* pTo, T* pFrom, TSize Size, TSize Index, TSize Count )
{
    if constexpr ( std::is_trivially_copyable_v<T> || std::is_nothrow_move_constructible_v<T> )
    {
        Relocate( pTo, pFrom, Index );
        Relocate( pTo + Index + Count, pFrom + Index, Size - Index );
    }
    else // no source is destroyed before the last constructor that can throw
    {
        MoveConstruct( pTo, pFrom, Index );
        CRollback<T> Head( pTo, pTo + Index );
        MoveConstruct( pTo + Index + Count, pFrom + Index, Size - Index );
        Head.Keep();
        DestroyEach( pFrom, pFrom + Size );
    }
}

/// A raw block that goes back to its allocator at the end of the scope.
template <typename T>
class CBlock
{
public:
    CBlock( CZanAllocator& Allocator, uint64 ByteSize )
        : _Allocator( Allocator ),
          _pData( static_cast<T*>( Allocator.Allocate( ByteSize, uint32( alignof( T ) ) ) ) )
    {}
    ~CBlock()
    {
        if ( _pData != nullptr )
        {
            _Allocator.Free( _pData );
        }
    }
    CBlock( const CBlock& ) = delete;
    CBlock& operator=( const CBlock& ) = delete;

    bool IsUsable() const
    {
        return zan_expects( _pData != nullptr, "An array outgrew an allocator that gives no more memory" ) &&
               zan_expects( reinterpret_cast<std::uintptr_t>( _pData ) % alignof( T ) == 0,
                   "An array's allocator does not honour the alignment of the elements" );
    }

    T* GetData() const { return _pData; }
    void Exchange( T*& pData ) { std::swap( _pData, pData ); }

private:
    CZanAllocator& _Allocator;
    T* _pData;
};
} // namespace NZanArray::NDetail

// --- Construction, assignment, swap --------------------------------------------------------------

// The constructors that fill delegate, so that the destructor runs when an element's constructor throws.

template <typename T, typename TSize>
CZanArray<T, TSize>::CZanArray( const T* pData, TSize Count ) : CZanArray()
{
    Append( pData, Count );
}

template <typename T, typename TSize>
CZanArray<T, TSize>::CZanArray( std::initializer_list<T> Values ) : CZanArray()
{
    Append( Values );
}

template <typename T, typename TSize>
CZanArray<T, TSize>::CZanArray( TSize Count ) : CZanArray()
{
    Resize( Count );
}

template <typename T, typename TSize>
CZanArray<T, TSize>::CZanArray( TSize Count, const T& Value ) : CZanArray()
{
    Resize( Count, Value );
}

template <typename T, typename TSize>
template <typename TArg, typename... TArgs>
requires std::is_constructible_v<T, TArg&, TArgs&...> CZanArray<T, TSize>::CZanArray(
    TSize Count, TArg&& Arg, TArgs&&... Args )
    : CZanArray()
{
    Resize( Count, Arg, Args... );
}

template <typename T, typename TSize>
CZanArray<T, TSize>::CZanArray( const CZanArray& Other ) : CZanArray( Other, GetDefaultAllocator() )
{}

template <typename T, typename TSize>
CZanArray<T, TSize>::CZanArray( const CZanArray& Other, CZanAllocator& Allocator ) : CZanArray( Allocator )
{
    AssignCopies( Other._pData, Other._Size );
}

template <typename T, typename TSize>
CZanArray<T, TSize>::CZanArray( CZanArray&& Other ) : CZanArray( std::move( Other ), GetDefaultAllocator() )
{}

template <typename T, typename TSize>
CZanArray<T, TSize>::CZanArray( CZanArray&& Other, CZanAllocator& Allocator ) : CZanArray( Allocator )
{
    *this = std::move( Other );
}

template <typename T, typename TSize>
CZanArray<T, TSize>::~CZanArray()
{
    if ( _pData != nullptr )
    {
        NZanArray::NDetail::DestroyEach( _pData, _pData + _Size );
        _pAllocator->Free( _pData );
    }
}

template <typename T, typename TSize>
CZanArray<T, TSize>& CZanArray<T, TSize>::operator=( const CZanArray& Other )
{
    if ( this != &Other )
    {
        AssignCopies( Other._pData, Other._Size );
    }
    return *this;
}

template <typename T, typename TSize>
CZanArray<T, TSize>& CZanArray<T, TSize>::operator=( std::initializer_list<T> Values )
{
    AssignCopies( Values.begin(), static_cast<TSize>( Values.size() ) );
    return *this;
}

template <typename T, typename TSize>
CZanArray<T, TSize>& CZanArray<T, TSize>::operator=( CZanArray&& Source )
{
    if ( _pAllocator != Source._pAllocator )
    {
        MoveElementsFrom( Source );
    }
    else if ( this != &Source )
    {
        // By way of a third array, for the source may be an element's member and go with this one's elements.
        CZanArray Taken( *_pAllocator );
        Taken.ExchangeBlocks( Source );
        ExchangeBlocks( Taken );
    }
    return *this;
}

template <typename T, typename TSize>
void CZanArray<T, TSize>::Swap( CZanArray& Other )
{
    if ( _pAllocator == Other._pAllocator )
    {
        ExchangeBlocks( Other );
        return;
    }
    CZanArray& Smaller = _Size <= Other._Size ? *this : Other;
    CZanArray& Larger = _Size <= Other._Size ? Other : *this;
    constexpr int32 InlineCount = sizeof( T ) <= 1024 ? int32( 1024 / sizeof( T ) ) : 1;
    CZanHybridInlineBufferAllocator<T, InlineCount, TSize> TemporaryAllocator;
    CZanArray Temporary( TemporaryAllocator );
    TemporaryAllocator.GetBuffer( &Temporary._pData, &Temporary._Capacity );
    if ( Larger._Size <= Smaller._Capacity )
    {
        Temporary.MoveElementsFrom( Smaller );
    }
    else // all memory comes before the first move
    {
        NZanArray::NDetail::CBlock<T> Block( *Smaller._pAllocator, CalcBytes( Larger._Size ) );
        if ( !Block.IsUsable() )
        {
            return;
        }
        Temporary.MoveElementsFrom( Smaller );
        Smaller.AdoptBlock( Block, Larger._Size );
    }
    Smaller.MoveElementsFrom( Larger );
    Larger.MoveElementsFrom( Temporary );
}

template <typename T, typename TSize>
template <int32 N, typename TAllocator>
void CZanArray<T, TSize>::Swap( CZanInlineBufArray<T, N, TSize, TAllocator>& Other )
{
    Other.Swap( *this );
}

// --- Access --------------------------------------------------------------------------------------

template <typename T, typename TSize>
inline const T& CZanArray<T, TSize>::GetHeadData() const
{
    (void)zan_expects( _Size > 0, "GetHeadData of an empty array" );
    return _pData[ 0 ];
}

template <typename T, typename TSize>
inline const T& CZanArray<T, TSize>::GetTailData() const
{
    (void)zan_expects( _Size > 0, "GetTailData of an empty array" );
    return _pData[ _Size - 1 ];
}

template <typename T, typename TSize>
inline const T& CZanArray<T, TSize>::operator[]( TSize Index ) const
{
    (void)zan_expects( IsIndex( Index ), "An array index names no element" );
    return _pData[ Index ];
}

// --- Sizing --------------------------------------------------------------------------------------

template <typename T, typename TSize>
void CZanArray<T, TSize>::Reserve( TSize Capacity )
{
    (void)zan_expects( Capacity >= 0, "Reserve of a negative capacity" );
    if ( Capacity > _Capacity )
    {
        Reallocate( Capacity );
    }
}

template <typename T, typename TSize>
void CZanArray<T, TSize>::SetSizeNoInit( TSize Size )
{
    static_assert(
        std::is_trivially_copyable_v<T>, "raw places would be destroyed and relocated as elements" );
    Reserve( Size );
    if ( zan_expects( Size >= 0 && Size <= _Capacity, "SetSizeNoInit to a size that cannot be" ) )
    {
        _Size = Size;
    }
}

template <typename T, typename TSize>
void CZanArray<T, TSize>::IncreaseSize( TSize Count )
{
    if ( zan_expects( Count <= GetMaxSize() - _Size, "IncreaseSize beyond the greatest size" ) )
    {
        Resize( _Size + Count );
    }
}

template <typename T, typename TSize>
void CZanArray<T, TSize>::IncreaseSizeNoInit( TSize Count )
{
    if ( zan_expects( Count <= GetMaxSize() - _Size, "IncreaseSizeNoInit beyond the greatest size" ) )
    {
        SetSizeNoInit( _Size + Count );
    }
}

template <typename T, typename TSize>
T& CZanArray<T, TSize>::GrowToIncludeIndex( TSize Index )
{
    if ( Index >= _Size &&
         zan_expects( Index < GetMaxSize(), "GrowToIncludeIndex beyond the greatest size" ) )
    {
        Resize( Index + 1 );
    }
    return ( *this )[ Index ];
}

template <typename T, typename TSize>
T& CZanArray<T, TSize>::GrowToIncludeIndex( TSize Index, const T& Value )
{
    if ( Index >= _Size &&
         zan_expects( Index < GetMaxSize(), "GrowToIncludeIndex beyond the greatest size" ) )
    {
        Resize( Index + 1, Value );
    }
    return ( *this )[ Index ];
}

template <typename T, typename TSize>
void CZanArray<T, TSize>::ShrinkToFit()
{
    if ( _Size == _Capacity || _pAllocator->IsInternalMemory( _pData ) )
    {
        return;
    }
    if ( _Size > 0 )
    {
        Reallocate( _Size );
        return;
    }
    _pAllocator->Free( _pData );
    _pData = nullptr;
    _Capacity = 0;
}

// --- Appending and inserting ---------------------------------------------------------------------

template <typename T, typename TSize>
template <typename... TArgs>
inline T& CZanArray<T, TSize>::AppendEmplace( TArgs&&... Args )
{
    // Copies of the fields, and a grown array's data assigned here: so a loop keeps both in registers
    // although the element's constructor and the call could change them, for all that the compiler knows.
    T* const pData = _pData;
    const TSize Size = _Size;
    if ( Size == _Capacity ) [[unlikely]]
    {
        if constexpr ( IsCheap<T> )
        {
            const T Value = NZanArray::NDetail::Make<T>( std::forward<TArgs>( Args )... );
            _pData = GrowForOne();
            if ( !zan_expects( _Size < _Capacity, "Append to an array that cannot grow" ) )
            {
                return GetTailData();
            }
            T* const pNew = NZanArray::NDetail::ConstructAt( _pData + _Size, Value );
            ++_Size;
            return *pNew;
        }
        else
        {
            return GrowAndEmplace( Size, std::forward<TArgs>( Args )... );
        }
    }
    // Unsigned, for it takes no instruction to extend.
    T* const pNew = NZanArray::NDetail::ConstructAt(
        pData + static_cast<std::make_unsigned_t<TSize>>( Size ), std::forward<TArgs>( Args )... );
    _Size = Size + 1;
    return *pNew;
}

template <typename T, typename TSize>
template <std::same_as<TSize> TOtherSize>
void CZanArray<T, TSize>::Append( const CZanArray<T, TOtherSize>& Other )
{
    Insert( _Size, Other._pData, Other._Size );
}

template <typename T, typename TSize>
void CZanArray<T, TSize>::Append( std::initializer_list<T> Values )
{
    Insert( _Size, Values.begin(), static_cast<TSize>( Values.size() ) );
}

template <typename T, typename TSize>
template <std::same_as<TSize> TOtherSize>
void CZanArray<T, TSize>::Append( CZanArray<T, TOtherSize>&& Source )
{
    if ( &Source == this ||
         !zan_expects( Source._Size <= GetMaxSize() - _Size, "Append beyond the greatest size" ) )
    {
        return;
    }
    if ( IsEmpty() )
    {
        *this = std::move( Source );
        return;
    }
    const TSize Sum = _Size + Source._Size;
    const auto Build = [ & ]( T* pPlace ) {
        NZanArray::NDetail::MoveConstruct( pPlace, Source._pData, Source._Size );
    };
    if ( Sum > _Capacity )
    {
        if ( GrowWithGap( Sum, _Size, Source._Size, Build ) == nullptr )
        {
            return;
        }
    }
    else
    {
        Build( _pData + _Size );
        _Size = Sum;
    }
    Source.RemoveAll();
}

template <typename T, typename TSize>
template <typename... TArgs>
inline T& CZanArray<T, TSize>::InsertEmplace( TSize Index, TArgs&&... Args )
{
    if ( !zan_expects( Index >= 0 && Index <= _Size, "Insert at a position outside the array" ) )
    {
        Index = Index < 0 ? 0 : _Size;
    }
    if ( _Size == _Capacity ) [[unlikely]]
    {
        return GrowAndEmplace( Index, std::forward<TArgs>( Args )... );
    }
    NZanArray::NDetail::ConstructAt( _pData + _Size, std::forward<TArgs>( Args )... );
    ++_Size;
    RotateLastTo( Index );
    return _pData[ Index ];
}

template <typename T, typename TSize>
void CZanArray<T, TSize>::Insert( TSize Index, const T* pData, TSize Count )
{
    if ( !zan_expects( Index >= 0 && Index <= _Size, "Insert at a position outside the array" ) ||
         !zan_expects( Count >= 0 && Count <= GetMaxSize() - _Size, "Insert of a count that cannot be" ) )
    {
        return;
    }
    if ( Count <= 0 )
    {
        return;
    }
    if ( Count > _Capacity - _Size )
    {
        GrowWithGap( CalcGrownCapacity( Count ), Index, Count,
            [ & ]( T* pPlace ) { NZanArray::NDetail::CopyConstruct( pPlace, pData, Count ); } );
    }
    else if constexpr ( IsBlockMovable<T> )
    {
        InsertBlock( Index, pData, Count );
    }
    else
    {
        NZanArray::NDetail::CopyConstruct( _pData + _Size, pData, Count );
        _Size += Count;
        RotateTailTo( Index, Count );
    }
}

// --- Removing ------------------------------------------------------------------------------------

template <typename T, typename TSize>
inline void CZanArray<T, TSize>::RemoveAll()
{
    NZanArray::NDetail::DestroyEach( _pData, _pData + _Size );
    _Size = 0;
}

template <typename T, typename TSize>
void CZanArray<T, TSize>::DeleteAll()
{
    static_assert( std::is_pointer_v<T>, "only an array of pointers has pointees to delete" );
    using CPointee = std::remove_cv_t<std::remove_pointer_t<T>>;
    for ( T pConst : *this )
    {
        CPointee* const pPointee = const_cast<CPointee*>( pConst );
        if ( pPointee != nullptr )
        {
            void* pBlock = pPointee;
            if constexpr ( std::is_polymorphic_v<CPointee> )
            {
                pBlock = dynamic_cast<void*>( pPointee ); // a base need not stand at the object's start
            }
            pPointee->~CPointee();
            _pAllocator->Free( pBlock );
        }
    }
    _Size = 0;
}

template <typename T, typename TSize>
inline void CZanArray<T, TSize>::RemoveTail()
{
    if ( _Size > 0 )
    {
        DestroyTail( 1 );
    }
}

template <typename T, typename TSize>
inline void CZanArray<T, TSize>::RemoveAt( TSize Index )
{
    if ( zan_expects( IsIndex( Index ), "RemoveAt of an index that names no element" ) )
    {
        CloseGap( Index, 1 );
    }
}

template <typename T, typename TSize>
TSize CZanArray<T, TSize>::RemoveRange( TSize First, TSize Last )
{
    if ( Last <= First || !zan_expects( First >= 0 && Last <= _Size, "RemoveRange outside the array" ) )
    {
        return 0;
    }
    CloseGap( First, Last - First );
    return Last - First;
}

template <typename T, typename TSize>
bool CZanArray<T, TSize>::RemoveFirstOf( const T& Value )
{
    const TSize Index = FindIndex( Value );
    if ( Index < 0 )
    {
        return false;
    }
    CloseGap( Index, 1 );
    return true;
}

template <typename T, typename TSize>
TSize CZanArray<T, TSize>::Remove( const T& Value )
{
    if constexpr ( std::is_copy_constructible_v<T> )
    {
        if ( IsCheap<T> || IsOwnElement( Value ) ) // an own element would be overwritten while it is compared
        {
            const T Copy( Value );
            return RemoveIf( [ & ]( const T& Element ) { return Element == Copy; } );
        }
    }
    return RemoveIf( [ & ]( const T& Element ) { return Element == Value; } );
}

template <typename T, typename TSize>
template <NZanArray::NDetail::IsPredicateOn<T> TPredicate>
TSize CZanArray<T, TSize>::Remove( TPredicate&& Predicate )
{
    return RemoveIf( Predicate );
}

template <typename T, typename TSize>
template <typename TPredicate>
inline TSize CZanArray<T, TSize>::RemoveIf( TPredicate&& Predicate )
{
    T* const pEnd = _pData + _Size;
    T* pWrite = _pData;
    while ( pWrite != pEnd && !Predicate( *pWrite ) )
    {
        ++pWrite;
    }
    if ( pWrite == pEnd )
    {
        return 0;
    }
    for ( T* pRead = pWrite + 1; pRead != pEnd; ++pRead )
    {
        if ( !Predicate( *pRead ) )
        {
            *pWrite = std::move( *pRead );
            ++pWrite;
        }
    }
    const TSize Count = static_cast<TSize>( pEnd - pWrite );
    DestroyTail( Count );
    return Count;
}

template <typename T, typename TSize>
TSize CZanArray<T, TSize>::RemoveAtIndices( const CZanArray<int32>& Indices )
{
    TSize Position = 0;
    int32 Cursor = 0;
    return RemoveIf( [ & ]( const T& ) {
        const bool bMatch = Cursor < Indices.GetSize() && Indices[ Cursor ] == Position;
        Cursor += bMatch ? 1 : 0;
        ++Position;
        return bMatch;
    } );
}

template <typename T, typename TSize>
inline void CZanArray<T, TSize>::SwapToTailRemoveAt( TSize Index )
{
    if ( !zan_expects( IsIndex( Index ), "SwapToTailRemoveAt of an index that names no element" ) )
    {
        return;
    }
    if ( Index != _Size - 1 )
    {
        _pData[ Index ] = std::move( _pData[ _Size - 1 ] );
    }
    DestroyTail( 1 );
}

template <typename T, typename TSize>
TSize CZanArray<T, TSize>::SwapToTailRemove( const T& Value )
{
    if constexpr ( std::is_copy_constructible_v<T> )
    {
        if ( IsCheap<T> || IsOwnElement( Value ) )
        {
            const T Copy( Value );
            return SwapToTailRemoveIf( [ & ]( const T& Element ) { return Element == Copy; } );
        }
    }
    return SwapToTailRemoveIf( [ & ]( const T& Element ) { return Element == Value; } );
}

template <typename T, typename TSize>
template <typename TPredicate>
TSize CZanArray<T, TSize>::SwapToTailRemoveIf( TPredicate&& Predicate )
{
    T* const pEnd = _pData + _Size;
    T* pLiveEnd = pEnd;
    for ( T* pElement = _pData; pElement != pLiveEnd; )
    {
        if ( !Predicate( *pElement ) )
        {
            ++pElement;
        }
        else if ( --pLiveEnd != pElement )
        {
            *pElement = std::move( *pLiveEnd ); // and test this one next
        }
    }
    const TSize Count = static_cast<TSize>( pEnd - pLiveEnd );
    DestroyTail( Count );
    return Count;
}

// --- Searching -----------------------------------------------------------------------------------

template <typename T, typename TSize>
template <NZanArray::NDetail::IsPredicateOn<const T> TPredicate>
bool CZanArray<T, TSize>::Contains( TPredicate&& Predicate ) const
{
    return FindIf( Predicate ) != nullptr;
}

template <typename T, typename TSize>
template <typename TPredicate>
bool CZanArray<T, TSize>::ContainsIf( TPredicate&& Predicate ) const
{
    return FindIf( Predicate ) != nullptr;
}

template <typename T, typename TSize>
template <typename TPredicate>
T* CZanArray<T, TSize>::FindIf( TPredicate&& Predicate )
{
    return const_cast<T*>( std::as_const( *this ).FindIf( Predicate ) );
}

template <typename T, typename TSize>
template <typename TPredicate>
const T* CZanArray<T, TSize>::FindIf( TPredicate&& Predicate ) const
{
    const TSize Index = FindIndexIf( Predicate );
    return Index >= 0 ? _pData + Index : nullptr;
}

template <typename T, typename TSize>
TSize CZanArray<T, TSize>::FindIndex( const T& Value ) const
{
    return FindIndexIf( [ & ]( const T& Element ) { return Element == Value; } );
}

template <typename T, typename TSize>
template <NZanArray::NDetail::IsPredicateOn<const T> TPredicate>
TSize CZanArray<T, TSize>::FindIndex( TPredicate&& Predicate ) const
{
    return FindIndexIf( Predicate );
}

template <typename T, typename TSize>
template <typename TPredicate>
TSize CZanArray<T, TSize>::FindIndexIf( TPredicate&& Predicate ) const
{
    const T* const pEnd = GetIterEnd();
    for ( const T* pElement = _pData; pElement != pEnd; ++pElement )
    {
        if ( Predicate( *pElement ) )
        {
            return static_cast<TSize>( pElement - _pData );
        }
    }
    return -1;
}

template <typename T, typename TSize>
template <typename TFunction>
void CZanArray<T, TSize>::ForEach( TFunction&& Function )
{
    for ( T& Element : *this )
    {
        Function( Element );
    }
}

template <typename T, typename TSize>
template <typename TFunction>
void CZanArray<T, TSize>::ForEach( TFunction&& Function ) const
{
    for ( const T& Element : *this )
    {
        Function( Element );
    }
}

// --- Sorted arrays -------------------------------------------------------------------------------

template <typename T, typename TSize>
template <typename TCompare>
void CZanArray<T, TSize>::Sort( TCompare Compare )
{
    std::stable_sort( AccessIterStart(), AccessIterEnd(), std::move( Compare ) );
}

template <typename T, typename TSize>
template <typename TCompare>
TSize CZanArray<T, TSize>::InsertSorted( const T& Value, TCompare Compare )
{
    const T* const pPlace = std::upper_bound( GetIterStart(), GetIterEnd(), Value, std::move( Compare ) );
    const TSize Index = static_cast<TSize>( pPlace - _pData );
    InsertEmplace( Index, Value );
    return Index;
}

template <typename T, typename TSize>
template <typename TCompare>
TSize CZanArray<T, TSize>::InsertSorted( T&& Value, TCompare Compare )
{
    const T* const pPlace =
        std::upper_bound( GetIterStart(), GetIterEnd(), std::as_const( Value ), std::move( Compare ) );
    const TSize Index = static_cast<TSize>( pPlace - _pData );
    InsertEmplace( Index, std::move( Value ) );
    return Index;
}

template <typename T, typename TSize>
template <typename TCompare>
TSize CZanArray<T, TSize>::FindIndexSorted( const T& Value, TCompare Compare ) const
{
    const T* const pFirst = std::lower_bound( GetIterStart(), GetIterEnd(), Value, Compare );
    const bool bFound = pFirst != GetIterEnd() && !Compare( Value, *pFirst );
    return bFound ? static_cast<TSize>( pFirst - _pData ) : -1;
}

template <typename T, typename TSize>
template <typename TCompare>
bool CZanArray<T, TSize>::ContainsSorted( const T& Value, TCompare Compare ) const
{
    return FindIndexSorted( Value, std::move( Compare ) ) >= 0;
}

template <typename T, typename TSize>
template <typename TCompare>
TSize CZanArray<T, TSize>::RemoveSorted( const T& Value, TCompare Compare )
{
    const TSize First = FindIndexSorted( Value, Compare );
    if ( First < 0 )
    {
        return 0;
    }
    TSize Last = First + 1;
    while ( Last != _Size && !Compare( Value, std::as_const( _pData[ Last ] ) ) )
    {
        ++Last;
    }
    return RemoveRange( First, Last );
}

// --- Private -------------------------------------------------------------------------------------

template <typename T, typename TSize>
bool CZanArray<T, TSize>::CheckInvariants() const
{
    return _pAllocator != nullptr && _Size >= 0 && _Size <= _Capacity &&
           ( _pData == nullptr ) == ( _Capacity == 0 );
}

template <typename T, typename TSize>
template <typename TBufferAllocator>
inline void CZanArray<T, TSize>::StartOnBuffer( TBufferAllocator& Allocator )
{
    _pAllocator = &Allocator;
    Allocator.GetBuffer( &_pData, &_Capacity );
}

template <typename T, typename TSize>
template <typename TBufferAllocator>
inline void CZanArray<T, TSize>::LeaveBuffer( TBufferAllocator& Allocator )
{
    if ( _pData != nullptr )
    {
        RemoveAll();
        Allocator.Free( _pData ); // of a known type, so that leaving an embedded buffer calls nothing
        _pData = nullptr;
        _Capacity = 0;
    }
}

template <typename T, typename TSize>
constexpr TSize CZanArray<T, TSize>::GetMaxSize()
{
    return static_cast<TSize>( static_cast<std::make_unsigned_t<TSize>>( -1 ) / 2 );
}

template <typename T, typename TSize>
constexpr uint64 CZanArray<T, TSize>::CalcBytes( TSize Count )
{
    return static_cast<uint64>( static_cast<std::make_unsigned_t<TSize>>( Count ) ) * sizeof( T );
}

template <typename T, typename TSize>
inline bool CZanArray<T, TSize>::IsOwnElement( const T& Value ) const
{
    const std::uintptr_t Offset =
        reinterpret_cast<std::uintptr_t>( &Value ) - reinterpret_cast<std::uintptr_t>( _pData );
    return Offset < CalcBytes( _Size );
}

/// Requires that the sum is a size.
template <typename T, typename TSize>
inline TSize CZanArray<T, TSize>::CalcGrownCapacity( TSize Added ) const
{
    const TSize Required = _Size + Added;
    return _Capacity > GetMaxSize() / 2 ? Required : std::max<TSize>( Required, _Capacity * 2 );
}

/// Moves to a block of exactly this capacity. Requires room for the elements.
template <typename T, typename TSize>
void CZanArray<T, TSize>::Reallocate( TSize Capacity )
{
    NZanArray::NDetail::CBlock<T> Block( *_pAllocator, CalcBytes( Capacity ) );
    if ( Block.IsUsable() )
    {
        NZanArray::NDetail::Relocate( Block.GetData(), _pData, _Size );
        AdoptBlock( Block, Capacity );
    }
}

/// Gives the data pointer of the grown array.
template <typename T, typename TSize>
T* CZanArray<T, TSize>::GrowForOne()
{
    if ( zan_expects( _Size < GetMaxSize(), "Append beyond the greatest size" ) )
    {
        Reallocate( CalcGrownCapacity( 1 ) );
    }
    return _pData;
}

template <typename T, typename TSize>
template <typename... TArgs>
T& CZanArray<T, TSize>::GrowAndEmplace( TSize Index, TArgs&&... Args )
{
    if ( !zan_expects( _Size < GetMaxSize(), "Append beyond the greatest size" ) )
    {
        return GetTailData();
    }
    T* const pNew = GrowWithGap( CalcGrownCapacity( 1 ), Index, 1,
        [ & ]( T* pPlace ) { NZanArray::NDetail::ConstructAt( pPlace, std::forward<TArgs>( Args )... ); } );
    return zan_expects( pNew != nullptr, "Append to an array that cannot grow" ) ? *pNew : GetTailData();
}

/// Moves to a block of exactly this capacity and calls Build( T* pPlace ) for the Count new elements at
/// Index, before an old one moves: Build may read them. Gives null when the move is declined.
template <typename T, typename TSize>
template <typename TBuild>
T* CZanArray<T, TSize>::GrowWithGap( TSize Capacity, TSize Index, TSize Count, const TBuild& Build )
{
    NZanArray::NDetail::CBlock<T> Block( *_pAllocator, CalcBytes( Capacity ) );
    if ( !Block.IsUsable() )
    {
        return nullptr;
    }
    T* const pPlace = Block.GetData() + Index;
    Build( pPlace );
    NZanArray::NDetail::CRollback<T> New( pPlace, pPlace + Count );
    NZanArray::NDetail::RelocateAround( Block.GetData(), _pData, _Size, Index, Count );
    New.Keep();
    AdoptBlock( Block, Capacity );
    _Size += Count;
    return pPlace;
}

/// Leaves the array's own block, whose elements are gone, to Block.
template <typename T, typename TSize>
void CZanArray<T, TSize>::AdoptBlock( NZanArray::NDetail::CBlock<T>& Block, TSize Capacity )
{
    Block.Exchange( _pData );
    _Capacity = Capacity;
}

/// Destroys the surplus, or builds each new element from the arguments.
template <typename T, typename TSize>
template <typename... TArgs>
void CZanArray<T, TSize>::Resize( TSize Size, TArgs&... Args )
{
    if ( !zan_expects( Size >= 0, "A negative array size" ) )
    {
        return;
    }
    if ( Size <= _Size )
    {
        DestroyTail( _Size - Size );
        return;
    }
    const TSize Added = Size - _Size;
    const auto Build = [ & ]( T* pPlace ) { NZanArray::NDetail::ConstructEach( pPlace, Added, Args... ); };
    if ( Size > _Capacity )
    {
        GrowWithGap( Size, _Size, Added, Build );
    }
    else
    {
        Build( _pData + _Size );
        _Size = Size;
    }
}

template <typename T, typename TSize>
inline void CZanArray<T, TSize>::DestroyTail( TSize Count )
{
    _Size -= Count;
    NZanArray::NDetail::DestroyEach( _pData + _Size, _pData + _Size + Count );
}

/// Moves what stands behind the Count elements from First on over them.
template <typename T, typename TSize>
inline void CZanArray<T, TSize>::CloseGap( TSize First, TSize Count )
{
    T* const pGap = _pData + First;
    if constexpr ( IsBlockMovable<T> )
    {
        NZanArray::NDetail::MoveBlock( pGap, pGap + Count, _Size - First - Count );
    }
    else
    {
        std::move( pGap + Count, AccessIterEnd(), pGap );
    }
    DestroyTail( Count );
}

/// Moves the last element to Index and those from there on up by one.
template <typename T, typename TSize>
void CZanArray<T, TSize>::RotateLastTo( TSize Index )
{
    T* const pPlace = _pData + Index;
    T* const pLast = _pData + _Size - 1;
    if constexpr ( IsBlockMovable<T> )
    {
        alignas( T ) unsigned char Buffer[ sizeof( T ) ];
        std::memcpy( Buffer, pLast, sizeof( T ) );
        NZanArray::NDetail::MoveBlock( pPlace + 1, pPlace, pLast - pPlace );
        std::memcpy( static_cast<void*>( pPlace ), Buffer, sizeof( T ) );
    }
    else if constexpr ( std::is_nothrow_move_constructible_v<T> && std::is_nothrow_move_assignable_v<T> )
    {
        if ( pPlace != pLast ) // half the moves that reversals take
        {
            T Value( std::move( *pLast ) );
            std::move_backward( pPlace, pLast, pLast + 1 );
            *pPlace = std::move( Value );
        }
    }
    else
    {
        RotateTailTo( Index, 1 );
    }
}

/// Exchanges the last Count elements with those from Index up to them. Asks no more of an element than swap.
template <typename T, typename TSize>
void CZanArray<T, TSize>::RotateTailTo( TSize Index, TSize Count )
{
    T* const pPlace = _pData + Index;
    T* const pEnd = _pData + _Size;
    if ( pPlace != pEnd - Count )
    {
        std::reverse( pPlace, pEnd - Count );
        std::reverse( pEnd - Count, pEnd );
        std::reverse( pPlace, pEnd );
    }
}

/// Inserts copies by block moves. Requires room for them.
template <typename T, typename TSize>
void CZanArray<T, TSize>::InsertBlock( TSize Index, const T* pData, TSize Count )
{
    T* const pPlace = _pData + Index;
    TSize Moved = 0; // how many of the sources go up with the tail
    if ( IsOwnElement( *pData ) )
    {
        Moved = std::clamp<TSize>( static_cast<TSize>( pData + Count - pPlace ), 0, Count );
    }
    const TSize Unmoved = Count - Moved;
    NZanArray::NDetail::MoveBlock( pPlace + Count, pPlace, _Size - Index );
    NZanArray::NDetail::CopyBlock( pPlace, pData, Unmoved );
    NZanArray::NDetail::CopyBlock( pPlace + Unmoved, pData + Unmoved + Count, Moved );
    _Size += Count;
}

/// Copies of Count elements instead of the present ones. All memory comes before the first change.
template <typename T, typename TSize>
void CZanArray<T, TSize>::AssignCopies( const T* pData, TSize Count )
{
    if ( Count > _Capacity )
    {
        NZanArray::NDetail::CBlock<T> Block( *_pAllocator, CalcBytes( Count ) );
        if ( Block.IsUsable() )
        {
            NZanArray::NDetail::CopyConstruct( Block.GetData(), pData, Count );
            RemoveAll();
            AdoptBlock( Block, Count );
            _Size = Count;
        }
        return;
    }
    if constexpr ( IsBlockMovable<T> && std::is_copy_constructible_v<T> )
    {
        NZanArray::NDetail::MoveBlock( _pData, pData, Count );
        _Size = Count;
        return;
    }
    if constexpr ( !std::is_copy_assignable_v<T> )
    {
        RemoveAll();
    }
    else
    {
        std::copy( pData, pData + std::min( Count, _Size ), _pData );
    }
    if ( Count < _Size )
    {
        DestroyTail( _Size - Count );
    }
    else
    {
        NZanArray::NDetail::CopyConstruct( _pData + _Size, pData + _Size, Count - _Size );
        _Size = Count;
    }
}

/// Source's elements instead of the present ones. Source keeps its block. All memory comes before the first
/// change.
template <typename T, typename TSize>
void CZanArray<T, TSize>::MoveElementsFrom( CZanArray& Source )
{
    const TSize Count = Source._Size;
    if ( Count > _Capacity )
    {
        NZanArray::NDetail::CBlock<T> Block( *_pAllocator, CalcBytes( Count ) );
        if ( Block.IsUsable() )
        {
            NZanArray::NDetail::MoveConstruct( Block.GetData(), Source._pData, Count );
            Source.RemoveAll();
            RemoveAll();
            AdoptBlock( Block, Count );
            _Size = Count;
        }
        return;
    }
    if constexpr ( IsBlockMovable<T> || !std::is_move_assignable_v<T> )
    {
        RemoveAll();
    }
    else
    {
        std::move( Source._pData, Source._pData + std::min( Count, _Size ), _pData );
    }
    if ( Count < _Size )
    {
        DestroyTail( _Size - Count );
    }
    else
    {
        NZanArray::NDetail::MoveConstruct( _pData + _Size, Source._pData + _Size, Count - _Size );
        _Size = Count;
    }
    Source.RemoveAll();
}

/// Requires that each array has room for the other's elements.
template <typename T, typename TSize>
void CZanArray<T, TSize>::ExchangeElements( CZanArray& Other )
{
    CZanArray& Smaller = _Size <= Other._Size ? *this : Other;
    CZanArray& Larger = _Size <= Other._Size ? Other : *this;
    const TSize Common = Smaller._Size;
    std::swap_ranges( Smaller._pData, Smaller._pData + Common, Larger._pData );
    NZanArray::NDetail::Relocate( Smaller._pData + Common, Larger._pData + Common, Larger._Size - Common );
    std::swap( _Size, Other._Size );
}

template <typename T, typename TSize>
inline void CZanArray<T, TSize>::ExchangeBlocks( CZanArray& Other )
{
    std::swap( _pData, Other._pData );
    std::swap( _Capacity, Other._Capacity );
    std::swap( _Size, Other._Size );
}
