#!/bin/sh
# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
# The shared library exports the classes of its public namespaces and nothing else: no symbol of a
# dependency, of the standard library or of zelmo::internal. And it exports what the committed list says:
# a change of the list is a change of the interface, to be made on purpose.
# usage: scripts/check_symbols.sh [--update] [BUILD]   (default: build/release, built before)
set -eu
cd "$(dirname "$0")/.."
list=scripts/exported_symbols.txt
update=""
if [ "${1:-}" = --update ]; then
  update=yes
  shift
fi
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
if [ -n "$update" ]; then
  echo "$exported" | LC_ALL=C sort -u > "$list"
fi
if ! echo "$exported" | LC_ALL=C sort -u | diff -u "$list" - ; then
  echo "the exported symbols differ from $list; if that is meant: scripts/check_symbols.sh --update"
  exit 1
fi
echo "$(echo "$exported" | wc -l) exported symbols, all of the public namespaces"
