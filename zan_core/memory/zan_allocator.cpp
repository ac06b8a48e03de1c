#include "zan_core/memory/zan_allocator.h"

#include <new>

bool CZanAllocator::IsInternalMemory( const void* ) const { return false; }

void* CZanNewDeleteAllocator::Allocate( uint64 Size, uint32 ) { return ::operator new( Size ); }

void CZanNewDeleteAllocator::Free( void* pData ) { ::operator delete( pData ); }
