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

# absent NAME...
absent() {
    for name; do
        [ ! -e "$name" ] || fail "$name is there: $(cat out)"
    done
}

# told LAST CODE ARGUMENT...: expects the code, and a last line that begins with LAST.
told() {
    text=$1
    shift
    expect "$@"
    tail -n 1 out | grep -q "^$text in " || fail "$* did not say \"$text\": $(cat out)"
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

told 'would be: 5 copied (0.3 MB), 4 made, 0 removed, 0 unchanged' 0 -n from to/new
absent to
told '5 copied (0.3 MB), 4 made, 0 removed, 0 unchanged' 0 from to/new
equal from to/new
grep -q '^copy a b/deep/er/three$' out || fail "no line for a file in a pipe"
told '0 copied (0.0 MB), 0 made, 0 removed, 5 unchanged' 0 from/ ./to/new/
rm -rf to
mkdir to

# Changes of every kind, then vanished entries with and without --delete.
expect 0 -q from to
[ ! -s out ] || fail "-q said something"
echo longer >>"from/a b/two"
chmod 640 from/back\\slash:colon
echo ONE >from/new
rm -f from/one
told '3 copied (0.0 MB), 0 made, 0 removed, 2 unchanged' 0 from to
[ -e to/one ] || fail "removed without --delete"
rm -rf 'from/a b/deep' from/new
mkdir from/new
echo in >from/new/in
echo file >'from/a b/deep'
expect 1 from to
[ -f to/new ] || fail "a file in the way was removed"
[ -d 'to/a b/deep' ] || fail "a directory in the way was removed"
touch to/.mirror-abcdef
expect 0 -n --delete from to
expect 0 -v --delete from to
equal from to
told '0 copied (0.0 MB), 0 made, 0 removed, 5 unchanged' 0 --delete from to

# A directory goes as a whole and counts once; what a link in it leads to stays.
mkdir -p to/gone/deep outside
echo stays >outside/file
ln -s ../../outside to/gone/link
echo x >to/gone/deep/file
told 'would be: 0 copied (0.0 MB), 0 made, 1 removed, 5 unchanged' 0 -n --delete from to
told '0 copied (0.0 MB), 0 made, 1 removed, 5 unchanged' 0 --delete from to
absent to/gone
rm outside/file || fail "what a link leads to was removed"
rmdir outside

# Sizes are whole: these two are alike in 32 bits.
mkdir wide narrow
truncate -s 4294967301 wide/file
truncate -s 5 narrow/file
touch -d 2001-01-01 wide/file narrow/file
told 'would be: 1 copied (4295.0 MB), 0 made, 0 removed, 0 unchanged' 0 -n wide narrow
rm -r wide narrow

# Links and pipes: left out, or followed, but never round and round.
ln -s 'a b/two' from/link
ln -s 'a b' from/linked
ln -s . from/round
ln -s nowhere from/dangling
mkfifo from/pipe
expect 3 from to
absent to/link to/pipe
expect 3 -L from to
cmp 'from/a b/two' to/link
diff -r 'from/a b' to/linked
absent to/round to/dangling
told '0 copied (0.0 MB), 0 made, 0 removed, 8 unchanged, 3 left out' 3 -L from to
rm from/link from/linked from/round from/dangling from/pipe
ln -s "$work/from/a b" outside
expect 0 from/new outside
rm 'from/a b/in' outside || fail "the target itself may be a link"

# A link below the target is never written through.
expect 0 --delete from to
rm -rf 'to/a b'
mkdir other
ln -s ../other 'to/a b'
expect 1 from to
rmdir other || fail "wrote through a link"
expect 0 --delete from to
equal from to

# Wrong calls.
expect 0 --help
for arguments in '' from 'from to more' '-x from to'; do
    # shellcheck disable=SC2086
    expect 2 $arguments
done
expect 2 '' to
for arguments in 'missing to' 'from/new/in to' 'from from/new/in' 'from from' 'from from/inside/deep'; do
    # shellcheck disable=SC2086
    expect 1 $arguments
done
expect 1 'from/a b' from
absent from/inside

# However a run ends, each file is the old or the new one, and the next run finishes the work. (For SIGKILL
# see the kill walk.)
mkdir large former
for number in 1 2 3 4 5 6 7 8; do
    head -c 4000000 /dev/urandom >"large/$number"
    cp -p large/1 "former/$number"
done
touch -d 2001-01-01 former/*
for run in INT:0.002 INT:0.005 INT:0.01 INT:0.02 TERM:0.002 TERM:0.005 TERM:0.01 TERM:0.02; do
    rm -rf target
    cp -rp former target
    "$mirror" -q large target &
    process=$!
    sleep "${run#*:}"
    kill -"${run%:*}" "$process" 2>said || true
    code=0
    wait "$process" 2>said || code=$?
    case $run:$code in
        *:0 | INT:*:130 | TERM:*:143) ;;
        *) fail "SIG$run gave $code" ;;
    esac
    for file in target/*; do
        cmp -s "$file" "large/${file#*/}" || cmp -s "$file" former/1 || fail "SIG$run half wrote $file"
    done
    [ "$(ls -A target)" = "$(ls large)" ] || fail "SIG$run left a temporary file: $(ls -A target)"
done
expect 0 --delete large target
equal large target
