// refused: a _fixed literal is decimal, without an exponent
#include "zan_core/numerics/zan_fixed_point.h"

#if REFUSED
constexpr CFixedPoint Value = 0x10_fixed;
#endif
