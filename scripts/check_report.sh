#!/bin/sh
# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
# Opens the sample host's report in a headless Chromium: no error in the console, nothing asked of the
# network, every number the one of report.json, readable in light, dark, narrow and on paper.
#
#   scripts/check_report.sh [RESULTS] [PICTURES]
#
# RESULTS is a folder that inspect has written; without it the made part is measured first. Screenshots
# and a PDF are left in PICTURES, build/report.check unless it is named.
set -eu
cd "$(dirname "$0")/.."

scripts/install_deps.sh --with-browser
pictures=${2:-build/report.check}
results=${1:-}
if [ -z "$results" ]; then
  results=$pictures/results
  [ -x build/release/examples/inspect ] || ./run demo --version > /dev/null
  build/release/examples/inspect -o "$results" > /dev/null
fi
exec python3 scripts/check_report.py "$results" "$pictures"
