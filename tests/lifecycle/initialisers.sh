#!/bin/sh
# Only the object file of lifecycle.cpp may have code that runs at load or at unload.
#   initialisers.sh <objdump> <file that lists the object files, one a line>
set -e
# Such code is reached through these sections, whatever the compiler calls it. Priorities up to 100
# belong to the compiler itself: the sanitizers have theirs there.
found=$(while read -r object || [ -n "$object" ]; do
    if "$1" -h "$object" | grep -E '[.](init_array|fini_array|ctors|dtors)' |
        grep -qvE '_array[.]0*([0-9]{1,2}|100) '; then
        basename "$object"
    fi
done < "$2")
if [ "$found" != lifecycle.cpp.o ]; then
    echo "Object files with initialisers, of which lifecycle.cpp.o should be the one and only:"
    echo "$found"
    echo "Look for objects at namespace scope, static members, and <iostream>."
    exit 1
fi
