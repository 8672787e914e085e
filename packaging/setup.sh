# shellcheck shell=bash
# What ./run, ./test and benchmarks/run share: installing missing packages,
# configuring a preset and building it. Source it from a bash script that runs
# with `set -euo pipefail`. Everything said here goes to standard error, so the
# standard output of the program that is started afterwards stays its own.

quillorn_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)

say() {
    printf '%s\n' "$*" >&2
}

die() {
    say "$*"
    exit 1
}

# list_packages SECTION...: the packages of these sections, one a line.
list_packages() {
    local section package rest
    while read -r section package rest; do
        [[ -z $section || $section == '#'* ]] && continue
        [[ -z $package || $package == '#'* || (-n $rest && $rest != '#'*) ]] &&
            die "packaging/packages.txt: cannot read the line '$section $package $rest'"
        [[ " $* " == *" $section "* ]] && printf '%s\n' "$package"
    done <"$quillorn_root/packaging/packages.txt"
    return 0
}

# install_packages SECTION...: installs what is missing of these sections. Says
# and asks nothing when nothing is missing, which one dpkg-query call tells.
install_packages() {
    local wanted installed package
    local -a packages missing=() as_root=()
    wanted=$(list_packages "$@")
    mapfile -t packages <<<"$wanted"

    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        # Not a Debian relative: names differ there, so the build itself has to
        # say what it misses.
        say "Packages are not installed here, for want of dpkg and apt-get. Needed are, by their Debian names:"
        say "  ${packages[*]}"
        return 0
    fi

    # It fails whenever a package is unknown to dpkg; the list is what counts.
    installed=$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' "${packages[@]}" 2>/dev/null || true)
    for package in "${packages[@]}"; do
        [[ $'\n'$installed$'\n' == *$'\n'"installed $package"$'\n'* ]] || missing+=("$package")
    done
    ((${#missing[@]} == 0)) && return 0

    if ((EUID != 0)); then
        if ! command -v sudo >/dev/null; then
            die "These packages are missing, and installing them needs root or sudo. As root, run:
  apt-get update && apt-get install --no-install-recommends ${missing[*]}"
        fi
        as_root=(sudo)
    fi
    say "Installing: ${missing[*]}"
    as_root+=(env DEBIAN_FRONTEND=noninteractive)
    "${as_root[@]}" apt-get update -qq </dev/null >&2 ||
        say "apt-get update failed; going on with the package lists that are there."
    "${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" </dev/null >&2 ||
        die "Installing failed. Missing are: ${missing[*]}"
}

# configure_preset PRESET TESTS: configures build/PRESET when that has not been
# done, when CMakePresets.json has changed since, or when the tests are wanted
# and were left out. With TESTS=keep, a first configuration leaves the tests out
# (their packages need not be there) and a later one leaves them as they are, so
# that ./run and ./test share one build folder and never undo each other's.
configure_preset() {
    local preset=$1 tests=$2
    local folder=$quillorn_root/build/$preset
    local cache=$folder/CMakeCache.txt
    local -a arguments=()
    local needed=no

    if [[ -f $cache ]] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$quillorn_root" "$cache"; then
        arguments+=(--fresh) # the repository was moved or copied
        needed=yes
    fi
    if [[ ! -f $folder/build.ninja ]] || ! cmp -s "$quillorn_root/CMakePresets.json" "$folder/configured-presets.json"; then
        needed=yes
    fi
    if [[ $tests == ON ]]; then
        if [[ -f $cache ]] && grep -qx 'QUILLORN_TESTS:BOOL=OFF' "$cache"; then
            needed=yes
        fi
        arguments+=(-DQUILLORN_TESTS=ON)
    elif [[ ! -f $cache || ${arguments[*]-} == *--fresh* ]]; then
        arguments+=(-DQUILLORN_TESTS=OFF)
    fi
    [[ $needed == no ]] && return 0

    (cd "$quillorn_root" && cmake --preset "$preset" "${arguments[@]}" </dev/null >&2) || return 1
    cp "$quillorn_root/CMakePresets.json" "$folder/configured-presets.json"
}

# build_preset PRESET TESTS [TARGET...]: configures and builds, and is silent
# when there is nothing to do. A second caller waits for the first.
build_preset() {
    local preset=$1 tests=$2
    shift 2
    # What one checkout compiled serves every other one.
    export CCACHE_BASEDIR=$quillorn_root CCACHE_NOHASHDIR=1
    local folder=$quillorn_root/build/$preset
    mkdir -p "$folder"
    (
        flock 9
        configure_preset "$preset" "$tests" || exit 1
        if [[ $(ninja -C "$folder" -n "$@" 2>&1) != *'no work to do.'* ]]; then
            ninja -C "$folder" "$@" </dev/null >&2 || exit 1
        fi
    ) 9>"$quillorn_root/build/.lock"
}
