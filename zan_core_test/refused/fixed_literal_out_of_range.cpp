// refused: a _fixed literal is at most 92233720368547.75807
#include "zan_core/numerics/zan_fixed_point.h"

#if REFUSED
constexpr CFixedPoint Value = 92233720368547.75808_fixed;
#endif
