// refused: derive the type from CZanRefCountable
#include "zan_core/holders/zan_ptr.h"

struct SCounted : CZanRefCountable
{};
CZanPtr<SCounted> Owner = ZanMakePtr<SCounted>();
#if REFUSED
CZanPtr<int32> Number;
#endif
