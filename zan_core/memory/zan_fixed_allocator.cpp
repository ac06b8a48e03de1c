#include "zan_core/memory/zan_fixed_allocator.h"

#include "zan_core/views/zan_bit.h"
#include "zan_core/zan_assert.h"
#include "zan_core/zan_expects.h"

#include <cstdint>
#include <cstring>
#include <mutex>

// Blocks are of any size, and so nodes and records lie at any address: they are copied in and out. Free
// ranges are linked in the order of their addresses, and no two of them touch.

namespace
{
template <typename T>
T Load( const uint8* pData )
{
    T Value;
    std::memcpy( &Value, pData, sizeof( T ) );
    return Value;
}

template <typename T>
void Store( uint8* pData, const T& Value )
{
    std::memcpy( pData, &Value, sizeof( T ) );
}
} // namespace

CZanFixedAllocator::CZanFixedAllocator( uint64 Size )
    : _pAllocator( &GetDefaultAllocator() ),
      _pBuffer( static_cast<uint8*>(
          _pAllocator->Allocate( Size > sizeof( SNode ) ? Size : Size + sizeof( SNode ), RecordSize ) ) ),
      _pFreeList( _pBuffer ), _Size( Size )
{
    Store( _pBuffer, SNode{ Size, nullptr } );
}

CZanFixedAllocator::~CZanFixedAllocator() { _pAllocator->Free( _pBuffer ); }

void* CZanFixedAllocator::Allocate( uint64 Size, uint32 Alignment )
{
    const bool bIsHonoured = ZanStd::has_single_bit( Alignment ) && Alignment <= MaxAlignment;
    zan_assert_text( bIsHonoured, "Alignment of a fixed allocator's block is no power of two up to 32768" );
    if ( !bIsHonoured )
    {
        return nullptr;
    }
    const std::scoped_lock Lock( _Lock );
    uint8* pPrevious = nullptr;
    for ( uint8* pNode = _pFreeList; pNode != nullptr; )
    {
        const SNode Node = Load<SNode>( pNode );
        const auto Unpadded = reinterpret_cast<std::uintptr_t>( pNode ) + RecordSize;
        const uint64 Offset = RecordSize + ( ( 0 - Unpadded ) & ( Alignment - 1 ) );
        if ( Node._Size >= Offset && Node._Size - Offset >= Size )
        {
            uint64 Total = Offset + Size;
            uint8* pRest = Node._pNext;
            if ( Node._Size - Total > sizeof( SNode ) )
            {
                pRest = pNode + Total;
                Store( pRest, SNode{ Node._Size - Total, Node._pNext } );
            }
            else
            {
                Total = Node._Size;
            }
            SetNext( pPrevious, pRest );
            uint8* const pData = pNode + Offset;
            Store( pData - RecordSize,
                SRecord{ Total, static_cast<uint16>( Alignment ), static_cast<uint16>( Offset ), 0 } );
            _UsedBytes += Total;
            ++_AllocationCount;
            return pData;
        }
        pPrevious = pNode;
        pNode = Node._pNext;
    }
    zan_assert_text( false, "Out of (fixed) memory" );
    return nullptr;
}

void CZanFixedAllocator::Free( void* pData )
{
    if ( pData == nullptr )
    {
        return;
    }
    const std::scoped_lock Lock( _Lock );
    uint8* const pRecord = static_cast<uint8*>( pData ) - RecordSize;
    if ( !zan_expects( IsUsed( pRecord ), "Free of a pointer that is no block of this allocator" ) )
    {
        return;
    }
    const auto Record = Load<SRecord>( pRecord );
    uint8* pStart = static_cast<uint8*>( pData ) - Record._Offset;
    uint8* const pEnd = pStart + Record._Size;

    uint8* pPrevious = nullptr;
    uint8* pNext = _pFreeList;
    while ( pNext != nullptr && pNext < pEnd )
    {
        pPrevious = pNext;
        pNext = Load<SNode>( pNext )._pNext;
    }
    SNode Node{ Record._Size, pNext };
    if ( pNext == pEnd )
    {
        const auto Next = Load<SNode>( pNext );
        Node = { Node._Size + Next._Size, Next._pNext };
    }
    const uint64 PreviousSize = pPrevious != nullptr ? Load<SNode>( pPrevious )._Size : 0;
    if ( pPrevious != nullptr && pPrevious + PreviousSize == pStart )
    {
        Node._Size += PreviousSize;
        pStart = pPrevious;
    }
    else
    {
        SetNext( pPrevious, pStart );
    }
    Store( pStart, Node );
    --_AllocationCount;
    _UsedBytes -= Record._Size;
}

uint64 CZanFixedAllocator::GetUsedBytes() const
{
    const std::scoped_lock Lock( _Lock );
    return _UsedBytes;
}

uint64 CZanFixedAllocator::GetAllocationCount() const
{
    const std::scoped_lock Lock( _Lock );
    return _AllocationCount;
}

uint64 CZanFixedAllocator::CalcFreeRangeCount() const
{
    const std::scoped_lock Lock( _Lock );
    uint64 Count = 0;
    for ( const uint8* pNode = _pFreeList; pNode != nullptr; pNode = Load<SNode>( pNode )._pNext )
    {
        ++Count;
    }
    return Count;
}

bool CZanFixedAllocator::CheckInvariants() const
{
    const std::scoped_lock Lock( _Lock );
    uint64 FreeBytes = 0;
    const uint8* pFormerEnd = nullptr;
    for ( const uint8* pNode = _pFreeList; pNode != nullptr; )
    {
        const auto Node = Load<SNode>( pNode );
        if ( pNode < _pBuffer || pNode <= pFormerEnd || pNode + Node._Size > _pBuffer + _Size )
        {
            return false;
        }
        FreeBytes += Node._Size;
        pFormerEnd = pNode + Node._Size;
        pNode = Node._pNext;
    }
    return FreeBytes + _UsedBytes == _Size;
}

/// True when pByte lies in the buffer, and in no free range.
bool CZanFixedAllocator::IsUsed( const uint8* pByte ) const
{
    const auto IsIn = [ & ]( const uint8* pStart, uint64 Size ) {
        return reinterpret_cast<std::uintptr_t>( pByte ) - reinterpret_cast<std::uintptr_t>( pStart ) < Size;
    };
    bool bIsUsed = IsIn( _pBuffer, _Size );
    for ( const uint8* pNode = _pFreeList; pNode != nullptr; pNode = Load<SNode>( pNode )._pNext )
    {
        bIsUsed = bIsUsed && !IsIn( pNode, Load<SNode>( pNode )._Size );
    }
    return bIsUsed;
}

/// Links pNode behind pPrevious, or first when that is null.
void CZanFixedAllocator::SetNext( uint8* pPrevious, uint8* pNode )
{
    if ( pPrevious == nullptr )
    {
        _pFreeList = pNode;
    }
    else
    {
        Store( pPrevious + sizeof( uint64 ), pNode ); // SNode::_pNext
    }
}
