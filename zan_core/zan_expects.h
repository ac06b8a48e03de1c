#pragma once

#include "zan_core/zan_assert.h"

/// zan_expects( Condition, Text ) is true when a precondition holds with which callers are trusted. By
/// default it is not even looked at: the expression is the constant true and costs nothing. In a build with
/// ZAN_CHECK_PRECONDITIONS a broken one is reported as by zan_assert_text, once per site, and the expression
/// is false, so that the function can leave things as they were:
///
///     if ( !zan_expects( _Size > 0, "RemoveTail on an empty array" ) )
///     {
///         return;
///     }
#if defined( ZAN_CHECK_PRECONDITIONS )
#define zan_expects( Condition, Text )                                                                       \
    ( ( Condition ) ? true : ( NZanAssert::NDetail::ReportFailure( ZAN_ASSERT_SITE_FLAG(), Text ), false ) )
#else
#define zan_expects( Condition, Text ) NZanAssert::NDetail::IsTrusted()
#endif

namespace NZanAssert::NDetail
{
constexpr bool IsTrusted() { return true; }
} // namespace NZanAssert::NDetail
