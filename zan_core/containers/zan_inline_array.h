#pragma once

#include "zan_core/containers/zan_array.h"
#include "zan_core/memory/zan_allocator.h"
#include "zan_core/memory/zan_inline_allocator.h"
#include "zan_core/zan_expects.h"
#include "zan_core/zan_types.h"

#include <algorithm>
#include <initializer_list>
#include <type_traits>
#include <utility>

/// An array whose first N elements live in the object, for sequences that are usually short and for those on
/// the stack. The hybrid kind goes on in blocks of a parent allocator and then differs from CZanArray in
/// nothing; the static kind, with CZanStaticInlineBufferAllocator, holds N elements and no more, for which
/// the caller has to care. The object itself cannot be relocated by copying its bytes. Moves and swaps hand
/// over blocks between hybrids of one type, and between a hybrid and a CZanArray, when both have the same
/// parent; a CZanArray's is its allocator. Embedded elements move one by one, which invalidates references.
///
///     CZanInlineBufArray<int32, 4> Path;
///     Path.Append( { 1, 2, 3, 4 } );  // no allocation so far
///     Path.Append( 5 );               // a block for 8
template <typename T, int32 N, typename TSize = int32,
    typename TAllocator = CZanHybridInlineBufferAllocator<T, N, TSize>>
class CZanInlineBufArray : public CZanArray<T, TSize>
{
    static_assert( std::is_base_of_v<CZanBaseInlineBufferAllocator<T, N, TSize>, TAllocator>,
        "the first buffer has to be embedded in the allocator and hold N elements" );

    using CBase = CZanArray<T, TSize>;

public:
    CZanInlineBufArray() : CBase( typename CBase::SWithoutAllocator() ) { StartEmbedded(); }

    /// A hybrid with this parent instead of the default allocator.
    explicit CZanInlineBufArray(
        CZanAllocator& Parent ) requires std::is_constructible_v<TAllocator, CZanAllocator&>;

    /// All these start on the embedded buffer, with the default parent; a block is exact.
    CZanInlineBufArray( const T* pData, TSize Count );
    CZanInlineBufArray( std::initializer_list<T> Values );
    explicit CZanInlineBufArray( TSize Count );
    explicit CZanInlineBufArray( TSize Count, const T& Value );
    template <typename TArg, typename... TArgs>
    requires std::is_constructible_v<T, TArg&, TArgs&...>
    explicit CZanInlineBufArray( TSize Count, TArg&& Arg, TArgs&&... Args );
    CZanInlineBufArray( const CZanInlineBufArray& Other );
    CZanInlineBufArray( const CBase& Other );
    CZanInlineBufArray( CZanInlineBufArray&& Source );
    CZanInlineBufArray( CBase&& Source );
    template <int32 M, typename TOther>
    CZanInlineBufArray( CZanInlineBufArray<T, M, TSize, TOther>&& Source );

    ~CZanInlineBufArray() { this->LeaveBuffer( _Allocator ); }

    CZanInlineBufArray& operator=( const CZanInlineBufArray& Other );
    CZanInlineBufArray& operator=( const CBase& Other );
    CZanInlineBufArray& operator=( std::initializer_list<T> Values );

    /// Takes Source's block when the parents match, and leaves Source without one or with this array's.
    /// Otherwise moves the elements, into the embedded buffer if they fit.
    CZanInlineBufArray& operator=( CZanInlineBufArray&& Source );
    CZanInlineBufArray& operator=( CBase&& Source );

    /// Of another type: moves the elements.
    template <int32 M, typename TOther>
    CZanInlineBufArray& operator=( CZanInlineBufArray<T, M, TSize, TOther>&& Source );

    /// Exchanges elements where one side is embedded and both have the room; else blocks when the parents
    /// match, for which embedded elements first go to a block; else elements by way of a third array.
    void Swap( CZanInlineBufArray& Other );
    void Swap( CBase& Other );
    template <int32 M, typename TOther>
    void Swap( CZanInlineBufArray<T, M, TSize, TOther>& Other );

    /// True when the elements lie in the object.
    bool IsUsingInternalMemory() const;

    /// For self-checks: true when the fields keep their invariants.
    bool CheckInvariants() const;

private:
    struct SWithoutBuffer
    {};
    explicit CZanInlineBufArray( SWithoutBuffer );

    bool HasParent( const CZanAllocator* pParent ) const;
    void StartEmbedded();
    void ReturnToBuffer();
    void TakeFrom( CZanInlineBufArray& Source );
    void SwapUnlike( CZanInlineBufArray& Other );
    bool LeaveBufferForBlock();

    TAllocator _Allocator; // the base's allocator for life
};

template <typename T, int32 N, typename TSize, typename TAllocator>
void swap(
    CZanInlineBufArray<T, N, TSize, TAllocator>& Left, CZanInlineBufArray<T, N, TSize, TAllocator>& Right )
{
    Left.Swap( Right );
}

template <typename T, int32 N, int32 M, typename TSize, typename TAllocator, typename TOther>
void swap( CZanInlineBufArray<T, N, TSize, TAllocator>& Left, CZanInlineBufArray<T, M, TSize, TOther>& Right )
{
    Left.Swap( Right );
}

template <typename T, int32 N, typename TSize, typename TAllocator>
void swap( CZanInlineBufArray<T, N, TSize, TAllocator>& Left, CZanArray<T, TSize>& Right )
{
    Left.Swap( Right );
}

template <typename T, int32 N, typename TSize, typename TAllocator>
void swap( CZanArray<T, TSize>& Left, CZanInlineBufArray<T, N, TSize, TAllocator>& Right )
{
    Right.Swap( Left );
}

// --- Construction --------------------------------------------------------------------------------

template <typename T, int32 N, typename TSize, typename TAllocator>
CZanInlineBufArray<T, N, TSize, TAllocator>::CZanInlineBufArray(
    CZanAllocator& Parent ) requires std::is_constructible_v<TAllocator, CZanAllocator&>
    : CBase( typename CBase::SWithoutAllocator() ), _Allocator( Parent )
{
    StartEmbedded();
}

template <typename T, int32 N, typename TSize, typename TAllocator>
inline CZanInlineBufArray<T, N, TSize, TAllocator>::CZanInlineBufArray( SWithoutBuffer )
    : CBase( typename CBase::SWithoutAllocator() )
{
    this->_pData = nullptr;
    this->_Capacity = 0;
    this->_pAllocator = &_Allocator;
}

template <typename T, int32 N, typename TSize, typename TAllocator>
CZanInlineBufArray<T, N, TSize, TAllocator>::CZanInlineBufArray( const T* pData, TSize Count )
    : CZanInlineBufArray()
{
    this->AssignCopies( pData, Count );
}

template <typename T, int32 N, typename TSize, typename TAllocator>
CZanInlineBufArray<T, N, TSize, TAllocator>::CZanInlineBufArray( std::initializer_list<T> Values )
    : CZanInlineBufArray()
{
    CBase::operator=( Values );
}

template <typename T, int32 N, typename TSize, typename TAllocator>
CZanInlineBufArray<T, N, TSize, TAllocator>::CZanInlineBufArray( TSize Count ) : CZanInlineBufArray()
{
    this->Resize( Count );
}

template <typename T, int32 N, typename TSize, typename TAllocator>
CZanInlineBufArray<T, N, TSize, TAllocator>::CZanInlineBufArray( TSize Count, const T& Value )
    : CZanInlineBufArray()
{
    this->Resize( Count, Value );
}

template <typename T, int32 N, typename TSize, typename TAllocator>
template <typename TArg, typename... TArgs>
requires std::is_constructible_v<T, TArg&, TArgs&...>
CZanInlineBufArray<T, N, TSize, TAllocator>::CZanInlineBufArray( TSize Count, TArg&& Arg, TArgs&&... Args )
    : CZanInlineBufArray()
{
    this->Resize( Count, Arg, Args... );
}

template <typename T, int32 N, typename TSize, typename TAllocator>
CZanInlineBufArray<T, N, TSize, TAllocator>::CZanInlineBufArray( const CZanInlineBufArray& Other )
    : CZanInlineBufArray()
{
    CBase::operator=( Other );
}

template <typename T, int32 N, typename TSize, typename TAllocator>
CZanInlineBufArray<T, N, TSize, TAllocator>::CZanInlineBufArray( const CBase& Other ) : CZanInlineBufArray()
{
    CBase::operator=( Other );
}

template <typename T, int32 N, typename TSize, typename TAllocator>
inline CZanInlineBufArray<T, N, TSize, TAllocator>::CZanInlineBufArray( CZanInlineBufArray&& Source )
    : CZanInlineBufArray( SWithoutBuffer() )
{
    TakeFrom( Source );
}

template <typename T, int32 N, typename TSize, typename TAllocator>
CZanInlineBufArray<T, N, TSize, TAllocator>::CZanInlineBufArray( CBase&& Source ) : CZanInlineBufArray()
{
    *this = std::move( Source );
}

template <typename T, int32 N, typename TSize, typename TAllocator>
template <int32 M, typename TOther>
CZanInlineBufArray<T, N, TSize, TAllocator>::CZanInlineBufArray(
    CZanInlineBufArray<T, M, TSize, TOther>&& Source )
    : CZanInlineBufArray()
{
    *this = std::move( Source );
}

// --- Assignment ----------------------------------------------------------------------------------

template <typename T, int32 N, typename TSize, typename TAllocator>
CZanInlineBufArray<T, N, TSize, TAllocator>& CZanInlineBufArray<T, N, TSize, TAllocator>::operator=(
    const CZanInlineBufArray& Other )
{
    CBase::operator=( Other );
    return *this;
}

template <typename T, int32 N, typename TSize, typename TAllocator>
CZanInlineBufArray<T, N, TSize, TAllocator>& CZanInlineBufArray<T, N, TSize, TAllocator>::operator=(
    const CBase& Other )
{
    CBase::operator=( Other );
    return *this;
}

template <typename T, int32 N, typename TSize, typename TAllocator>
CZanInlineBufArray<T, N, TSize, TAllocator>& CZanInlineBufArray<T, N, TSize, TAllocator>::operator=(
    std::initializer_list<T> Values )
{
    CBase::operator=( Values );
    return *this;
}

template <typename T, int32 N, typename TSize, typename TAllocator>
inline CZanInlineBufArray<T, N, TSize, TAllocator>& CZanInlineBufArray<T, N, TSize, TAllocator>::operator=(
    CZanInlineBufArray&& Source )
{
    if ( this == &Source )
    {
        return *this;
    }
    if ( IsUsingInternalMemory() )
    {
        this->RemoveAll();
    }
    else
    {
        this->LeaveBuffer( _Allocator );
    }
    TakeFrom( Source );
    return *this;
}

template <typename T, int32 N, typename TSize, typename TAllocator>
CZanInlineBufArray<T, N, TSize, TAllocator>& CZanInlineBufArray<T, N, TSize, TAllocator>::operator=(
    CBase&& Source )
{
    if ( this == &Source )
    {
        return *this;
    }
    if ( !HasParent( Source._pAllocator ) )
    {
        ReturnToBuffer();
        this->MoveElementsFrom( Source );
        return *this;
    }
    this->RemoveAll();
    if ( IsUsingInternalMemory() )
    {
        this->_pData = nullptr;
        this->_Capacity = 0;
    }
    this->ExchangeBlocks( Source );
    if ( this->_pData == nullptr )
    {
        StartEmbedded();
    }
    return *this;
}

template <typename T, int32 N, typename TSize, typename TAllocator>
template <int32 M, typename TOther>
CZanInlineBufArray<T, N, TSize, TAllocator>& CZanInlineBufArray<T, N, TSize, TAllocator>::operator=(
    CZanInlineBufArray<T, M, TSize, TOther>&& Source )
{
    this->MoveElementsFrom( Source );
    return *this;
}

// --- Swap ----------------------------------------------------------------------------------------

template <typename T, int32 N, typename TSize, typename TAllocator>
inline void CZanInlineBufArray<T, N, TSize, TAllocator>::Swap( CZanInlineBufArray& Other )
{
    const bool bEmbedded = IsUsingInternalMemory(), bOtherEmbedded = Other.IsUsingInternalMemory();
    if ( this == &Other )
    {
        return;
    }
    if ( bEmbedded && bOtherEmbedded )
    {
        if constexpr ( TAllocator::bCopiesWhole )
        {
            _Allocator.SwapBuffer( Other._Allocator );
            std::swap( this->_Size, Other._Size );
        }
        else
        {
            this->ExchangeElements( Other );
        }
    }
    else if ( !bEmbedded && !bOtherEmbedded && HasParent( Other._Allocator.GetParentAllocator() ) )
    {
        this->ExchangeBlocks( Other );
    }
    else
    {
        SwapUnlike( Other );
    }
}

/// Requires that one of the arrays is embedded or that the parents differ.
template <typename T, int32 N, typename TSize, typename TAllocator>
[[gnu::noinline]] void CZanInlineBufArray<T, N, TSize, TAllocator>::SwapUnlike( CZanInlineBufArray& Other )
{
    const bool bAnyEmbedded = IsUsingInternalMemory() || Other.IsUsingInternalMemory();
    if ( bAnyEmbedded && this->_Capacity >= Other._Size && Other._Capacity >= this->_Size )
    {
        this->ExchangeElements( Other );
    }
    else if ( !HasParent( Other._Allocator.GetParentAllocator() ) )
    {
        CBase::Swap( static_cast<CBase&>( Other ) );
    }
    else if ( LeaveBufferForBlock() && Other.LeaveBufferForBlock() )
    {
        this->ExchangeBlocks( Other );
    }
}

template <typename T, int32 N, typename TSize, typename TAllocator>
void CZanInlineBufArray<T, N, TSize, TAllocator>::Swap( CBase& Other )
{
    if ( this == &Other )
    {
        return;
    }
    if ( IsUsingInternalMemory() && this->_Capacity >= Other._Size && Other._Capacity >= this->_Size )
    {
        this->ExchangeElements( Other );
    }
    else if ( HasParent( Other._pAllocator ) )
    {
        if ( LeaveBufferForBlock() )
        {
            this->ExchangeBlocks( Other );
        }
    }
    else
    {
        CBase::Swap( Other );
    }
}

template <typename T, int32 N, typename TSize, typename TAllocator>
template <int32 M, typename TOther>
void CZanInlineBufArray<T, N, TSize, TAllocator>::Swap( CZanInlineBufArray<T, M, TSize, TOther>& Other )
{
    CBase::Swap( static_cast<CBase&>( Other ) );
}

// --- Where the elements are ----------------------------------------------------------------------

template <typename T, int32 N, typename TSize, typename TAllocator>
inline bool CZanInlineBufArray<T, N, TSize, TAllocator>::IsUsingInternalMemory() const
{
    T* pBuffer = nullptr;
    TSize Capacity = 0;
    _Allocator.GetBuffer( &pBuffer, &Capacity );
    return this->_pData == pBuffer; // an array's data stands at its block's start
}

template <typename T, int32 N, typename TSize, typename TAllocator>
bool CZanInlineBufArray<T, N, TSize, TAllocator>::CheckInvariants() const
{
    return CBase::CheckInvariants() && this->_pAllocator == &_Allocator &&
           ( !IsUsingInternalMemory() || this->_Capacity == N );
}

template <typename T, int32 N, typename TSize, typename TAllocator>
inline bool CZanInlineBufArray<T, N, TSize, TAllocator>::HasParent( const CZanAllocator* pParent ) const
{
    return pParent != nullptr && _Allocator.GetParentAllocator() == pParent;
}

template <typename T, int32 N, typename TSize, typename TAllocator>
inline void CZanInlineBufArray<T, N, TSize, TAllocator>::ReturnToBuffer()
{
    if ( IsUsingInternalMemory() )
    {
        this->RemoveAll();
        return;
    }
    this->LeaveBuffer( _Allocator );
    StartEmbedded();
}

/// Requires that this array is empty, and on its embedded buffer or without a block.
template <typename T, int32 N, typename TSize, typename TAllocator>
inline void CZanInlineBufArray<T, N, TSize, TAllocator>::TakeFrom( CZanInlineBufArray& Source )
{
    if ( Source.IsUsingInternalMemory() )
    {
        this->StartOnBuffer( _Allocator );
        if constexpr ( TAllocator::bCopiesWhole )
        {
            _Allocator.CopyBuffer( Source._Allocator );
        }
        else
        {
            NZanArray::NDetail::Relocate( this->_pData, Source._pData, Source._Size );
        }
        this->_Size = std::exchange( Source._Size, 0 );
    }
    else if ( Source._pData != nullptr && HasParent( Source._Allocator.GetParentAllocator() ) )
    {
        this->_pData = std::exchange( Source._pData, nullptr );
        this->_Capacity = std::exchange( Source._Capacity, 0 );
        this->_Size = std::exchange( Source._Size, 0 );
    }
    else
    {
        StartEmbedded();
        this->MoveElementsFrom( Source );
    }
}

template <typename T, int32 N, typename TSize, typename TAllocator>
inline void CZanInlineBufArray<T, N, TSize, TAllocator>::StartEmbedded()
{
    this->StartOnBuffer( _Allocator );
    if constexpr ( TAllocator::bCopiesWhole )
    {
        _Allocator.ClearBuffer();
    }
}

/// Brings embedded elements to where their memory can change owner. Gives false when that is declined.
template <typename T, int32 N, typename TSize, typename TAllocator>
bool CZanInlineBufArray<T, N, TSize, TAllocator>::LeaveBufferForBlock()
{
    if ( IsUsingInternalMemory() )
    {
        this->Reserve( N + 1 );
    }
    return zan_expects( !IsUsingInternalMemory(), "A swap found no memory for embedded elements" );
}
