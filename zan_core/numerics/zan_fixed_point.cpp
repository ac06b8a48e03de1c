#include "zan_core/numerics/zan_fixed_point.h"

#include "zan_core/text/zan_charconv.h"

#include <ostream>
#include <string_view>

std::ostream& NFixedPoint::NDetail::Write( std::ostream& Stream, int64 Underlying )
{
    char Buffer[ NZanStringUtils::MaxNumberSize ];
    const CZanStringView Text = NZanStringUtils::ToString(
        Buffer, Buffer + sizeof( Buffer ), CFixedPoint::CreateFixedWithUnderlyingValue( Underlying ) );
    return Stream << std::string_view( Text.GetData(), static_cast<size_t>( Text.GetSize() ) );
}
