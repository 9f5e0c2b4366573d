#!/bin/sh
# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
# The test programs of the rooms that use tasks, locks or concurrent fits, as build targets. The same
# rooms are named as labels in the tsan test preset.
cd "$(dirname "$0")/../tests"
for room in extract mesh simplex lmfit model export; do
  if [ -f "$room/CMakeLists.txt" ]; then echo "zelmo_${room}_test"; fi
done
