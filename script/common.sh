# shellcheck shell=bash
# Sourced by the project's commands: where it is, what the command is called, and one way to give up.
set -euo pipefail
this=$(cd "$(dirname "$0")" && pwd)/$(basename "$0")
cd "$(dirname "${BASH_SOURCE[0]}")/.."
this=${this#"$PWD"/}

# die SENTENCE...: says what is wrong and what to do, and ends the command.
die() {
    printf '%s: %s\n' "$this" "$*" >&2
    exit 1
}

# say SENTENCE...: tells what comes next.
say() { printf '\n== %s\n' "$*"; }

# usage: what stands at the top of the command's file.
usage() { sed -n '2,/^[^#]/s/^# //p' "$this"; }

# refuse WORD [SENTENCE...]: ends the command at a word that it does not know, and shows those it does.
refuse() {
    usage >&2
    die "there is no '$1'.${2:+ ${*:2}}"
}

# files NAME...: the project's files of these names, with or without git.
files() {
    local names=()
    for name in "$@"; do names+=(-o -name "$name"); done
    find . \( -path ./build -o -path ./.git \) -prune -o -type f \( "${names[@]:1}" \) -printf '%P\n' | LC_ALL=C sort
}

# test_option OPTION...: takes the first one, if it is of those that every command with tests has.
# `taken` is how many words that were, `chosen` what ctest is to be told.
chosen=()
# shellcheck disable=SC2034
test_option() {
    taken=1
    case $1 in
        --long) export MORVEL_LONG_TESTS=1 ;;
        -R | -E | -L | -LE)
            [ $# -gt 1 ] || die "$1 wants a pattern."
            chosen+=("$1" "$2")
            taken=2
            ;;
        -V) chosen+=("$1") ;;
        --)
            chosen+=("${@:2}")
            taken=$#
            ;;
        -h | --help)
            usage
            exit 0
            ;;
        *) refuse "$1" ;;
    esac
}

# warnings: of a log, the lines in which a compiler warns, and what CMake warns of, whole.
warnings() { awk '/^CMake.*Warning/ { on = 1 } on && /^[^C ]/ { on = 0 } on || tolower($0) ~ /warning: /'; }

# build PRESET [TARGET...]: configures and builds; quick when nothing has changed. With
# MORVEL_TOLERATE_WARNINGS the compiler's warnings are no errors, as where it is newer than the code.
build() {
    local preset=$1
    shift
    if command -v ccache >/dev/null; then
        export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
    fi
    local log
    log=$(mktemp)
    say "Building preset $preset"
    if ! cmake --preset "$preset" ${MORVEL_TOLERATE_WARNINGS:+--compile-no-warning-as-error} >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        die "CMake could not configure preset '$preset'; the lines above say what it misses. script/bootstrap installs all that the project needs."
    fi
    warnings <"$log" >&2
    rm -f "$log"
    cmake --build "build/$preset" -j "${MORVEL_JOBS:-$(nproc)}" ${1:+--target "$@"}
}
