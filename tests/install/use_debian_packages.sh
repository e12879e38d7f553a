#!/bin/sh
# usage: use_debian_packages.sh FOLDER
# Checks the two packages in the folder with lintian, unpacks them side by side, and builds and runs
# a program against what was unpacked.
set -eu
packages=$(readlink -f "$1")
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

lintian --allow-root --fail-on error "$packages"/*.deb
for name in libmorvel1 libmorvel-dev; do
    dpkg-deb -x "$packages/${name}"_*.deb "$work/root"
done
libraries=$(dirname "$(find "$work/root" -name 'libmorvel.so.1')")
cmake -G Ninja -S "$here/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$work/root/usr" \
    >"$work/configure.log" 2>&1 || { cat "$work/configure.log"; exit 1; }
cmake --build "$work/consumer"
LD_LIBRARY_PATH="$libraries" XDG_DATA_HOME="$work" "$work/consumer/consumer"
echo "libmorvel1 and libmorvel-dev: no error by lintian, and a program builds and runs against them"
