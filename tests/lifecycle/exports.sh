#!/bin/sh
# Compares the names that a built library exports with the list that stands beside this script.
#   exports.sh <nm> <library>            fails and shows what differs
#   exports.sh <nm> <library> --update   writes the list anew
set -e
list=$(dirname "$0")/exports.txt
# The name alone: constructors and destructors have several symbols each, all of one name. It is
# c++filt that reads them, as each nm does it in another way.
names=$("$1" -D --defined-only "$2" | sed -e 's/^[0-9a-f]* . //' -e 's/@@.*//' | c++filt --no-verbose | LC_ALL=C sort -u)
if [ "$3" = --update ]; then
    printf '%s\n' "$names" > "$list"
elif ! printf '%s\n' "$names" | diff -u "$list" -; then
    echo "The exported names have changed. If they were meant to:"
    echo "    cmake --build <build folder> --target update_exports"
    exit 1
fi
