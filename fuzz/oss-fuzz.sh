#!/usr/bin/env bash
# Builds the subjects as OSS-Fuzz has it: with $CXX and $CXXFLAGS ($CC has nothing to do), for the engine
# that $LIB_FUZZING_ENGINE names, into $OUT, with seeds and dictionaries beside the programs. The image
# there has the packages of `script/bootstrap fuzz`. The same by hand, with Clang's own engine:
#
#   CXX=clang++ CXXFLAGS='-O1 -g -fsanitize=address,fuzzer-no-link' \
#       LIB_FUZZING_ENGINE=-fsanitize=fuzzer OUT=/tmp/out fuzz/oss-fuzz.sh
set -euo pipefail
cd "$(dirname "$0")/.."
: "${CXX:?}" "${CXXFLAGS:?}" "${LIB_FUZZING_ENGINE:?}" "${OUT:?}"

# The dependencies are the distribution's packages, and so built with GCC's library of C++.
flags=${CXXFLAGS//-stdlib=libc++/}
# Builds for coverage or introspection have all that they need in $CXXFLAGS, and no sanitizer.
sanitizer=${SANITIZER:-address}
[[ $sanitizer =~ ^(address|undefined|memory|thread)$ ]] || sanitizer=
inherited=-Wl,--disable-new-dtags  # the programs' path serves what their libraries need as well
build=${WORK:-$PWD/build}/oss-fuzz
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_COMPILER="$CXX" \
    -DCMAKE_CXX_FLAGS="$flags" -DMORVEL_TESTS=OFF -DMORVEL_EXAMPLES=OFF -DMORVEL_INSTALL=OFF -DMORVEL_FUZZ=ON \
    -DMORVEL_FUZZING_ENGINE="$LIB_FUZZING_ENGINE" -DMORVEL_SANITIZE="$sanitizer" \
    -DCMAKE_BUILD_RPATH='$ORIGIN/lib' -DCMAKE_EXE_LINKER_FLAGS="$inherited" -DCMAKE_SHARED_LINKER_FLAGS="$inherited"
cmake --build "$build"

mkdir -p "$OUT/lib"
cp -L "$build"/bin/libmorvel.so.1 "$OUT/lib/"
# Where they run there is nothing but the C library.
ldd "$OUT/lib/libmorvel.so.1" | awk '$3 ~ /^\// && $1 !~ /^(libc|libm|libpthread|libdl|librt)\.so/ { print $3 }' |
    xargs -I{} cp -L {} "$OUT/lib/"
for seeds in fuzz/corpus/*; do
    subject=$(basename "$seeds")
    cp "$build/bin/fuzz_$subject" "$OUT/"
    rm -f "$OUT/fuzz_${subject}_seed_corpus.zip"
    python3 -m zipfile -c "$OUT/fuzz_${subject}_seed_corpus.zip" "$seeds"/*
    [ ! -e "fuzz/$subject.dict" ] || cp "fuzz/$subject.dict" "$OUT/fuzz_$subject.dict"
done
