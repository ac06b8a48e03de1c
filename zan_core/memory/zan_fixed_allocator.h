#pragma once

#include "zan_core/memory/zan_allocator.h"
#include "zan_core/zan_platform.h"
#include "zan_core/zan_types.h"

/// Blocks of any size out of one buffer that never grows: the first free range in which a block fits is cut,
/// and a freed block joins its free neighbours. Choose it for what must not exceed a bound. Honours
/// alignments up to 32768. A block takes 16 bytes more than was asked for, and what its alignment takes.
/// Allocate and Free are linear in the number of free ranges, and may be called by any thread.
///
///     CZanFixedAllocator Allocator( 1024 );
///     void* const pData = Allocator.Allocate( 100, 8 );  // null when there is no room
///     Allocator.Free( pData );
class CZanFixedAllocator final : public CZanAllocator
{
public:
    /// Takes the buffer, of Size bytes, from the default allocator.
    explicit CZanFixedAllocator( uint64 Size );

    /// Returns the buffer, whatever is still alive in it.
    ~CZanFixedAllocator() override;

    CZanFixedAllocator( const CZanFixedAllocator& ) = delete;
    CZanFixedAllocator& operator=( const CZanFixedAllocator& ) = delete;

    /// When no free range has room, reports that the first time in the process and gives null. So it does
    /// with an alignment that is no power of two or above 32768.
    void* Allocate( uint64 Size, uint32 Alignment ) override;
    void Free( void* pData ) override;

    uint64 GetSize() const { return _Size; }
    uint64 GetUsedBytes() const;
    uint64 GetAllocationCount() const;

    // For self-checks. Linear in the number of free ranges.
    uint64 CalcFreeRangeCount() const;
    bool CheckInvariants() const;

private:
    /// At the start of each free range.
    struct SNode
    {
        uint64 _Size; // of the range
        uint8* _pNext;
    };

    /// In front of each pointer handed out.
    struct SRecord
    {
        uint64 _Size; // of the block with all that is in front of the pointer
        uint16 _Alignment;
        uint16 _Offset; // from the block's start to the pointer
        uint32 _Unused;
    };

    static constexpr uint64 RecordSize = 16;
    static constexpr uint32 MaxAlignment = 32768; // with the record it still fits in 16 bits
    static_assert( sizeof( SNode ) == RecordSize && sizeof( SRecord ) == RecordSize,
        "a freed block has to have room for a node" );

    bool IsUsed( const uint8* pByte ) const;
    void SetNext( uint8* pPrevious, uint8* pNode );

    CZanAllocator* _pAllocator;  // not owned; where the buffer is from
    uint8* _pBuffer;             // 16-byte aligned
    uint8* _pFreeList;           // the lowest free range, or null
    uint64 _Size;                // what may be used of the buffer
    uint64 _UsedBytes = 0;       // in blocks; the rest is in free ranges
    uint64 _AllocationCount = 0; // of blocks
    mutable NZanPlatform::CSlimLock _Lock;
};
