#include "zan_core/memory/zan_ref_countable.h"

void CZanAllocatedRefCountable::End() const
{
    // The block begins where the whole object does, which need not be here, and only a live object tells.
    CZanAllocator* const pAllocator = _pAllocator;
    void* const pBlock = const_cast<void*>( dynamic_cast<const void*>( this ) );
    this->~CZanAllocatedRefCountable();
    pAllocator->Free( pBlock );
}
