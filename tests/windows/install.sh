#!/usr/bin/env bash
# install.sh CMAKE BUILD COMPILER SOURCE [EMULATOR]: installs the build, moves it, and builds and runs a
# program against what is there, with the flags that the pkg-config module gives. COMPILER is one word with its
# options, none of which has a blank.
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$1" --install "$2" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/place"

[[ -f $work/place/bin/zukel.dll && -f $work/place/lib/libzukel.dll.a ]] ||
    { find "$work/place" >&2; exit 1; }
executables=$(find "$work/place" -name '*.exe')
[[ -z $executables ]] || { echo "programs are installed: $executables" >&2; exit 1; }

module=$(dirname "$(find "$work/place" -name zukel.pc)")
read -ra flags < <(PKG_CONFIG_LIBDIR=$module pkg-config --cflags --libs zukel)
# With the C++ library linked into the program as well. The linker takes no import library by its short
# name then.
read -ra compiler <<<"$3"
"${compiler[@]}" -std=c++17 -static "$4" -o "$work/place/bin/outside.exe" "${flags[@]/#-lzukel/-l:libzukel.dll.a}"
cd "$work"
printed=$("${@:5}" "$work/place/bin/outside.exe" | tr -d '\r')
[[ $printed == "read: a first line"$'\n'"read: and a second one" ]] || { echo "the program printed $printed" >&2; exit 1; }
