#pragma once

#include "zan_core/memory/zan_allocator.h"
#include "zan_core/zan_assert.h"
#include "zan_core/zan_types.h"

#include <cstring>
#include <type_traits>

/// Allocators of one first buffer, each a member of the container that uses it, with whose rules it goes: a
/// hybrid one holds N elements and asks its parent beyond that, a static one holds N and no more, a
/// pre-allocated one lends out a buffer of the caller. The buffer is raw memory; elements are built and
/// destroyed by the container. None of them copies, moves or swaps, because the container points to it.
///
///     CZanHybridInlineBufferAllocator<float, 8> Allocator;
///     float* pData = nullptr;
///     int32 Capacity = 0;
///     Allocator.GetBuffer( &pData, &Capacity );  // 8 places and no allocation so far

/// What a container has to know about an allocator with a first buffer.
template <typename T, typename TSize = int32>
class CZanSmallSingleBufferAllocator : public CZanAllocator
{
public:
    CZanSmallSingleBufferAllocator() = default;
    CZanSmallSingleBufferAllocator( const CZanSmallSingleBufferAllocator& ) = delete;
    CZanSmallSingleBufferAllocator& operator=( const CZanSmallSingleBufferAllocator& ) = delete;

    /// The start of the first buffer and its capacity in elements, whether it is in use or not. The mutable
    /// one is for taking the buffer, the const one for telling whether data lies in it.
    virtual void GetBuffer( T** ppBuffer, TSize* pCapacity ) = 0;
    virtual void GetBuffer( T** ppBuffer, TSize* pCapacity ) const = 0;

    /// Where larger blocks come from, or null when there are none. Two containers may hand over such a block
    /// when their parents are the same and not null.
    virtual CZanAllocator* GetParentAllocator() = 0;
    virtual CZanAllocator* GetParentAllocator() const = 0;
};

/// The embedded buffer, aligned for T.
template <typename T, int32 N, typename TSize = int32>
class CZanBaseInlineBufferAllocator : public CZanSmallSingleBufferAllocator<T, TSize>
{
    static_assert( N > 0, "an embedded buffer without room could not be told from no buffer" );

public:
    /// Whether the elements are bytes, and few.
    static constexpr bool bCopiesWhole = std::is_trivially_copyable_v<T> && sizeof( T ) * N <= 64;

    CZanBaseInlineBufferAllocator() {}
    ~CZanBaseInlineBufferAllocator() override {}

    // For a container that clears the buffer before it uses it, instead of leaving places raw: it then may
    // copy all of it, which is faster than as many elements as there are. All require bCopiesWhole.
    void ClearBuffer() { std::memset( static_cast<void*>( _Buffer ), 0, sizeof( _Buffer ) ); }
    void CopyBuffer( const CZanBaseInlineBufferAllocator& Other );
    void SwapBuffer( CZanBaseInlineBufferAllocator& Other );

    void GetBuffer( T** ppBuffer, TSize* pCapacity ) override;
    void GetBuffer( T** ppBuffer, TSize* pCapacity ) const override;

protected:
    bool IsBufferStart( const void* pData ) const { return pData == static_cast<const void*>( _Buffer ); }

private:
    union
    {
        T _Buffer[ N ]; // in a union, so that nothing builds or destroys the elements
    };
};

/// Takes what the embedded buffer cannot hold from a parent, which has to outlive it.
template <typename T, int32 N, typename TSize = int32>
class CZanHybridInlineBufferAllocator final : public CZanBaseInlineBufferAllocator<T, N, TSize>
{
public:
    explicit CZanHybridInlineBufferAllocator( CZanAllocator& Parent = GetDefaultAllocator() )
        : _pParent( &Parent )
    {}

    void* Allocate( uint64 Size, uint32 Alignment ) override { return _pParent->Allocate( Size, Alignment ); }

    /// Gives the block to the parent, null too. Nothing for the embedded buffer.
    void Free( void* pData ) override;

    bool IsInternalMemory( const void* pData ) const override { return this->IsBufferStart( pData ); }
    CZanAllocator* GetParentAllocator() override { return _pParent; }
    CZanAllocator* GetParentAllocator() const override { return _pParent; }

private:
    CZanAllocator* _pParent; // not owned, never null
};

/// Has nothing beyond the embedded buffer. Its container has to keep to N elements.
template <typename T, int32 N, typename TSize = int32>
class CZanStaticInlineBufferAllocator final : public CZanBaseInlineBufferAllocator<T, N, TSize>
{
public:
    void* Allocate( uint64, uint32 ) override { return nullptr; }
    void Free( void* ) override {}
    bool IsInternalMemory( const void* ) const override { return true; }
    CZanAllocator* GetParentAllocator() override { return nullptr; }
    CZanAllocator* GetParentAllocator() const override { return nullptr; }
};

/// Lends out a buffer that belongs to the caller and outlives it. Its container has to keep to Capacity
/// elements.
template <typename T, typename TSize = int32>
class CZanPreAllocatedAllocator final : public CZanSmallSingleBufferAllocator<T, TSize>
{
public:
    CZanPreAllocatedAllocator( T* pBuffer, TSize Capacity ) : _pBuffer( pBuffer ), _Capacity( Capacity ) {}

    /// Gives null, and reports that the first time in the process.
    void* Allocate( uint64 Size, uint32 Alignment ) override;

    void Free( void* ) override {}
    bool IsInternalMemory( const void* ) const override { return true; }
    void GetBuffer( T** ppBuffer, TSize* pCapacity ) override;
    void GetBuffer( T** ppBuffer, TSize* pCapacity ) const override;
    CZanAllocator* GetParentAllocator() override { return nullptr; }
    CZanAllocator* GetParentAllocator() const override { return nullptr; }

private:
    T* _pBuffer;
    TSize _Capacity;
};

namespace NZanInlineAllocator::NDetail
{
// No template: one assertion for all element types.
inline void ReportReallocation() { zan_assert_text( false, "Tried to reallocate a pre-allocated buffer" ); }
} // namespace NZanInlineAllocator::NDetail

template <typename T, int32 N, typename TSize>
inline void CZanBaseInlineBufferAllocator<T, N, TSize>::CopyBuffer(
    const CZanBaseInlineBufferAllocator& Other )
{
    std::memcpy( static_cast<void*>( _Buffer ), Other._Buffer, sizeof( _Buffer ) );
}

template <typename T, int32 N, typename TSize>
inline void CZanBaseInlineBufferAllocator<T, N, TSize>::SwapBuffer( CZanBaseInlineBufferAllocator& Other )
{
    unsigned char Former[ sizeof( _Buffer ) ];
    std::memcpy( Former, _Buffer, sizeof( _Buffer ) );
    CopyBuffer( Other );
    std::memcpy( static_cast<void*>( Other._Buffer ), Former, sizeof( _Buffer ) );
}

template <typename T, int32 N, typename TSize>
void CZanBaseInlineBufferAllocator<T, N, TSize>::GetBuffer( T** ppBuffer, TSize* pCapacity )
{
    *ppBuffer = _Buffer;
    *pCapacity = N;
}

template <typename T, int32 N, typename TSize>
void CZanBaseInlineBufferAllocator<T, N, TSize>::GetBuffer( T** ppBuffer, TSize* pCapacity ) const
{
    *ppBuffer = const_cast<T*>( _Buffer );
    *pCapacity = N;
}

template <typename T, int32 N, typename TSize>
void CZanHybridInlineBufferAllocator<T, N, TSize>::Free( void* pData )
{
    if ( !this->IsBufferStart( pData ) )
    {
        _pParent->Free( pData );
    }
}

template <typename T, typename TSize>
void* CZanPreAllocatedAllocator<T, TSize>::Allocate( uint64, uint32 )
{
    NZanInlineAllocator::NDetail::ReportReallocation();
    return nullptr;
}

template <typename T, typename TSize>
void CZanPreAllocatedAllocator<T, TSize>::GetBuffer( T** ppBuffer, TSize* pCapacity )
{
    *ppBuffer = _pBuffer;
    *pCapacity = _Capacity;
}

template <typename T, typename TSize>
void CZanPreAllocatedAllocator<T, TSize>::GetBuffer( T** ppBuffer, TSize* pCapacity ) const
{
    *ppBuffer = _pBuffer;
    *pCapacity = _Capacity;
}
