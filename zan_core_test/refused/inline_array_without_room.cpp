// refused: an embedded buffer without room could not be told from no buffer
#include "zan_core/containers/zan_inline_array.h"

#if REFUSED
CZanInlineBufArray<int32, 0> Array;
#endif
