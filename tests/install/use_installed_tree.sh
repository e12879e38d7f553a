#!/bin/sh
# usage: use_installed_tree.sh CMAKE BUILD_DIR COMPILER LIBDIR
# Installs the build into a folder of its own; compiles each public header alone against it, with
# the dependencies' headers replaced by traps; builds and runs a program by find_package and by
# pkg-config. REQUIRES: the library is built.
set -eu
cmake=$1 build=$2 compiler=$3 libdir=$4
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

"$cmake" --install "$build" --prefix "$prefix" >"$work/install.log" || { cat "$work/install.log"; exit 1; }

headers=0
cd "$prefix/include"
for header in $(find morvel -name '*.h' ! -name NFileStreamBuf.h); do
    # Twice, so that a missing include guard shows as well.
    printf '#include <%s>\n#include <%s>\nint main() {}\n' "$header" "$header" >"$work/alone.cpp"
    "$compiler" -std=c++17 -Wall -Wextra -Wpedantic -Werror -fsyntax-only \
        -isystem "$here/traps" -I "$prefix/include" "$work/alone.cpp" ||
        { echo "$header cannot be used alone"; exit 1; }
    headers=$((headers + 1))
done
[ "$headers" -gt 20 ] || { echo "only $headers headers are installed"; exit 1; }

export LD_LIBRARY_PATH="$prefix/$libdir"
"$cmake" -G Ninja -S "$here/consumer" -B "$work/by_package" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_COMPILER="$compiler" >"$work/configure.log" 2>&1 || { cat "$work/configure.log"; exit 1; }
"$cmake" --build "$work/by_package"
"$work/by_package/consumer"

export PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig"
# shellcheck disable=SC2046
"$compiler" -std=c++17 "$here/consumer/consumer.cpp" -o "$work/by_pkgconfig" $(pkg-config --cflags --libs morvel)
"$work/by_pkgconfig"
echo "$headers headers alone, find_package and pkg-config: all work"
