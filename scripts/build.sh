#!/usr/bin/env bash
# build.sh PRESET [arguments]: configures and builds a preset of CMakePresets.json; the arguments go to the build.
# For the scripts beside it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# What a cache of compilations has to overlook to work with a precompiled header.
export CCACHE_SLOPPINESS=pch_defines,time_macros
cmake --preset "$1" -D CMAKE_CXX_COMPILER_LAUNCHER=ccache > /dev/null
cmake --build --preset "$@"
