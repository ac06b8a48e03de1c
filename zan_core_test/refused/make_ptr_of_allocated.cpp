// refused: make the object by ZanNewAllocated
#include "zan_core/holders/zan_ptr.h"

struct SAllocated : CZanAllocatedRefCountable
{
    explicit SAllocated( CZanAllocator& Allocator ) : CZanAllocatedRefCountable( Allocator ) {}
};
CZanPtr<SAllocated> Owner( ZanNewAllocated<SAllocated>( GetDefaultAllocator() ) );
#if REFUSED
CZanPtr<SAllocated> Made = ZanMakePtr<SAllocated>( GetDefaultAllocator() );
#endif
