#pragma once

#include "zan_core/memory/zan_allocator.h"
#include "zan_core/zan_types.h"

#include <cstdint>

/// Hands out memory from the front to the back of blocks that it takes from another allocator, each twice as
/// large as the one before, and frees nothing until it is reset or ends. Choose it for many small objects
/// that go together, such as those of a frame. It honours every alignment. The objects are not destroyed; the
/// upstream allocator has to outlive it. Not synchronised.
///
///     CZanLinearAllocator Frame( 64 * 1024 );
///     SParticle* const pParticle = new ( Frame.Allocate( sizeof( SParticle ), alignof( SParticle ) ) )
///     SParticle; Frame.Reset();  // *pParticle is no more, its block is kept
class CZanLinearAllocator final : public CZanAllocator
{
public:
    /// Takes the first block, of FirstBlockSize bytes with its header of 24, at once: up to 24 bytes have no
    /// room for more than the header, and get that on top. A null upstream is the default allocator.
    explicit CZanLinearAllocator( uint64 FirstBlockSize, CZanAllocator* pUpstream = nullptr );
    ~CZanLinearAllocator() override;

    /// Takes over the blocks and what is in them. The source is left without any, and asks its upstream for a
    /// new first block when it is used again. The assignment first releases the blocks of the target.
    CZanLinearAllocator( CZanLinearAllocator&& Other ) noexcept;
    CZanLinearAllocator& operator=( CZanLinearAllocator&& Other ) noexcept;

    /// Alignment is a power of two. What does not fit into this block goes to the next one, and the rest of
    /// this one is lost until a reset. When the upstream fails, it fails likewise: it throws, or gives null.
    void* Allocate( uint64 Size, uint32 Alignment ) override;

    /// Nothing.
    void Free( void* pData ) override;

    /// Takes all memory back at once, and keeps the blocks for what is allocated next. Linear in the blocks.
    void Reset();

    /// Bytes handed out since the last reset, padding not counted.
    uint64 GetTotalAllocated() const { return _TotalAllocated; }

private:
    /// In front of each block's memory.
    struct SBlock
    {
        uint8* GetStart() { return reinterpret_cast<uint8*>( this + 1 ); }
        uint8* GetEnd() { return reinterpret_cast<uint8*>( this ) + _Size; }

        SBlock* _pNext;
        uint64 _Size; // of the block with this header
        uint64 _Used; // handed out
    };
    static_assert( sizeof( SBlock ) == 24, "block sizes are told with the header in them" );

    SBlock* NewBlock( uint64 Size );
    uint64 CalcNextBlockSize( uint64 Size ) const;
    void MakeCurrent( SBlock* pBlock );
    bool TakeNextBlock( uint64 Size );
    void* AllocateFromNextBlock( uint64 Size, uint32 Alignment );
    void TakeOver( CZanLinearAllocator& Other );
    void ReleaseBlocks();

    uint8* _pCurrent = nullptr; // the next free byte
    uint8* _pEnd = nullptr;     // of the current block
    SBlock* _pFirstBlock = nullptr;
    SBlock* _pCurrentBlock = nullptr; // null when there are none; those behind it are empty
    CZanAllocator* _pUpstream;        // not owned, never null
    uint64 _TotalAllocated = 0;
    bool _bOwnsFirstBlock = true;
};

inline void* CZanLinearAllocator::Allocate( uint64 Size, uint32 Alignment )
{
    const uint64 Padding = ( 0 - reinterpret_cast<std::uintptr_t>( _pCurrent ) ) & ( Alignment - 1 );
    const uint64 Room = static_cast<uint64>( _pEnd - _pCurrent );
    if ( _pCurrentBlock == nullptr || Padding > Room || Size > Room - Padding ) [[unlikely]]
    {
        return AllocateFromNextBlock( Size, Alignment );
    }
    uint8* const pData = _pCurrent + Padding;
    _pCurrent = pData + Size;
    _TotalAllocated += Size;
    _pCurrentBlock->_Used += Size;
    return pData;
}
