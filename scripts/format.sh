#!/bin/sh
# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
# Formats every source file, or with --check only says which ones differ.
set -eu
cd "$(dirname "$0")/.."
if [ "${1:-}" = --check ]; then mode="--dry-run --Werror"; else mode="-i"; fi
# shellcheck disable=SC2086
git ls-files '*.h' '*.cpp' | xargs clang-format $mode
