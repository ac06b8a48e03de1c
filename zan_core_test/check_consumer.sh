#!/usr/bin/env bash
# check_consumer.sh package|subproject|pkgconfig SOURCE BUILD COMPILER SANITIZE
# Builds and runs the consumer program in a folder outside the source tree.
set -euo pipefail
way=$1 source=$2 build=$3 compiler=$4 sanitize=$5

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r "$source/zan_core_test/consumer" "$work/consumer"

build_consumer() {
    cmake -S "$work/consumer" -B "$work/build" -G Ninja -D CMAKE_BUILD_TYPE=Release \
        -D CMAKE_CXX_COMPILER="$compiler" ${sanitize:+-D CMAKE_CXX_FLAGS="-fsanitize=$sanitize"} "$@"
    cmake --build "$work/build"
    "$work/build/zan_consumer"
}

case $way in
subproject)
    build_consumer -D ZAN_SOURCE_DIR="$source"
    ;;
package)
    cmake --install "$build" --prefix "$work/prefix"
    build_consumer -D CMAKE_PREFIX_PATH="$work/prefix"
    ;;
pkgconfig)
    cmake --install "$build" --prefix "$work/prefix"
    pc=$(find "$work/prefix" -name zan_core.pc)
    # shellcheck disable=SC2046 # flags are words
    "$compiler" ${sanitize:+-fsanitize=$sanitize} "$work/consumer/main.cpp" -o "$work/zan_consumer" \
        $(PKG_CONFIG_PATH=$(dirname "$pc") pkg-config --cflags --libs zan_core)
    "$work/zan_consumer"
    ;;
esac
