// refused: no matching function for call to .*to_chars
#include "zan_core/numerics/zan_fixed_point.h"
#include "zan_core/text/zan_charconv.h"

#if REFUSED
char Buffer[ 32 ];
const auto Result = NZanStringUtils::to_chars( Buffer, Buffer + 32, 0.5 );
#endif
