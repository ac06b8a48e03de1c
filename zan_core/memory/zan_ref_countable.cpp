#include "zan_core/memory/zan_ref_countable.h"

bool CZanRefCountable::RemoveReference() const
{
    if ( !zan_expects( GetReferenceCount() > 0, "ReleaseReference of an object without references" ) )
    {
        return false;
    }
    return _ReferenceCount.fetch_sub( 1, std::memory_order_acq_rel ) == 1;
}

void CZanRefCountable::ReleaseReference() const
{
    if ( RemoveReference() )
    {
        delete this;
    }
}

void CZanAllocatedRefCountable::ReleaseReference() const
{
    if ( !RemoveReference() )
    {
        return;
    }

    // The block begins where the whole object does, which need not be here, and only a live object tells.
    CZanAllocator* const pAllocator = _pAllocator;
    void* const pBlock = const_cast<void*>( dynamic_cast<const void*>( this ) );
    this->~CZanAllocatedRefCountable();
    pAllocator->Free( pBlock );
}
