#!/bin/sh
# Builds and runs a program outside this tree against the support library: once with the installed
# library (find_package), once with its folder (add_subdirectory).
#
#     outside_program.sh <support folder> <program folder> [cmake arguments...]
set -eu

support=$1
program=$2
shift 2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Fontconfig's own memory, kept for the length of the process (see FontLeak.cpp).
echo leak:libfontconfig.so >"$work/suppressions"
export LSAN_OPTIONS="suppressions=$work/suppressions:print_suppressions=0"

# A compiler cache that this user cannot write to would stop the build.
CCACHE_DIR=${CCACHE_DIR:-${HOME:-/nonexistent}/.cache/ccache}
mkdir -p "$CCACHE_DIR" 2>/dev/null && [ -w "$CCACHE_DIR" ] || CCACHE_DIR=$work/ccache
export CCACHE_DIR

# The program must find nothing of this tree by its path.
cp -r "$program" "$work/program"

run() {
    mkdir "$2"
    "$1/outside" "$2"
    ls "$2"/*.log >/dev/null
}

step() {
    "$@" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
}

step cmake -S "$support" -B "$work/library" -G Ninja -DCMAKE_INSTALL_PREFIX="$work/prefix" "$@"
step cmake --build "$work/library" --parallel 2
step cmake --install "$work/library"
mv "$work/library" "$work/library.gone"
step cmake -S "$work/program" -B "$work/found" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" "$@"
step cmake --build "$work/found" --parallel 2
run "$work/found" "$work/found-data"

step cmake -S "$work/program" -B "$work/added" -G Ninja -DSUPPORT_FOLDER="$support" "$@"
step cmake --build "$work/added" --parallel 2
run "$work/added" "$work/added-data"
echo "find_package and add_subdirectory both work"
