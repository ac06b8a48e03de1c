#include "zan_core/text/zan_string_utils.h"

#include <algorithm>

namespace
{
char ToUpperAscii( char Char ) { return Char >= 'a' && Char <= 'z' ? static_cast<char>( Char - 32 ) : Char; }
} // namespace

bool NZanStringUtils::ContainsIgnoreCase( CZanStringView Haystack, CZanStringView Needle )
{
    const auto IsSame = []( char Left, char Right ) { return ToUpperAscii( Left ) == ToUpperAscii( Right ); };
    return Needle.IsEmpty() || std::search( begin( Haystack ), end( Haystack ), begin( Needle ),
                                   end( Needle ), IsSame ) != end( Haystack );
}
