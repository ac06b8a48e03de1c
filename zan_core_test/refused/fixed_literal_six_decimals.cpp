// refused: a _fixed literal has at most five decimals
#include "zan_core/numerics/zan_fixed_point.h"

#if REFUSED
constexpr CFixedPoint Value = 1.000000_fixed;
#endif
