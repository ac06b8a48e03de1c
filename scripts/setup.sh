#!/usr/bin/env bash
# setup.sh [--ci] [--bench]: installs from Debian's packages what is missing to build and test the library, with
# --ci also what .ci/run needs, with --bench also the peers of the benchmarks. Installs nothing when all is there.
set -euo pipefail

packages=(g++ cmake ninja-build ccache pkg-config catch2 libboost1.81-dev clang-format-14)
for argument in "$@"; do
    case $argument in
    --ci) packages+=(clang clang-tidy libclang-rt-14-dev) ;;
    --bench) packages+=(libbenchmark-dev libabsl-dev libmimalloc-dev robin-map-dev rapidjson-dev libtbb-dev) ;;
    *)
        echo "setup.sh: unknown argument $argument" >&2
        exit 2
        ;;
    esac
done

if ! command -v dpkg-query > /dev/null || ! command -v apt-get > /dev/null; then
    echo "setup.sh installs Debian's packages, and this is another system. Install what these give by hand," >&2
    echo "then build with cmake --preset release: ${packages[*]}" >&2
    exit 1
fi

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2> /dev/null || true)
    [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo > /dev/null; then
        echo "setup.sh: neither root nor sudo to install: ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi
echo "installing ${missing[*]}"
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
    "${missing[@]}" > /dev/null
