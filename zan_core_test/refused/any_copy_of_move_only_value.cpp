// refused: move the value into the holder
#include "zan_core/holders/zan_any.h"
#include "zan_core/holders/zan_scoped_ptr.h"

CZanScopedPtr<int32> Owner;
CZanAny<8, false> Any;
#if REFUSED
void Assign() { Any = Owner; }
#endif
