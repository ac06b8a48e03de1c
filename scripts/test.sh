#!/usr/bin/env bash
# test.sh [arguments]: builds everything and passes all tests; the arguments go to CTest.
set -euo pipefail
scripts=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

"$scripts/setup.sh"
"$scripts/build.sh" release
cd "$scripts/.."
ctest --preset release "$@"
