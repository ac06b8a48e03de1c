#pragma once

#include "zan_core/containers/zan_array.h"
#include "zan_core/hashing/zan_unordered_map.h"
#include "zan_core/memory/zan_allocator.h"
#include "zan_core/zan_platform.h"
#include "zan_test/include/zan_test_catch.h"

#include <atomic>
#include <mutex>

namespace NZanTestUtils
{
/// The global heap with a record of all that is allocated and freed: shows what a container really allocates,
/// and fails the running case when a block is freed that it did not hand out, or that was freed before. It
/// ignores the alignment, and does not look for blocks that are left at its end: compare the counts. Its own
/// records lie in the default allocator. Several threads may allocate and free; the counts are for one that
/// knows the others to be at rest.
///
///     CZanTestAllocator Allocator;
///     CZanArray<int32> Array( Allocator );
///     Array.Reserve( 4 );
///     REQUIRE( Allocator.GetTotalAllocationByteCount() == 4 * sizeof( int32 ) );
class CZanTestAllocator : public CZanAllocator
{
public:
    CZanTestAllocator() = default;
    CZanTestAllocator( const CZanTestAllocator& ) = delete;
    CZanTestAllocator& operator=( const CZanTestAllocator& ) = delete;

    void* Allocate( uint64 Size, uint32 Alignment ) override;
    void Free( void* pData ) override;

    // Blocks, and the bytes that were asked for. Current: handed out and not freed. Total: over the life.

    uint64 GetCurrentAllocationCount() const { return _CurrentAllocationCount; }
    uint64 GetTotalAllocationCount() const { return _TotalAllocationCount; }
    uint64 GetTotalDeallocationCount() const { return _TotalDeallocationCount; }
    uint64 GetNullFreeCount() const { return _NullFreeCount; } ///< In no other count.
    uint64 GetCurrentByteCount() const { return _CurrentByteCount; }
    uint64 GetTotalAllocationByteCount() const { return _TotalAllocationByteCount; }
    uint64 GetTotalDeallocationByteCount() const { return _TotalDeallocationByteCount; }

    /// The sizes of all allocations and of all frees, in order.
    const CZanArray<uint64>& GetAllocationSizes() const { return _AllocationSizes; }
    const CZanArray<uint64>& GetDeallocationSizes() const { return _DeallocationSizes; }

private:
    NZanPlatform::CSlimLock _Lock; // held across each allocation and free
    CZanUnorderedMap<void*, uint64> _CurrentAllocations;
    CZanArray<uint64> _AllocationSizes;
    CZanArray<uint64> _DeallocationSizes;
    uint64 _CurrentAllocationCount = 0;
    uint64 _TotalAllocationCount = 0;
    uint64 _TotalDeallocationCount = 0;
    std::atomic<uint64> _NullFreeCount = 0; // counted without the lock
    uint64 _CurrentByteCount = 0;
    uint64 _TotalAllocationByteCount = 0;
    uint64 _TotalDeallocationByteCount = 0;
};

inline void* CZanTestAllocator::Allocate( uint64 Size, uint32 Alignment )
{
    const std::scoped_lock Lock( _Lock );
    void* const pData = GetDefaultAllocator().Allocate( Size, Alignment );
    _CurrentAllocations.Set( pData, Size );
    _AllocationSizes.Append( Size );
    ++_CurrentAllocationCount;
    ++_TotalAllocationCount;
    _CurrentByteCount += Size;
    _TotalAllocationByteCount += Size;
    return pData;
}

inline void CZanTestAllocator::Free( void* pData )
{
    if ( pData == nullptr )
    {
        ++_NullFreeCount;
        return;
    }
    const std::scoped_lock Lock( _Lock );
    const auto AllocationIterator = _CurrentAllocations.Find( pData );
    if ( !( AllocationIterator != _CurrentAllocations.end() ) )
    {
        // Only a failure speaks to Catch2, which threads may not do at once.
        REQUIRE( AllocationIterator != _CurrentAllocations.end() );
    }
    const uint64 Size = AllocationIterator->_Value;
    _CurrentAllocations.Remove( pData );
    _DeallocationSizes.Append( Size );
    --_CurrentAllocationCount;
    ++_TotalDeallocationCount;
    _CurrentByteCount -= Size;
    _TotalDeallocationByteCount += Size;
    GetDefaultAllocator().Free( pData );
}
} // namespace NZanTestUtils
