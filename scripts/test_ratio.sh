#!/bin/sh
# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
# Lines of tests against lines of code.
set -eu
cd "$(dirname "$0")/.."
count() { git ls-files -- "$@" | grep -E '\.(h|cpp)$' | tr '\n' '\0' | xargs -0 -r cat | wc -l; }
code=$(count src examples)
tests=$(count tests)
echo "code $code, tests $tests: $((100 * tests / code)) %"
