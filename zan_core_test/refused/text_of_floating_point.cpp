// refused: CTextNumber
#include "zan_core/text/zan_charconv.h"

#if REFUSED
const CZanOptional<double> Value = NZanStringUtils::FromString<double>( "0.5" );
#endif
