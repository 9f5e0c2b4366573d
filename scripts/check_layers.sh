#!/bin/sh
# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
# A folder of the library includes only itself and folders below it, and the internal/ folder of no other
# room but feature.
set -eu
cd "$(dirname "$0")/../src/zelmo"
below=""
failed=0
for room in internal feature simplex curvefit lmfit measure guidedfit extract model export registration mesh display; do
  below="$below|$room"
  bad=$(grep -rnE '#include [<"]zelmo/[a-z]+/' "$room" | grep -vE "[<\"]zelmo/(${below#|})/" || true)
  if [ -n "$bad" ]; then
    echo "$room includes a folder above it:"
    echo "$bad"
    failed=1
  fi
  bad=$(grep -rnE '#include [<"]zelmo/[a-z]+/internal/' "$room" | grep -vE "[<\"]zelmo/(feature|$room)/internal/" || true)
  if [ -n "$bad" ]; then
    echo "$room includes another room's internal headers:"
    echo "$bad"
    failed=1
  fi
done
exit $failed
