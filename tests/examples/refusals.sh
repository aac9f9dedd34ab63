#!/bin/sh
# What the example programs say when something is in their way: refusals.sh FOLDER, where they are.
set -eu
PATH=$1:$PATH
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# expect CODE TEXT COMMAND...: its exit code, and a part of what it prints, in either stream.
expect() {
    wanted=$1 text=$2
    shift 2
    code=0
    printed=$("$@" 2>&1) || code=$?
    case $code:$printed in
        "$wanted:"*"$text"*) ;;
        *) echo "refusals.sh: $* gave $code instead of $wanted, and not '$text': $printed" >&2 && exit 1 ;;
    esac
}

into() {
    to=$1
    shift
    "$@" >"$to"
}

expect 1 'missing/1-true.txt cannot be written' runall -o missing true
expect 0 'goes to ./1-true.txt' runall true

mkdir lower lower/Upper
expect 1 'has capitals; paths are compared in lower case' wayto lower lower/Upper
expect 1 'no such directory' wayto lower missing
expect 0 '' wayto /usr /

expect 1 'cannot be written' into /dev/full machinereport
expect 1 'cannot be written' into /dev/full fileinfo .
expect 1 'the output' into /dev/full wayto /usr /

printf 'a\000b\n\000\nlast' >text
expect 0 '3 lines, 10 bytes' numberlines text numbered
printf '     1  a\000b\n     2  \000\n     3  last' | cmp - numbered
expect 1 'nothing is left' numberlines . half
[ ! -e half ] || { echo 'refusals.sh: numberlines leaves half a target' >&2 && exit 1; }
