#pragma once

#include "zan_core/zan_types.h"

/// Assertions that report and go on. A condition that does not hold is logged once per site, for the life of
/// the process; then execution continues at the next statement, so code behind an assertion has to survive
/// its failure. They are evaluated in every build, evaluate their condition once, are one expression of type
/// void, and may stand in constexpr functions. While the condition holds they cost a compare and a branch.
/// Any thread may fail; two that fail at one site at once may both be logged.
///
///     zan_assert( Index >= 0 && Index < Size );
///     zan_assert_text( bFits, "Out of (fixed) memory" );
///     zan_assert_msg( pNode != nullptr, "No node named %s", Name.GetCharPtr() );

/// Logs "Assertion failed: " and the source text of the condition.
#define zan_assert( Condition ) zan_assert_text( Condition, #Condition )

/// Logs "Assertion failed: " and Text, a string literal.
#define zan_assert_text( Condition, Text )                                                                   \
    ( ( Condition ) ? static_cast<void>( 0 )                                                                 \
                    : NZanAssert::NDetail::ReportFailure( ZAN_ASSERT_SITE_FLAG(), Text ) )

/// Logs "Assertion failed: " and the text that printf would make of the format and the arguments, which are
/// evaluated only on failure. At most 2047 characters of it survive.
#define zan_assert_msg( Condition, ... )                                                                     \
    ( ( Condition )                                                                                          \
            ? static_cast<void>( 0 )                                                                         \
            : static_cast<void>( ZanAssertFailed( nullptr, 0, 1, ZAN_ASSERT_SITE_FLAG(), __VA_ARGS__ ) ) )

/// The flag of the site at which it is written. A static of a lambda, because a constexpr function may hold
/// no static of its own.
#define ZAN_ASSERT_SITE_FLAG()                                                                               \
    []() -> bool* {                                                                                          \
        static bool bReported = false;                                                                       \
        return &bReported;                                                                                   \
    }()

/// Reports a failure of the format form unless *pReported is set, and sets it. pFile, Line and Count are
/// ignored. Always gives false.
[[gnu::cold, gnu::format( printf, 5, 6 )]] bool ZanAssertFailed(
    const char* pFile, int32 Line, int32 Count, bool* pReported, const char* pFormat, ... );

namespace NZanAssert
{
/// Sees every failure, also those of a site that has reported before, which are not logged again. pFile and
/// Line are those of the log message, pText is what stands in it behind "Assertion failed: ". Called on the
/// failing thread, before the message is logged.
using FFailureHook = void ( * )( const char* pText, const char* pFile, int32 Line, bool bLogged );

/// Installs pHook, or none for null, and gives the former one. For self-checks: a failure that runs meanwhile
/// on another thread may still reach the former hook.
FFailureHook SetFailureHook( FFailureHook pHook );
} // namespace NZanAssert

namespace NZanAssert::NDetail
{
[[gnu::cold]] void ReportFailure( bool* pReported, const char* pText );
}
