#!/bin/sh
# usage: use_installed_tree.sh CMAKE BUILD_DIR COMPILER LIBDIR
# Installs the build into a folder of its own; compiles each public header alone against it, with
# the dependencies' headers replaced by traps; tries what the compiler is to refuse or to warn of;
# builds and runs a program by find_package and by pkg-config, and configures it with the sources
# built along; MORVEL_LONG_TESTS=1 builds that too. REQUIRES: the library is built.
set -eu
cmake=$1 build=$2 compiler=$3 libdir=$4
here=$(cd "$(dirname "$0")" && pwd)
source=$(cd "$here/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

"$cmake" --install "$build" --prefix "$prefix" >"$work/install.log" || { cat "$work/install.log"; exit 1; }

headers=0
cd "$prefix/include"
compile() {  # <compiler> <file> [option...]
    "$@" -std=c++17 -Wall -Wextra -Wpedantic -Weffc++ -Wnon-virtual-dtor -fsyntax-only \
        -isystem "$here/traps" -I "$prefix/include"
}
find morvel -name '*.h' ! -name NFileStreamBuf.h >"$work/headers"
while read -r header; do
    # Twice, so that a missing include guard shows as well.
    printf '#include <%s>\n#include <%s>\nint main() {}\n' "$header" "$header" >"$work/alone.cpp"
    compile "$compiler" "$work/alone.cpp" -Werror || { echo "$header cannot be used alone"; exit 1; }
    headers=$((headers + 1))
done <"$work/headers"
[ "$headers" -gt 20 ] || { echo "only $headers headers are installed"; exit 1; }

# What the compiler says to a line that is no good. Only Clang knows the lifetime of what is returned.
guides() {  # <compiler> <part of the message> <line>
    printf '#include <morvel/morvel.h>\nint main() { NXML x; NURL u; NString t; %s }\n' "$3" >"$work/guide.cpp"
    compile "$1" "$work/guide.cpp" 2>&1 | grep -q "$2" ||
        { echo "$1 does not say '$2' to: $3"; exit 1; }
}
guides "$compiler" deleted 'x.SetValue("a.b", 0);'
guides "$compiler" deleted 'x.SetValueCData("a.b", 0);'
guides "$compiler" deleted 'x.SetAttribute("a.b", "id", 0);'
guides "$compiler" deleted 'x.RemoveAttribute("a.b", 0);'
guides "$compiler" nodiscard 'x.LoadFile("a", true);'
guides "$compiler" nodiscard 'u.Get("http://localhost", 1, nullptr, nullptr, nullptr, nullptr);'
if command -v clang++ >"$work/clang"; then
    guides clang++ Wdangling 'const std::string& s = NString("a").Converted(EncodingUTF16); t = s;'
    guides clang++ Wdangling 'const std::string& s = KelFileException("a", 0).Message(); t = s;'
    guides clang++ Wdangling 'const NAttributeList& a = NXML().RootAttributes(); t = a[0].first;'
fi

configure() {  # <build folder> [option...]
    "$cmake" -G Ninja -S "$here/consumer" -B "$work/$1" -DCMAKE_PREFIX_PATH="$prefix" \
        -DCMAKE_CXX_COMPILER="$compiler" "$@" >"$work/configure.log" 2>&1
}
build_and_run() {  # <build folder> [option...]
    configure "$@" || { cat "$work/configure.log"; exit 1; }
    "$cmake" --build "$work/$1"
    "$work/$1/consumer"
}

export LD_LIBRARY_PATH="$prefix/$libdir"
build_and_run by_package
configure by_wrong_name -DCOMPONENTS=sound && { echo "an unknown component is found"; exit 1; }
grep -q "no component 'sound'" "$work/configure.log" || { cat "$work/configure.log"; exit 1; }

export PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig"
# shellcheck disable=SC2046
"$compiler" -std=c++17 "$here/consumer/consumer.cpp" -o "$work/by_pkgconfig" $(pkg-config --cflags --libs morvel)
version=$("$work/by_pkgconfig" | sed 's/.* //')
[ "$version" = "$(pkg-config --modversion morvel)" ] || { echo "version.h and the package differ"; exit 1; }
for manifest in vcpkg.json packaging/vcpkg/morvel/vcpkg.json; do
    grep -q "\"version\": \"$version\"" "$source/$manifest" || { echo "$manifest is not of $version"; exit 1; }
done

# Built along with the program: the library's folders, tests and install rules stay out of its way.
unset LD_LIBRARY_PATH
for fetch in OFF ON; do
    if [ "${MORVEL_LONG_TESTS:-}" ]; then
        build_and_run "along_$fetch" -DMORVEL_SOURCE="$source" -DFETCH=$fetch
    else
        configure "along_$fetch" -DMORVEL_SOURCE="$source" -DFETCH=$fetch || { cat "$work/configure.log"; exit 1; }
    fi
done
echo "$headers headers alone, find_package, pkg-config, add_subdirectory, FetchContent: all work"
