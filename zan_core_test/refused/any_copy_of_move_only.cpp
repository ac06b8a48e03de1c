// refused: move it: this kind of CZanAny is not copied
#include "zan_core/holders/zan_any.h"

CZanAny<8, false> Source = 3;
CZanAny<8, true> Moved = static_cast<CZanAny<8, false>&&>( Source );
#if REFUSED
CZanAny<8, true> Copy = Source;
#endif
