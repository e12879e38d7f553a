#!/bin/sh
# usage: use_windows_package.sh PACKAGE.zip
# Unpacks the package into an empty folder, builds a program against it with the cross compiler and
# runs that and the packaged demo with nothing else on the path. REQUIRES: the environment of
# script/windows, which runs it.
set -eu
package=$(readlink -f "$1")
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
cmake -E tar xf "$package"
root=$(echo "$work"/*)

for file in bin/morvel.dll lib/libmorvel.dll.a include/morvel/morvel.h README.md LICENSE licenses/poco.txt; do
    [ -e "$root/$file" ] || { echo "the package lacks $file"; exit 1; }
done

cmake -G Ninja -S "$here/consumer" -B consumer --toolchain "$here/../../cmake/mingw-w64.cmake" \
    -DCMAKE_FIND_ROOT_PATH="$root" >configure.log 2>&1 || { cat configure.log; exit 1; }
cmake --build consumer
mkdir data
XDG_DATA_HOME="Z:$work/data"
export XDG_DATA_HOME
(cd consumer && WINEPATH="Z:$root/bin" wine consumer.exe)

wine "$root/bin/exchange.exe" >demo.log || { cat demo.log; exit 1; }
cat demo.log
grep -q 'order number A-2041' demo.log
echo "$(basename "$package"): a program builds and runs against it, and the demo runs"
