#!/bin/sh
# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
# Runs clang-tidy over the given source files, or over all of src/ and examples/.
set -eu
cd "$(dirname "$0")/.."
cmake --preset tidy > /dev/null
if [ $# -gt 0 ]; then printf '%s\n' "$@"; else git ls-files 'src/*.cpp' 'examples/*.cpp'; fi |
  xargs -P "$(nproc)" -n 2 clang-tidy -p build/tidy --quiet
