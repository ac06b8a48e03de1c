#pragma once

#include "zan_core/zan_types.h"

/// Where memory comes from. Every container of the library holds a pointer to an allocator that it does not
/// own, and gives each block back to the allocator that it came from; the allocator has to outlive them.
/// Whether an allocator may be used by several threads at once is its own rule.
class CZanAllocator
{
public:
    CZanAllocator() = default;
    virtual ~CZanAllocator() = default;

    /// A block of at least Size bytes. How far Alignment, a power of two, is honoured and what exhaustion
    /// does are the allocator's rules.
    virtual void* Allocate( uint64 Size, uint32 Alignment ) = 0;

    /// Takes back a block of this allocator. Null does nothing.
    virtual void Free( void* pData ) = 0;

    /// True when pData is storage inside the allocator itself, which cannot change owner.
    virtual bool IsInternalMemory( const void* pData ) const;

protected:
    CZanAllocator( const CZanAllocator& ) = default;
    CZanAllocator& operator=( const CZanAllocator& ) = default;
};

/// The global heap: operator new and delete. Ignores the alignment, so that blocks are aligned as operator
/// new aligns them; elements that need more go to an allocator that honours it. Exhaustion throws
/// std::bad_alloc. Any thread.
class CZanNewDeleteAllocator final : public CZanAllocator
{
public:
    void* Allocate( uint64 Size, uint32 Alignment ) override;
    void Free( void* pData ) override;
};

/// The allocator of everything that is not told another one. Built at first use, and so destroyed after every
/// static object that used it while it was built.
inline CZanAllocator& GetDefaultAllocator()
{
    static CZanNewDeleteAllocator Allocator; // here, so that an array that never needs a block calls nothing
    return Allocator;
}
