# Sourced by the commands of this folder: where the project is, and one way to give up.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# die SENTENCE...: says what is wrong and what to do, and ends the command.
die() {
    printf '%s: %s\n' "script/$(basename "$0")" "$*" >&2
    exit 1
}

# say SENTENCE...: tells what comes next.
say() { printf '\n== %s\n' "$*"; }

# build PRESET [TARGET...]: configures and builds; quick when nothing has changed.
build() {
    local preset=$1
    shift
    if command -v ccache >/dev/null; then
        export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
    fi
    local log
    log=$(mktemp)
    if ! cmake --preset "$preset" >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        die "CMake could not configure preset '$preset'; the lines above say what it misses. script/bootstrap installs all that the project needs."
    fi
    rm -f "$log"
    cmake --build "build/$preset" -j "${MORVEL_JOBS:-$(nproc)}" ${1:+--target "$@"}
}
