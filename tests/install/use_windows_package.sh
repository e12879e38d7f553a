#!/bin/sh
# usage: use_windows_package.sh PACKAGE.zip
# Unpacks the package into an empty folder, builds a program against it with the cross compiler and
# runs that and the packaged examples with nothing else on the path; looks at checksums, version resource,
# debug information and bill of materials. REQUIRES: the environment of script/windows, which runs it.
set -eu
package=$(readlink -f "$1")
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
cmake -E tar xf "$package"
root=$(echo "$work"/*)

for file in bin/morvel.dll bin/morvel.dll.debug debugger/morvel.natvis lib/libmorvel.dll.a include/morvel/morvel.h docs/index.html README.md LICENSE licenses/poco.txt; do
    [ -e "$root/$file" ] || { echo "the package lacks $file"; exit 1; }
done

(cd "$root" && sha256sum --check --quiet SHA256SUMS)
version=$(basename "$package" | cut -d- -f2)
strings -el "$root/bin/morvel.dll" | grep -A1 FileVersion | grep -qF "$version" ||
    { echo "the DLL does not say that it is $version"; exit 1; }
x86_64-w64-mingw32-objdump -h "$root/bin/morvel.dll" | grep -q gnu_debuglink ||
    { echo "the DLL does not name its debug information"; exit 1; }
"$here/check_sbom.py" "$root/morvel.cdx.json"

cmake -G Ninja -S "$here/consumer" -B consumer --toolchain "$here/../../cmake/mingw-w64.cmake" \
    -DCMAKE_FIND_ROOT_PATH="$root" >configure.log 2>&1 || { cat configure.log; exit 1; }
cmake --build consumer
mkdir data
XDG_DATA_HOME="Z:$work/data"
export XDG_DATA_HOME
(cd consumer && WINEPATH="Z:$root/bin" wine consumer.exe)

for example in exchange feed fetch inventory notebook recode; do
    wine "$root/bin/$example.exe" --help >help.log || { cat help.log; exit 1; }
    grep -q "Usage: .*$example" help.log || { echo "$example --help shows no usage"; exit 1; }
done
wine "$root/bin/exchange.exe" >demo.log || { cat demo.log; exit 1; }
cat demo.log
grep -q 'order number A-2041' demo.log
echo "$(basename "$package"): a program builds and runs against it, and the examples run"
