#!/bin/sh
# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
# The one list of Debian packages that the project needs. Installs what is missing, as root or
# through sudo; says what to do when it can do neither.
set -eu

packages="
  g++ cmake ninja-build pkg-config
  libopencv-dev libpcl-dev libgsl-dev liblapack-dev libboost-dev nlohmann-json3-dev
  libocct-data-exchange-dev libocct-foundation-dev libocct-modeling-algorithms-dev
  libocct-modeling-data-dev
  libgtest-dev libgmock-dev
"
for option in "$@"; do
  case $option in
    --with-peers)
      packages="$packages libbenchmark-dev libceres-dev libcgal-dev libeigen3-dev libvtk9-dev python3"
      ;;
    --with-docs) packages="$packages doxygen" ;;
    --with-packaging) packages="$packages dpkg-dev debootstrap" ;;
    --with-fuzzers) packages="$packages clang libclang-rt-14-dev" ;;
    --with-lint) packages="$packages clang clang-format clang-tidy python3" ;;
    --with-browser) packages="$packages chromium fonts-dejavu-core python3" ;;
    *)
      echo "install_deps.sh: unknown option $option" >&2
      exit 2
      ;;
  esac
done

missing=""
for package in $packages; do
  status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$status" = installed ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

if [ "$(id -u)" = 0 ]; then
  as_root=""
elif command -v sudo > /dev/null 2>&1; then
  as_root="sudo"
else
  echo "These Debian packages are missing, and this is neither root nor a machine with sudo." >&2
  echo "Ask an administrator to run:" >&2
  echo "  apt-get install --no-install-recommends$missing" >&2
  exit 1
fi

echo "Installing:$missing"
export DEBIAN_FRONTEND=noninteractive
log=$(mktemp)
# shellcheck disable=SC2086 # the list is meant to be split
if ! { $as_root apt-get update && $as_root apt-get install -y --no-install-recommends $missing; } > "$log" 2>&1; then
  cat "$log" >&2
  echo "apt-get could not install the packages above." >&2
  exit 1
fi
rm -f "$log"
