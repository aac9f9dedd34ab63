#!/bin/sh
# The example program mirror on real trees: mirror.sh PROGRAM
set -eu
mirror=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

fail() {
    echo "mirror.sh: $*" >&2
    exit 1
}

# expect CODE ARGUMENTS... runs the program; what it prints is in out.
expect() {
    wanted=$1
    shift
    code=0
    "$mirror" "$@" >out 2>&1 || code=$?
    [ "$code" -eq "$wanted" ] || fail "$* gave $code instead of $wanted: $(cat out)"
}

facts() {
    (cd "$1" && find . -type f -printf '%p %s %m %T@\n' -o -type d -printf '%p\n' | sort)
}

equal() {
    diff -r "$1" "$2" || fail "$1 and $2 differ"
    [ "$(facts "$1")" = "$(facts "$2")" ] || fail "$1 and $2 differ in times or permissions"
}

last() {
    tail -n 1 out | grep -q "^$1 in " || fail "not \"$1\": $(cat out)"
}

mkdir -p 'from/a b/deep/er' from/empty
echo one >from/one
echo 'two two' >"from/a b/two"
head -c 300000 /dev/urandom >'from/a b/deep/er/three'
: >"from/$(printf 'new\nline \377')"
: >from/back\\slash:colon
chmod 444 from/one
chmod 700 'from/a b'
touch -d '2001-02-03 04:05:06.789' 'from/a b/two'

expect 0 -n from to/new
[ ! -e to ] || fail "a dry run made something"
last 'would be: 5 copied (0.3 MB), 4 made, 0 removed, 0 unchanged'
expect 0 from to/new
equal from to/new
last '5 copied (0.3 MB), 4 made, 0 removed, 0 unchanged'
grep -q '^copy a b/deep/er/three$' out || fail "no line for a file in a pipe"
expect 0 from/ ./to/new/
last '0 copied (0.0 MB), 0 made, 0 removed, 5 unchanged'
rm -rf to
mkdir to

# Changes of every kind, then vanished entries with and without --delete.
expect 0 -q from to
[ ! -s out ] || fail "-q said something"
echo longer >>"from/a b/two"
chmod 640 from/back\\slash:colon
echo ONE >from/new
rm -f from/one
expect 0 from to
[ -e to/one ] || fail "removed without --delete"
last '3 copied (0.0 MB), 0 made, 0 removed, 2 unchanged'
rm -rf 'from/a b/deep' from/new
mkdir from/new
echo in >from/new/in
echo file >'from/a b/deep'
expect 1 from to
[ -f to/new ] && [ -d 'to/a b/deep' ] || fail "something in the way was removed"
touch to/.mirror-abcdef
expect 0 -n --delete from to
expect 0 -v --delete from to
equal from to
expect 0 --delete from to
last '0 copied (0.0 MB), 0 made, 0 removed, 5 unchanged'

# A directory goes as a whole and counts once; what a link in it leads to stays.
mkdir -p to/gone/deep outside
echo stays >outside/file
ln -s ../../outside to/gone/link
echo x >to/gone/deep/file
expect 0 -n --delete from to
last 'would be: 0 copied (0.0 MB), 0 made, 1 removed, 5 unchanged'
expect 0 --delete from to
last '0 copied (0.0 MB), 0 made, 1 removed, 5 unchanged'
[ ! -e to/gone ] && [ -e outside/file ] || fail "the wrong things were removed"
rm -r outside

# Sizes are whole: these two are alike in 32 bits.
mkdir wide narrow
truncate -s 4294967301 wide/file
truncate -s 5 narrow/file
touch -d 2001-01-01 wide/file narrow/file
expect 0 -n wide narrow
last 'would be: 1 copied (4295.0 MB), 0 made, 0 removed, 0 unchanged'
rm -r wide narrow

# Links and pipes: left out, or followed, but never round and round.
ln -s 'a b/two' from/link
ln -s 'a b' from/linked
ln -s . from/round
ln -s nowhere from/dangling
mkfifo from/pipe
expect 3 from to
[ ! -e to/link ] && [ ! -e to/pipe ] || fail "a link or a pipe was copied"
expect 3 -L from to
cmp 'from/a b/two' to/link
diff -r 'from/a b' to/linked
[ ! -e to/round ] && [ ! -e to/dangling ] || fail "went round"
expect 3 -L from to
last '0 copied (0.0 MB), 0 made, 0 removed, 8 unchanged, 3 left out'
rm from/link from/linked from/round from/dangling from/pipe
ln -s "$work/from/a b" outside
expect 0 from/new outside
[ -e 'from/a b/in' ] || fail "the target itself may be a link"
rm -f 'from/a b/in' outside

# A link below the target is never written through.
expect 0 --delete from to
rm -rf 'to/a b'
mkdir other
ln -s ../other 'to/a b'
expect 1 from to
[ -z "$(ls other)" ] || fail "wrote through a link"
expect 0 --delete from to
equal from to

# Wrong calls.
expect 2
expect 2 from
expect 2 from to more
expect 2 -x from to
expect 2 '' to
expect 0 --help
expect 1 missing to
expect 1 from/new/in to
expect 1 from from/new/in
expect 1 from from
expect 1 from from/inside/deep
expect 1 'from/a b' from
[ ! -e from/inside ] || fail "made a target inside the source"

# However a run ends, each file is the old or the new one, and the next run finishes the work.
mkdir large target
for number in 1 2 3 4 5 6 7 8; do
    head -c 4000000 /dev/urandom >"large/$number"
done
cp -p large/1 old
for signal in INT TERM KILL; do
    for delay in 0.002 0.005 0.01 0.02; do
        for number in 1 2 3 4 5 6 7 8; do
            cp old "target/$number"
        done
        touch -d 2001-01-01 target/*
        "$mirror" -q large target &
        process=$!
        sleep "$delay"
        kill -"$signal" "$process" 2>kill-said || true
        code=0
        wait "$process" 2>wait-said || code=$?
        case $signal:$code in
            *:0 | INT:130 | TERM:143 | KILL:137) ;;
            *) fail "SIG$signal gave $code" ;;
        esac
        for number in 1 2 3 4 5 6 7 8; do
            cmp -s "large/$number" "target/$number" || cmp -s old "target/$number" ||
                fail "half-written after SIG$signal"
        done
        [ "$signal" = KILL ] || [ -z "$(find target -name '.mirror-*')" ] ||
            fail "SIG$signal left a temporary file"
    done
done
expect 0 --delete large target
equal large target
