// refused: take a Size of 8 or more
#include "zan_core/holders/zan_any.h"

#if REFUSED
CZanAny<4, true> Any;
#endif
