#!/bin/sh
# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs the packages that `./run package` built into an empty Debian root, builds the hosts of
# tests/consumer there by find_package(Zelmo), by pkg-config and by dlopen, runs them and
# `zelmo-inspect`, and removes the packages again.
# Needs root, debootstrap and Debian's packages over the network; takes several minutes.
# usage: scripts/check_packages.sh [ROOT]   (default: a new root that is removed afterwards)
set -eu
cd "$(dirname "$0")/.."
packages=build/package/packages
root=${1:-}
if [ -z "$root" ]; then
  root=$(mktemp -d)
  trap 'umount "$root/proc" 2> /dev/null || true; rm -rf --one-file-system "$root"' EXIT
  debootstrap --variant=minbase bookworm "$root" > "$root.log" 2>&1 || { cat "$root.log"; exit 1; }
fi
mountpoint -q "$root/proc" || mount -t proc proc "$root/proc"
rm -rf "$root/zelmo" && mkdir "$root/zelmo"
cp "$packages"/*.deb tests/consumer/* "$root/zelmo/"
cat > "$root/zelmo/check.sh" << 'INSIDE'
set -eu
export DEBIAN_FRONTEND=noninteractive
echo force-unsafe-io > /etc/dpkg/dpkg.cfg.d/fast  # the root is thrown away
apt-get update
apt-get install -y --no-install-recommends g++ cmake make pkg-config /zelmo/*.deb
cmake -S /zelmo -B /tmp/by-cmake -DCMAKE_BUILD_TYPE=Release
cmake --build /tmp/by-cmake
/tmp/by-cmake/consumer
c++ -std=c++17 /zelmo/consumer.cpp -o /tmp/by-pkg-config $(pkg-config --cflags --libs zelmo)
/tmp/by-pkg-config
c++ -std=c++17 /zelmo/loader.cpp -o /tmp/loader -ldl -pthread
/tmp/loader libzelmo.so.0
zelmo-inspect --version
cd /tmp && zelmo-inspect -o /tmp/out
apt-get purge -y libzelmo0 libzelmo-dev zelmo-tools
[ -z "$(find /usr -iname '*zelmo*')" ] || { find /usr -iname '*zelmo*'; exit 1; }
echo
INSIDE
log=$(mktemp)
if ! chroot "$root" sh /zelmo/check.sh > "$log" 2>&1; then
  tail -40 "$log"
  echo "the packages do not serve a clean system"
  exit 1
fi
tail -n 3 "$log"
echo "packages install; hosts build by find_package, by pkg-config and by dlopen;"
echo "zelmo-inspect measures its part; purged, nothing is left"
