#pragma once

/// Mark what a self-check expects of the assertions in an expression. They run the expression and check
/// nothing: an assertion that fails inside it reports to the log, and execution goes on.
#define NO_ASSERT_FAILS( Expression ) Expression
#define ASSERT_FAILS( Expression ) Expression
#define ASSERT_FAILS_WITH( Expression, ... ) Expression
#define ASSERT_FAILS_MATCHES( Expression, ... ) Expression
