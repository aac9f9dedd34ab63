# What the commands of this folder share. Sourced, never run:
#
#   root=$(cd "$(dirname "$(readlink -f "$0")")/.." && pwd -P)
#   source "$root/tools/lib.sh"

set -euo pipefail

# Everything that the commands make goes below this folder.
builds=${ZUKEL_BUILD:-$root/build}
[[ $builds == /* ]] || builds=$PWD/$builds
export builds ZUKEL_BUILD=$builds

build_packages=(cmake ninja-build g++ pkg-config libapr1-dev)
example_packages=(libleveldb-dev)
test_packages=("${example_packages[@]}" libgtest-dev libgmock-dev locales strace)
check_packages=(clang libclang-rt-dev clang-tidy clang-format libbenchmark-dev abigail-tools libxml2-utils lintian
    fakeroot)
document_packages=(doxygen)
package_packages=(dpkg-dev file "${document_packages[@]}")

say() {
    printf '%s\n' "$*"
}

die() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# Whether there is a terminal at which sudo can ask for a password.
terminal=
[[ ! -t 0 ]] || terminal=yes

# Runs a command as root, through sudo if necessary. Without a terminal sudo must not ask.
as_root() {
    if [[ $EUID -eq 0 ]]; then
        "$@"
    elif [[ -n $terminal ]]; then
        sudo "$@"
    else
        sudo -n "$@"
    fi
}

may_become_root() {
    [[ $EUID -eq 0 ]] && return
    command -v sudo >/dev/null || return 1
    [[ -n $terminal ]] || sudo -n true 2>/dev/null
}

# How long to wait for another apt, in seconds.
apt_patience=900

# apt ARGUMENT...: runs apt-get as root and prints only its warnings and errors. Waits while another apt holds a
# lock. Its own option waits for the locks of dpkg alone: apt 2.6 fails at once if those of the package lists or
# of the archives are taken, hence the loop.
apt() {
    local output end=$((SECONDS + apt_patience)) waiting=
    until output=$(as_root env LC_ALL=C DEBIAN_FRONTEND=noninteractive apt-get -qq \
        -o DPkg::Lock::Timeout="$apt_patience" "$@" 2>&1 >/dev/null </dev/null); do
        if [[ $output != *'Could not get lock'* || $SECONDS -ge $end ]]; then
            printf '%s\n' "$output"
            return 1
        fi
        [[ -n $waiting ]] || say "Another apt is at work: waiting for it" >&2
        waiting=yes
        sleep 1
    done
    printf '%s\n' "$output"
}

# Installs those of the named Debian packages that are missing; does nothing if none is.
need_packages() {
    command -v dpkg-query >/dev/null && command -v apt-get >/dev/null ||
        die "this is not a Debian system. Install what README.md names, then build by hand."
    local package state missing=() output reason
    for package in "$@"; do
        state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) || state=none
        [[ $state == installed ]] || missing+=("$package")
    done
    [[ ${#missing[@]} -gt 0 ]] || return 0
    may_become_root ||
        die "missing Debian packages, and no right to install them. As root: apt-get install ${missing[*]}"
    say "Installing missing packages: ${missing[*]}"
    # Stale or absent package lists are the common reason for a failed installation. When they
    # cannot be refreshed, the installation itself says whether that matters.
    output=$(apt update) || true
    output+=$'\n'$(apt -y --no-install-recommends install "${missing[@]}") || {
        reason=$(grep -m 1 -oE "(Temporary failure resolving|Could not resolve|Could not connect to|Unable to connect to) '?[^' ]+'?" \
            <<<"$output") &&
            die "there is no network to fetch packages from ($reason). With one: apt-get install ${missing[*]}"
        printf '%s\n' "$output" >&2
        die "the installation failed. By hand: apt-get install ${missing[*]}"
    }
}

# make_builds: makes the folder $builds.
make_builds() {
    mkdir -p "$builds" 2>/dev/null && [[ -w $builds ]] ||
        die "$builds cannot be written. Name a folder of your own: ZUKEL_BUILD=FOLDER $0"
}

# configure PRESET [OPTION...]: configures a preset of CMakePresets.json in the folder of its name below $builds,
# with ccache if it is installed.
configure() {
    local preset=$1 launcher=
    shift
    make_builds
    launcher=$(command -v ccache) || launcher=
    cmake -S "$root" -B "$builds/$preset" --preset "$preset" -DCMAKE_CXX_COMPILER_LAUNCHER="$launcher" \
        --log-level=WARNING "$@" >/dev/null
}

# build PRESET [TARGET...] [-- OPTION...]: builds the targets, or everything if none is named.
build() {
    local preset=$1
    shift
    cmake --build "$builds/$preset" ${1:+--target "$@"}
}

# run_ctest FOLDER [OPTION...]: runs the tests of a build folder.
run_ctest() {
    local folder=$builds/$1
    shift
    rm -f "$folder/tests.xml"
    ctest --test-dir "$folder" --parallel "$(nproc)" --output-on-failure --no-tests=error \
        --output-junit "$folder/tests.xml" "$@"
}

# skipped_tests FOLDER: prints the tests that its last run skipped, a line each, with the reason.
skipped_tests() {
    local results=$builds/$1/tests.xml
    [[ -f $results ]] || return 0
    awk '
        function plain(text) {
            gsub(/&lt;/, "<", text); gsub(/&gt;/, ">", text); gsub(/&quot;/, "\"", text); gsub(/&amp;/, "\\&", text)
            return text
        }
        /<testcase name="/ {
            split($0, parts, "\"")
            name = parts[2]
            reason = skipped = reading = ""
        }
        /<skipped/ { skipped = 1 }
        /^\[  SKIPPED \]|^Google Test trace:/ { reading = "" }
        reading { reason = reason (reason == "" ? "" : " ") $0 }
        /: Skipped$/ { reading = 1 }
        /SKIPPED: / { sub(/.*SKIPPED: /, ""); reason = reason (reason == "" ? "" : "; ") $0 }
        /<\/testcase>/ && skipped { print plain(name ": " (reason ~ /[^ ]/ ? reason : "no reason given")) }' "$results"
}

# Prints every header and source of the project, each name with a NUL behind it.
code_files() {
    find "$root" -mindepth 1 \( -path "$builds" -o -name build -o -name '.?*' \) -prune -o -type f \
        \( -name '*.h' -o -name '*.cpp' \) -print0 | sort -z
}
