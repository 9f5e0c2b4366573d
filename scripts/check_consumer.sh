#!/bin/sh
# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs a build into an empty prefix and builds and runs the hosts of tests/consumer against it:
# by find_package(Zelmo), by pkg-config without CMake, and by dlopen.
# usage: scripts/check_consumer.sh [BUILD]   (default: build/release, built before)
set -eu
cd "$(dirname "$0")/.."
build=${1:-build/release}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

quietly() {
  "$@" > "$work/log" 2>&1 || { cat "$work/log" >&2; echo "failed: $*" >&2; exit 1; }
}

quietly cmake --install "$build" --prefix "$prefix"

# Away from the tree, so that nothing of it is found by accident.
cp -r tests/consumer "$work/consumer"
quietly cmake -S "$work/consumer" -B "$work/by-cmake" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_PREFIX_PATH="$prefix"
quietly cmake --build "$work/by-cmake"
"$work/by-cmake/consumer"

PKG_CONFIG_PATH=$(find "$prefix" -name pkgconfig -type d | head -n 1)
export PKG_CONFIG_PATH
# shellcheck disable=SC2046 # the flags are meant to be split
quietly c++ -std=c++17 "$work/consumer/consumer.cpp" -o "$work/by-pkg-config" \
  $(pkg-config --cflags --libs zelmo)
LD_LIBRARY_PATH=$(pkg-config --variable=libdir zelmo) "$work/by-pkg-config"

# A host that loads the library by name and lets it go.
quietly c++ -std=c++17 "$work/consumer/loader.cpp" -o "$work/loader" -ldl -pthread
"$work/loader" "$(pkg-config --variable=libdir zelmo)/libzelmo.so.0"

# Every program that README and documents show.
for page in README.md docs/*.md docs/rooms/*.md; do
  awk '/^```cpp/ {take = 1; next} /^```/ {take = 0} take' "$page" > "$work/sample.cpp"
  grep -q 'int main' "$work/sample.cpp" || continue
  # shellcheck disable=SC2046
  quietly c++ -std=c++17 -Wall "$work/sample.cpp" -o "$work/sample" $(pkg-config --cflags --libs zelmo)
  LD_LIBRARY_PATH=$(pkg-config --variable=libdir zelmo) quietly "$work/sample"
  echo "the program in $page compiles and runs"
done

if [ -x "$prefix/bin/zelmo-inspect" ]; then quietly "$prefix/bin/zelmo-inspect" --version; fi
