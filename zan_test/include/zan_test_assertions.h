#pragma once

#include "zan_core/containers/zan_inline_array.h"
#include "zan_core/zan_types.h"

#include <string>

/// What a self-check expects of the assertions in an expression:
///
///     NO_ASSERT_FAILS( Array.RemoveTail() );                            // none fails
///     ASSERT_FAILS( Array.RemoveTail() );                               // one or more fail
///     ASSERT_FAILS_WITH( Array.RemoveTail(), "array is empty" );        // one with exactly this text
///     ASSERT_FAILS_MATCHES( Array.RemoveTail(), HasText( "empty" ) );   // one with all these attributes
///
/// As a rule the macros are marks: they run the expression and check nothing. An assertion that fails inside
/// it reports to the log as ever, once per site, and execution goes on.
///
/// A build with ZAN_TEST_CAPTURE_ASSERTS checks what they say. Each is then one statement that gives no
/// value, and fails the running case when the expectation is not met. Every failure counts, on any thread and
/// also of a site that has reported before; the log gets what it always gets. The records stay in
/// NZanCatch2::GAsserts until the next expression is captured. An expression inside a captured one counts for
/// both.
namespace NZanCatch2
{
/// One assertion failure.
struct SAssert
{
    std::string _Text; // the log message without its prefix and line feed
    std::string _File; // as logged, which is the same for all assertions, as is the line
    int32 _Line = 0;
    bool _bLogged = false; // false when the site had reported before
};

/// The failures in the last expression that was captured.
inline CZanInlineBufArray<SAssert, 1> GAsserts;
} // namespace NZanCatch2

#if defined( ZAN_TEST_CAPTURE_ASSERTS )

#include "zan_test/include/zan_test_capture.h"

#define NO_ASSERT_FAILS( Expression ) ZAN_TEST_CAPTURE( Expression, #Expression, NZanCatch2::FailsNot() )
#define ASSERT_FAILS( Expression ) ZAN_TEST_CAPTURE( Expression, #Expression, NZanCatch2::Fails() )
#define ASSERT_FAILS_WITH( Expression, ... )                                                                 \
    ZAN_TEST_CAPTURE( Expression, #Expression, NZanCatch2::Fails( NZanCatch2::IsText( __VA_ARGS__ ) ) )
#define ASSERT_FAILS_MATCHES( Expression, ... )                                                              \
    ZAN_TEST_CAPTURE( Expression, #Expression, NZanCatch2::Fails( __VA_ARGS__ ) )

#else

#define NO_ASSERT_FAILS( Expression ) Expression
#define ASSERT_FAILS( Expression ) Expression
#define ASSERT_FAILS_WITH( Expression, ... ) Expression
#define ASSERT_FAILS_MATCHES( Expression, ... ) Expression

#endif
