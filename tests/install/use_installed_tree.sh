#!/bin/sh
# usage: use_installed_tree.sh CMAKE BUILD_DIR COMPILER LIBDIR
# Installs the build into a folder of its own; compiles each public header alone against it, with
# the dependencies' headers replaced by traps; tries what the compiler is to refuse or to warn of;
# builds and runs a program by find_package and by pkg-config. MORVEL_LONG_TESTS=1 has each header
# compiled by GCC and Clang under three standards. REQUIRES: the library is built.
set -eu
cmake=$1 build=$2 compiler=$3 libdir=$4
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

"$cmake" --install "$build" --prefix "$prefix" >"$work/install.log" || { cat "$work/install.log"; exit 1; }

headers=0
cd "$prefix/include"
compile() {  # <compiler> <standard> <source> [option...]
    of=$1 standard=$2 source=$3
    shift 3
    "$of" "-std=$standard" -Wall -Wextra -Wpedantic -Weffc++ -Wnon-virtual-dtor -fsyntax-only \
        -isystem "$here/traps" -I "$prefix/include" "$@" "$source"
}
have_clang=$(command -v clang++ || true)
for header in $(find morvel -name '*.h' ! -name NFileStreamBuf.h); do
    # Twice, so that a missing include guard shows as well.
    printf '#include <%s>\n#include <%s>\nint main() {}\n' "$header" "$header" >"$work/alone.cpp"
    for standard in c++17 ${MORVEL_LONG_TESTS:+c++20 c++2b}; do
        for of in "$compiler" ${MORVEL_LONG_TESTS:+$have_clang}; do
            compile "$of" "$standard" "$work/alone.cpp" -Werror ||
                { echo "$header cannot be used alone by $of, $standard"; exit 1; }
        done
    done
    headers=$((headers + 1))
done
[ "$headers" -gt 20 ] || { echo "only $headers headers are installed"; exit 1; }

# What the compiler says to a line that is no good. Only Clang knows the lifetime of what is returned.
guides() {  # <compiler> <part of the message> <line>
    printf '#include <morvel/morvel.h>\nint main() { NXML x; NURL u; NString t; %s }\n' "$3" >"$work/guide.cpp"
    compile "$1" c++17 "$work/guide.cpp" 2>&1 | grep -q "$2" ||
        { echo "$1 does not say '$2' to: $3"; exit 1; }
}
guides "$compiler" 'use of deleted function' 'x.SetValue("a.b", 0);'
guides "$compiler" nodiscard 'x.LoadFile("a", true);'
guides "$compiler" nodiscard 'u.Get("http://localhost", 1, nullptr, nullptr, nullptr, nullptr);'
if [ "$have_clang" ]; then
    guides clang++ Wdangling 'const std::string& s = NString("a").Converted(EncodingUTF16); t = s;'
    guides clang++ Wdangling 'const NAttributeList& a = NXML().RootAttributes(); t = a[0].first;'
fi

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
