#!/usr/bin/env bash
# run.sh [arguments]: builds zan_core_test and runs it with the arguments of a Catch2 command line.
set -euo pipefail
scripts=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

# The program's output stands alone on the standard output, so that a reporter's can be piped.
"$scripts/setup.sh" >&2
"$scripts/build.sh" release >&2
exec "$scripts/../build/release/zan_core_test/zan_core_test" "$@"
