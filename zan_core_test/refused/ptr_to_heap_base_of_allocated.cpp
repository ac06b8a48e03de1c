// refused: own the object as a CZanAllocatedRefCountable
#include "zan_core/holders/zan_ptr.h"

CZanPtr<CZanAllocatedRefCountable> Owner;
CZanPtr<CZanAllocatedRefCountable> Copy = Owner;
#if REFUSED
CZanPtr<CZanRefCountable> Base = Owner;
#endif
