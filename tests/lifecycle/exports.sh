#!/bin/sh
# Compares the names that a built library exports with the list that stands beside this script.
#   exports.sh <nm or objdump> <library>            fails and shows what differs; objdump for a DLL
#   exports.sh <nm or objdump> <library> --update   writes the list anew
set -e
# The name alone: constructors and destructors have several symbols each, all of one name. It is
# c++filt that reads them, as each nm does it in another way.
case $2 in
    *.dll)
        list=$(dirname "$0")/exports_windows.txt
        names=$("$1" -p "$2" | awk '/Name Pointer\] Table/ { on = 1; next } !NF { on = 0 } on { print $NF }')
        ;;
    *)
        list=$(dirname "$0")/exports.txt
        names=$("$1" -D --defined-only "$2" | sed -e 's/^[0-9a-f]* . //' -e 's/@@.*//')
        ;;
esac
names=$(printf '%s\n' "$names" | c++filt --no-verbose | LC_ALL=C sort -u)
if [ "$3" = --update ]; then
    printf '%s\n' "$names" > "$list"
elif ! printf '%s\n' "$names" | diff -u "$list" -; then
    echo "The exported names have changed. If they were meant to:"
    echo "    cmake --build <build folder> --target update_exports"
    exit 1
fi
