// refused: hold the value in a CZanAny<Size, false>
#include "zan_core/holders/zan_any.h"
#include "zan_core/holders/zan_scoped_ptr.h"

CZanAny<8, false> Any = CZanScopedPtr<int32>();
#if REFUSED
CZanAny<8, true> Copyable = CZanScopedPtr<int32>();
#endif
