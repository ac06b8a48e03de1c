#include "zan_core/memory/zan_linear_allocator.h"

#include <limits>
#include <new>
#include <utility>

CZanLinearAllocator::CZanLinearAllocator( uint64 FirstBlockSize, CZanAllocator* pUpstream )
    : _pUpstream( pUpstream != nullptr ? pUpstream : &GetDefaultAllocator() )
{
    const bool bHasRoom = FirstBlockSize > sizeof( SBlock );
    _pFirstBlock = NewBlock( bHasRoom ? FirstBlockSize : FirstBlockSize + sizeof( SBlock ) );
    MakeCurrent( _pFirstBlock );
}

CZanLinearAllocator::~CZanLinearAllocator() { ReleaseBlocks(); }

CZanLinearAllocator::CZanLinearAllocator( CZanLinearAllocator&& Other ) noexcept
    : CZanAllocator(), _pUpstream( Other._pUpstream )
{
    TakeOver( Other );
}

CZanLinearAllocator& CZanLinearAllocator::operator=( CZanLinearAllocator&& Other ) noexcept
{
    if ( this != &Other )
    {
        ReleaseBlocks();
        _pUpstream = Other._pUpstream;
        TakeOver( Other );
    }
    return *this;
}

void CZanLinearAllocator::Free( void* ) {}

void CZanLinearAllocator::Reset()
{
    for ( SBlock* pBlock = _pFirstBlock; pBlock != nullptr; pBlock = pBlock->_pNext )
    {
        pBlock->_Used = 0;
    }
    MakeCurrent( _pFirstBlock );
    _TotalAllocated = 0;
}

/// Null when the upstream gives none.
CZanLinearAllocator::SBlock* CZanLinearAllocator::NewBlock( uint64 Size )
{
    void* const pMemory = _pUpstream->Allocate( Size, alignof( SBlock ) );
    return pMemory != nullptr ? new ( pMemory ) SBlock{ nullptr, Size, 0 } : nullptr;
}

/// Twice as large as the current block, or as much as a block for Size alone.
uint64 CZanLinearAllocator::CalcNextBlockSize( uint64 Size ) const
{
    constexpr uint64 LargestSize = ( std::numeric_limits<uint64>::max() - sizeof( SBlock ) ) / 2;
    if ( Size > LargestSize )
    {
        return Size; // as it is: no upstream has that much, and it knows how to fail
    }
    const uint64 Doubled = _pCurrentBlock != nullptr ? _pCurrentBlock->_Size * 2 : 0;
    return Doubled < Size + sizeof( SBlock ) ? Size * 2 + sizeof( SBlock ) : Doubled;
}

void CZanLinearAllocator::MakeCurrent( SBlock* pBlock )
{
    _pCurrentBlock = pBlock;
    _pCurrent = pBlock != nullptr ? pBlock->GetStart() : nullptr;
    _pEnd = pBlock != nullptr ? pBlock->GetEnd() : nullptr;
}

/// Goes on to a block with room for Size, not counting what the alignment takes. False without one.
bool CZanLinearAllocator::TakeNextBlock( uint64 Size )
{
    while ( _pCurrentBlock != nullptr && _pCurrentBlock->_pNext != nullptr )
    {
        MakeCurrent( _pCurrentBlock->_pNext );
        if ( _pCurrentBlock->_Size - sizeof( SBlock ) >= Size )
        {
            return true;
        }
    }
    SBlock* const pBlock = NewBlock( CalcNextBlockSize( Size ) );
    if ( pBlock != nullptr )
    {
        ( _pCurrentBlock != nullptr ? _pCurrentBlock->_pNext : _pFirstBlock ) = pBlock;
        MakeCurrent( pBlock );
    }
    return pBlock != nullptr;
}

/// As blocks double, padding sends it on to another one no more often than a size has bits.
void* CZanLinearAllocator::AllocateFromNextBlock( uint64 Size, uint32 Alignment )
{
    return TakeNextBlock( Size ) ? Allocate( Size, Alignment ) : nullptr;
}

void CZanLinearAllocator::TakeOver( CZanLinearAllocator& Other )
{
    _pCurrent = std::exchange( Other._pCurrent, nullptr );
    _pEnd = std::exchange( Other._pEnd, nullptr );
    _pFirstBlock = std::exchange( Other._pFirstBlock, nullptr );
    _pCurrentBlock = std::exchange( Other._pCurrentBlock, nullptr );
    _TotalAllocated = std::exchange( Other._TotalAllocated, 0 );
    _bOwnsFirstBlock = std::exchange( Other._bOwnsFirstBlock, true );
}

void CZanLinearAllocator::ReleaseBlocks()
{
    SBlock* pBlock = _pFirstBlock;
    if ( pBlock != nullptr && !_bOwnsFirstBlock )
    {
        pBlock = pBlock->_pNext;
    }
    while ( pBlock != nullptr )
    {
        _pUpstream->Free( std::exchange( pBlock, pBlock->_pNext ) );
    }
}
