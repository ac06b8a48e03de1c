#pragma once

#include "zan_core/text/zan_string_view.h"

/// Free functions over text. None depends on the locale.
namespace NZanStringUtils
{
/// True when Needle occurs in Haystack, upper and lower ASCII letters being one. An empty needle always does.
/// At worst the product of the sizes.
bool ContainsIgnoreCase( CZanStringView Haystack, CZanStringView Needle );
} // namespace NZanStringUtils
