#!/bin/sh
# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
# The shared library exports the classes of its public namespaces and nothing else: no symbol of a
# dependency, of the standard library or of zelmo::internal.
set -eu
cd "$(dirname "$0")/.."
library=${1:-build/release}/src/zelmo/libzelmo.so
namespaces='xgeofeature|x3dfit|xcurve3dfit|zelmolm|xfeaturefitfilter|xgeofit|xgeomeasure|xmodelfeature|xexportfiles|xrigidtransform|xrpsalign|xsection|vorn::quil::xtirm|xgeometry|xpolylinefit'
exported=$(nm -DC --defined-only "$library" | cut -d' ' -f3-)
foreign=$(echo "$exported" | grep -vE "^(vtable for |typeinfo for |typeinfo name for )?($namespaces)::" |
  grep -vE '^zelmo::version\(\)$' || true)
if [ -n "$foreign" ]; then
  echo "exported though it is not part of the interface:"
  echo "$foreign"
  exit 1
fi
echo "$(echo "$exported" | wc -l) exported symbols, all of the public namespaces"
