#pragma once

#include "zan_core/containers/zan_array.h"
#include "zan_core/memory/zan_allocator.h"
#include "zan_core/zan_expects.h"
#include "zan_core/zan_platform.h"

#include <atomic>
#include <cstddef>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <type_traits>
#include <utility>

/// Storage for single objects of one type, in blocks of a fixed number of items; freed items are handed out
/// again, the last one first. Choose it for many objects of one type that come and go, such as the nodes of a
/// graph. The blocks come from the global heap and go back to it when the pool ends: whoever uses the pool
/// destroys the objects, and one that is still alive then is not destroyed but lost with its block. Items
/// stay where they are when the pool is moved, and belong to the target.
///
/// The unsynchronized form belongs to one thread at a time. Of the synchronized form, any thread may call
/// Allocate, Free, Reserve and GetCapacity at any time; moving and ending it is for one thread alone.
///
///     CZanUnsynchronizedPoolAllocator<SNode> Pool( 32 );
///     SNode* const pNode = new ( Pool.Allocate( sizeof( SNode ), alignof( SNode ) ) ) SNode;
///     pNode->~SNode();
///     Pool.Free( pNode );
namespace NZanPoolAllocatorInternal
{
/// A free item begins with a pointer to the next one. Items may be less aligned than a pointer is.
inline void* GetLink( const void* pItem )
{
    void* pNext;
    std::memcpy( &pNext, pItem, sizeof( pNext ) );
    return pNext;
}

inline void SetLink( void* pItem, void* pNext ) { std::memcpy( pItem, &pNext, sizeof( pNext ) ); }

/// The head of the free list. Take it, and store the new one; in between it belongs to the taker.
template <bool bSynchronized>
class CFreeList
{
public:
    void* Take() { return _pHead; }
    void Store( void* pHead ) { _pHead = pHead; }
    void* GetHead() const { return _pHead; }

private:
    void* _pHead = nullptr;
};

/// Taking leaves a sentinel behind, and whoever finds that tries again. So the head is only ever taken whole,
/// never compared, and an item that was freed and handed out again meanwhile cannot be mistaken for the old
/// one. The list is held for a few instructions only: no call may stand between Take and Store.
template <>
class CFreeList<true>
{
public:
    void* Take()
    {
        for ( int32 Try = 1;; ++Try )
        {
            void* const pHead = _pHead.exchange( &_Sentinel, std::memory_order_acquire );
            if ( pHead != &_Sentinel )
            {
                return pHead;
            }
            if ( Try % 16 == 0 )
            {
                NZanPlatform::YieldThread(); // the holder may wait for this very processor
            }
        }
    }

    /// The taker alone may write, so a plain store does what an exchange would, and costs less.
    void Store( void* pHead ) { _pHead.store( pHead, std::memory_order_release ); }

    /// Requires that no other thread uses the list.
    void* GetHead() const { return _pHead.load( std::memory_order_acquire ); }

private:
    static inline char _Sentinel = 0;

    std::atomic<void*> _pHead = nullptr;
};

struct CNoLock
{
    void lock() {}
    void unlock() {}
};

/// What the two forms share: the blocks, and how items lie in them.
template <typename T>
class CZanPoolAllocatorBase : public CZanAllocator
{
public:
    CZanPoolAllocatorBase( const CZanPoolAllocatorBase& ) = delete;
    CZanPoolAllocatorBase& operator=( const CZanPoolAllocatorBase& ) = delete;

    /// Items per block.
    uint64 GetPoolSize() const { return _PoolSize; }

    /// The allocator that the pool was made with. No block comes from it.
    CZanAllocator& GetAllocator() const { return *_pAllocator; }

protected:
    static constexpr uint64 ItemSize = sizeof( T ) > sizeof( void* ) ? sizeof( T ) : sizeof( void* );
    static constexpr bool bOveraligned = alignof( T ) > __STDCPP_DEFAULT_NEW_ALIGNMENT__;

    struct SBlockDelete
    {
        void operator()( std::byte* pBlock ) const;
    };
    using CBlock = std::unique_ptr<std::byte, SBlockDelete>;

    CZanPoolAllocatorBase( uint64 PoolSize, CZanAllocator& Allocator );

    uint64 CalcCapacity() const { return _PoolSize * static_cast<uint64>( _Blocks.GetSize() ); }
    void* GetLastItem( void* pFirst ) const;

    static void* NewBlock( uint64 Size );

    /// Adds a block and links its items in ascending order, the last one open. Gives its first item. When
    /// there is no memory, throws std::bad_alloc and changes nothing.
    void* AddBlock();

    /// True when pData is the start of an item.
    bool IsItem( const void* pData ) const;

    uint64 _PoolSize;           // at least 1
    CZanAllocator* _pAllocator; // not owned, never null
    CZanArray<CBlock> _Blocks;  // in order of creation, each of _PoolSize items
};

template <typename T, bool bSynchronized>
class CZanPoolAllocator final : public CZanPoolAllocatorBase<T>
{
public:
    /// Takes no memory yet. PoolSize is the number of items per block, at least 1.
    explicit CZanPoolAllocator( uint64 PoolSize, CZanAllocator& Allocator = GetDefaultAllocator() )
        : CZanPoolAllocatorBase<T>( PoolSize, Allocator )
    {}

    /// Takes the items over, the free ones and those handed out. The source is left without any, and works
    /// on. The assignment first releases the blocks of the target, whose items are no more.
    CZanPoolAllocator( CZanPoolAllocator&& Other ) noexcept;
    CZanPoolAllocator& operator=( CZanPoolAllocator&& Other ) noexcept;

    /// Items in all blocks, handed out or not.
    uint64 GetCapacity() const;

    /// Adds blocks until there are at least Count items.
    void Reserve( uint64 Count );

    /// Storage for one T; size and alignment are ignored. Adds a block when no item is free, and throws
    /// std::bad_alloc when there is no memory for it.
    void* Allocate( uint64 Size, uint32 Alignment ) override;

    /// Takes back an item of this pool, or null. Requires that it is not free already.
    void Free( void* pData ) override;

    /// For checks: the number of items on the free list, and whether the list is sound, that is made of
    /// different items of this pool. They visit every free item, while no other thread uses the pool.
    uint64 CalcFreeCount() const;
    bool CheckInvariants() const;

private:
    using CLock = std::conditional_t<bSynchronized, NZanPlatform::CSlimLock, CNoLock>;

    void TakeOver( CZanPoolAllocator& Other ) noexcept;
    bool IsFree( const void* pItem );
    bool IsLockedItem( const void* pData );

    CFreeList<bSynchronized> _pFreeList;
    [[no_unique_address]] mutable CLock _Lock; // guards _Blocks; taken before the free list
};
} // namespace NZanPoolAllocatorInternal

template <typename T>
using CZanUnsynchronizedPoolAllocator = NZanPoolAllocatorInternal::CZanPoolAllocator<T, false>;
template <typename T>
using CZanSynchronizedPoolAllocator = NZanPoolAllocatorInternal::CZanPoolAllocator<T, true>;

namespace NZanPoolAllocatorInternal
{
template <typename T>
CZanPoolAllocatorBase<T>::CZanPoolAllocatorBase( uint64 PoolSize, CZanAllocator& Allocator )
    : _PoolSize( zan_expects( PoolSize > 0, "A pool's blocks need at least one item" ) ? PoolSize : 1 ),
      _pAllocator( &Allocator )
{}

template <typename T>
void* CZanPoolAllocatorBase<T>::NewBlock( uint64 Size )
{
    if constexpr ( bOveraligned )
    {
        return ::operator new( Size, std::align_val_t( alignof( T ) ) );
    }
    else
    {
        return ::operator new( Size );
    }
}

template <typename T>
void CZanPoolAllocatorBase<T>::SBlockDelete::operator()( std::byte* pBlock ) const
{
    if constexpr ( bOveraligned )
    {
        ::operator delete( pBlock, std::align_val_t( alignof( T ) ) );
    }
    else
    {
        ::operator delete( pBlock );
    }
}

template <typename T>
void* CZanPoolAllocatorBase<T>::GetLastItem( void* pFirst ) const
{
    return static_cast<std::byte*>( pFirst ) + ( _PoolSize - 1 ) * ItemSize;
}

template <typename T>
void* CZanPoolAllocatorBase<T>::AddBlock()
{
    CBlock pBlock( static_cast<std::byte*>( NewBlock( _PoolSize * ItemSize ) ) );
    std::byte* const pFirst = pBlock.get();
    for ( uint64 i = 0; i + 1 < _PoolSize; ++i )
    {
        SetLink( pFirst + i * ItemSize, pFirst + ( i + 1 ) * ItemSize );
    }
    _Blocks.Append( std::move( pBlock ) );
    return pFirst;
}

template <typename T>
bool CZanPoolAllocatorBase<T>::IsItem( const void* pData ) const
{
    const auto Address = reinterpret_cast<std::uintptr_t>( pData );
    for ( const CBlock& pBlock : _Blocks )
    {
        const auto First = reinterpret_cast<std::uintptr_t>( pBlock.get() );
        if ( Address >= First && Address - First < _PoolSize * ItemSize )
        {
            return ( Address - First ) % ItemSize == 0;
        }
    }
    return false;
}

template <typename T, bool bSynchronized>
CZanPoolAllocator<T, bSynchronized>::CZanPoolAllocator( CZanPoolAllocator&& Other ) noexcept
    : CZanPoolAllocatorBase<T>( Other._PoolSize, *Other._pAllocator )
{
    TakeOver( Other );
}

template <typename T, bool bSynchronized>
CZanPoolAllocator<T, bSynchronized>& CZanPoolAllocator<T, bSynchronized>::operator=(
    CZanPoolAllocator&& Other ) noexcept
{
    if ( this != &Other )
    {
        this->_PoolSize = Other._PoolSize;
        this->_pAllocator = Other._pAllocator;
        TakeOver( Other );
    }
    return *this;
}

template <typename T, bool bSynchronized>
void CZanPoolAllocator<T, bSynchronized>::TakeOver( CZanPoolAllocator& Other ) noexcept
{
    const std::scoped_lock Lock( Other._Lock );
    this->_Blocks = std::move( Other._Blocks );
    _pFreeList.Store( Other._pFreeList.Take() );
    Other._pFreeList.Store( nullptr );
}

template <typename T, bool bSynchronized>
uint64 CZanPoolAllocator<T, bSynchronized>::GetCapacity() const
{
    const std::scoped_lock Lock( _Lock );
    return this->CalcCapacity();
}

template <typename T, bool bSynchronized>
void CZanPoolAllocator<T, bSynchronized>::Reserve( uint64 Count )
{
    const std::scoped_lock Lock( _Lock );
    if ( this->CalcCapacity() >= Count )
    {
        return;
    }
    this->_Blocks.Reserve( static_cast<int32>( ( Count - 1 ) / this->_PoolSize + 1 ) );
    while ( this->CalcCapacity() < Count )
    {
        void* const pFirst = this->AddBlock();
        SetLink( this->GetLastItem( pFirst ), _pFreeList.Take() );
        _pFreeList.Store( pFirst );
    }
}

template <typename T, bool bSynchronized>
void* CZanPoolAllocator<T, bSynchronized>::Allocate( uint64, uint32 )
{
    void* const pItem = _pFreeList.Take();
    if ( pItem != nullptr )
    {
        _pFreeList.Store( GetLink( pItem ) );
        return pItem;
    }
    _pFreeList.Store( nullptr );

    const std::scoped_lock Lock( _Lock );
    void* const pFirst = this->AddBlock();
    if ( this->_PoolSize > 1 )
    {
        void* const pSecond = GetLink( pFirst );
        // Other threads may have freed items since the list was found empty.
        SetLink( this->GetLastItem( pFirst ), _pFreeList.Take() );
        _pFreeList.Store( pSecond );
    }
    return pFirst;
}

template <typename T, bool bSynchronized>
void CZanPoolAllocator<T, bSynchronized>::Free( void* pData )
{
    if ( pData == nullptr ||
         !zan_expects( IsLockedItem( pData ), "Free of a pointer that is no item of this pool" ) ||
         !zan_expects( !IsFree( pData ), "Free of an item that is free already" ) )
    {
        return;
    }
    SetLink( pData, _pFreeList.Take() );
    _pFreeList.Store( pData );
}

template <typename T, bool bSynchronized>
bool CZanPoolAllocator<T, bSynchronized>::IsLockedItem( const void* pData )
{
    const std::scoped_lock Lock( _Lock );
    return this->IsItem( pData );
}

template <typename T, bool bSynchronized>
bool CZanPoolAllocator<T, bSynchronized>::IsFree( const void* pItem )
{
    void* const pHead = _pFreeList.Take();
    const void* pFree = pHead;
    while ( pFree != nullptr && pFree != pItem )
    {
        pFree = GetLink( pFree );
    }
    _pFreeList.Store( pHead );
    return pFree != nullptr;
}

template <typename T, bool bSynchronized>
uint64 CZanPoolAllocator<T, bSynchronized>::CalcFreeCount() const
{
    uint64 Count = 0;
    for ( const void* pItem = _pFreeList.GetHead(); pItem != nullptr; pItem = GetLink( pItem ) )
    {
        ++Count;
    }
    return Count;
}

template <typename T, bool bSynchronized>
bool CZanPoolAllocator<T, bSynchronized>::CheckInvariants() const
{
    // A list that visits an item twice never ends, so more steps than items show a cycle.
    uint64 StepsLeft = this->CalcCapacity();
    for ( const void* pItem = _pFreeList.GetHead(); pItem != nullptr; pItem = GetLink( pItem ) )
    {
        if ( StepsLeft == 0 || !this->IsItem( pItem ) )
        {
            return false;
        }
        --StepsLeft;
    }
    return true;
}
} // namespace NZanPoolAllocatorInternal
