#!/bin/sh
# usage: build_and_check.sh CMAKE BUILD_DIR WORK_DIR COMPILER CHECK... PAGES
# Installs the build below WORK_DIR, builds the recipes against that and runs the check with the folder
# of their programs behind PAGES. REQUIRES: the library is built.
set -eu
cmake=$1 build=$2 work=$3 compiler=$4
shift 4
for pages; do :; done
quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }; }
quietly "$cmake" --install "$build" --prefix "$work/prefix"
quietly "$cmake" -G Ninja -S "$pages" -B "$work/built" -DCMAKE_PREFIX_PATH="$work/prefix" \
    -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="-Wall -Wextra"
quietly "$cmake" --build "$work/built"
"$@" "$work/built/bin"
