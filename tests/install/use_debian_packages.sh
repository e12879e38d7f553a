#!/bin/sh
# usage: use_debian_packages.sh FOLDER
# Checks the packages in the folder with lintian, unpacks library and headers side by side, checks
# the bill of materials, and builds and runs a program against what was unpacked.
set -eu
packages=$(readlink -f "$1")
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for name in libmorvel1 libmorvel-dev libmorvel-doc libmorvel1-dbgsym; do
    ls "$packages/${name}"_*.deb >"$work/found" || { echo "there is no package $name"; exit 1; }
done
# The suppressed tag is about an upload to Debian's archive, which a first release made here is not.
lintian --allow-root --fail-on error,warning --suppress-tags initial-upload-closes-no-bugs "$packages"/*.deb
dpkg-deb -c "$packages"/libmorvel-doc_*.deb >"$work/found"
for page in index changelog classNString search/search; do
    grep -q "/html/$page\.[hj][^.]*$" "$work/found" || { echo "libmorvel-doc lacks $page"; exit 1; }
done
dpkg-deb -x "$packages"/libmorvel-doc_*.deb "$work/doc"
grep -rHoE '\]\([^):#]+\.md' "$work/doc" | while IFS= read -r link; do
    [ -e "$(dirname "${link%%:*}")/${link##*(}" ] || { echo "a page leads nowhere: ${link#"$work/doc"})"; exit 1; }
done
for name in libmorvel1 libmorvel-dev; do
    dpkg-deb -x "$packages/${name}"_*.deb "$work/root"
    dpkg-deb -e "$packages/${name}"_*.deb "$work/control"
    [ ! -e "$work/control/postinst" ] || { echo "$name runs something when it is installed"; exit 1; }
done
"$here/check_sbom.py" "$work"/root/usr/share/doc/libmorvel1/*.cdx.json
libraries=$(dirname "$(find "$work/root" -name 'libmorvel.so.1')")
export LD_LIBRARY_PATH="$libraries" XDG_DATA_HOME="$work"
for sources in "$here/consumer" "$work/root/usr/share/doc/libmorvel-dev/examples"; do
    cmake -G Ninja -S "$sources" -B "$work/${sources##*/}" -DCMAKE_PREFIX_PATH="$work/root/usr" \
        >"$work/configure.log" 2>&1 || { cat "$work/configure.log"; exit 1; }
done
cmake --build "$work/consumer"
"$work/consumer/consumer"
cmake --build "$work/examples" --target notebook
"$work/examples/notebook/notebook" list
echo "the packages: no error or warning by lintian; a program and an example build and run against them"
