// refused: a CZanAny cannot be held in a CZanAny: give it the value inside
#include "zan_core/holders/zan_any.h"

CZanAny<8, true> Inner = 3;
#if REFUSED
CZanAny<32, true> Outer = Inner;
#endif
