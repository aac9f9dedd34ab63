#!/usr/bin/env bash
# Kills a process before each of its system calls in turn, from the first that names one of its files to
# the last, and looks at the files afterwards. Only calls for memory and random numbers are passed over:
# no file changes by them, and how many there are is not the same each time (a temporary name takes a
# second random number one time in twenty).
#
#   walk.sh OPERATION PROGRAM        Copy, NativeCopy, Rename and Replace by the program that runs one of them,
#                                    mirror by the example of that name
#
# What holds after a kill at any call:
#
#   Copy, NativeCopy   The source is whole. The target is missing only if it was before; it has its former
#                      contents or as many of the first bytes of the source as were written: these two
#                      write into the target itself. A target of at most a page has its former
#                      contents or all of the source. No other name has come up.
#   Rename             On one volume: either the source is whole and the target is as it was, or the
#                      source is gone and the target is whole. No other name has come up.
#                      Across two: the same, or both are whole. The target never has a part of anything,
#                      and is missing only if it was before. What is new beside either is called .zukel-*.
#   Replace            The contents of the source are put into the target, which has its former contents or
#                      all of the new ones, and its former permissions with either; it is missing only if it
#                      was before. What is new beside it is called .zukel-*.
#   mirror             The source is whole. Each file of the target is as it was or whole, and is missing
#                      only if it was before; what is new beside them is called .mirror-*. The next run
#                      makes the two equal.
#
# "Whole" is contents, permissions and modification time.
set -euo pipefail
operation=$1
program=$2

skip() {
    echo "SKIPPED: $*"
    exit 77
}

work=$(mktemp -d)
other=$(mktemp -d -p /dev/shm 2>/dev/null) || other=
trap 'rm -rf "$work" ${other:+"$other"}' EXIT
# Nothing but the operation: no leak check, which cannot be traced, and no counts of coverage.
export ASAN_OPTIONS=detect_leaks=0 GCOV_PREFIX=$work/counts LC_ALL=C

# traced [OPTION...] COMMAND...: with the trace in a file, and what is said in another. That the shell
# tells of the kill is of no use: call it with 2>/dev/null.
traced() {
    strace -qq -f -o "$work/trace" "$@" >"$work/said" 2>&1
}

command -v strace >/dev/null || skip "strace is not installed"
traced -e inject=exit_group:signal=KILL true 2>/dev/null || true
grep -q 'killed by SIGKILL' "$work/trace" || skip "nothing can be traced here: $(head -n 1 "$work/said")"

fail() {
    echo "walk.sh: $operation, $situation, killed before ${call:-nothing}: $*" >&2
    ls -la "$from" "$to" >&2 || true
    exit 1
}

# state FILE: missing; or whose contents it has, or a first part of the new ones, with mode and time.
state() {
    local size contents=broken
    size=$(stat -c %s "$1" 2>/dev/null) || {
        echo missing
        return
    }
    ! cmp -s -n "$size" "$1" "$work/new" || contents=part
    ! cmp -s "$1" "$work/new" || contents=new
    ! cmp -s "$1" "$work/old" || contents=old
    echo "$contents $(stat -c '%a %Y' "$1")"
}

# calls FILE: the name of each call in the trace, and which of this name it is, as far as it matters.
calls() {
    awk -v work="$work" -v place="${other:-$work}" '
        { sub(/^[0-9]+ +/, ""); name = $0; sub(/\(.*/, "", name) }
        name !~ /^[a-z_0-9]+$/ { next }
        /\.gcda/ { exit }
        { ++seen[name] }
        (index($0, work "/") || index($0, place "/")) && name != "execve" { started = 1 }
        started && name !~ /^(getrandom|brk|mmap|munmap|mprotect)$/ { print name, seen[name] }' "$1"
}

# walk SITUATION COMMAND...: prepare and check are those of the operation.
walk() {
    local name number code count=0
    situation=$1
    shift
    call=
    prepare
    traced "$@" || fail "it fails: $(cat "$work/said")"
    check ended
    calls "$work/trace" >"$work/calls"
    while read -r name number; do
        call="$name $number"
        prepare
        code=0
        traced -e trace="$name" -e inject="$name:signal=KILL:when=$number" "$@" 2>/dev/null || code=$?
        [[ $code -eq 137 ]] || fail "it was to be killed, and gave $code"
        check killed
        count=$((count + 1))
    done <"$work/calls"
    [[ $count -ge 2 ]] || fail "there are only $count calls"
    echo "$operation, $situation: killed before each of $count calls"
}

# originals NEW OLD: two files of these sizes, and the states of both.
originals() {
    head -c "$1" /dev/urandom >"$work/new"
    head -c "$2" /dev/urandom >"$work/old"
    chmod 640 "$work/new"
    chmod 604 "$work/old"
    touch -d '2001-02-03 04:05:06' "$work/new"
    touch -d '1999-01-01' "$work/old"
    new=$(state "$work/new")
    old=$(state "$work/old")
}

prepare() {
    rm -rf "$from" "$to"
    mkdir "$from" "$to"
    cp -p "$work/new" "$from/file"
    [[ $situation != *existing* ]] || cp -p "$work/old" "$to/file"
    [[ $operation == mirror ]] || return 0
    mkdir "$from/more"
    cp -p "$work/new" "$from/more/deep"
    cp -p "$work/old" "$from/same"
    cp -p "$work/old" "$to/same"
    cp -p "$work/old" "$to/vanished"
}

# states NAME: of the source and of the target.
states() {
    echo "$(state "$from/$1") > $(state "$to/$1")"
}

# check ended|killed
check() {
    local found allowed former=missing mode='' temporary=file names
    if [[ $situation == *existing* ]]; then
        former=$old
        mode=604
    fi
    found=$(states file)
    case $operation:$1:$situation in
        *Copy:ended:*) allowed="$new > new*" ;;
        *Copy:killed:*page*) allowed="$new > @($former|old*|new*)" ;;
        *Copy:killed:*) allowed="$new > @($former|old*|new*|part*)" ;;
        Rename:ended:*) allowed="missing > $new" ;;
        Rename:killed:*volumes*)
            allowed="@($new > $former|$new > $new|missing > $new)"
            temporary='.zukel-*'
            ;;
        Rename:killed:*) allowed="@($new > $former|missing > $new)" ;;
        Replace:ended:*) allowed="$new > new $mode*" ;;
        Replace:killed:*)
            allowed="$new > @($former|new $mode*)"
            temporary='.zukel-*'
            ;;
        mirror:ended:*) allowed="$new > $new, $new > $new" ;;
        mirror:killed:*)
            allowed="$new > @($old|$new), $new > @(missing|$new)"
            temporary='.mirror-*'
            ;;
    esac
    [[ $operation != mirror ]] || found+=", $(states more/deep)"
    # shellcheck disable=SC2053
    [[ $found == $allowed ]] || fail "source > target is \"$found\", and not \"$allowed\""
    names=$(find "$from" "$to" -mindepth 1 ! -name file ! -name "$temporary" ! -path "$from/more" \
        ! -path "$to/more" ! -name deep ! -name same ! -path "$to/vanished")
    [[ -z $names ]] || fail "$names has come up"
    [[ $operation == mirror ]] || return 0
    [[ $(states same) == "$old > $old" ]] || fail "what was the same is \"$(states same)\""
    "$program" -q --delete "$from" "$to" || fail "the next run fails"
    diff -r "$from" "$to" >"$work/said" || fail "the next run leaves: $(cat "$work/said")"
    found="$(states file), $(states more/deep)"
    [[ $found == "$new > $new, $new > $new" ]] || fail "after the next run it is \"$found\""
}

from=$work/from
to=$work/to
originals 600000 5000  # more than two blocks of those in which files are copied
if [[ $operation == mirror ]]; then
    walk "two existing trees" "$program" -q --delete "$from" "$to"
    exit
fi
for target in new existing; do
    walk "$target target" "$program" "$operation" "$from/file" "$to/file"
done
if [[ $operation == *Copy ]]; then
    originals 4000 3000
    walk "existing target of a page" "$program" "$operation" "$from/file" "$to/file"
    originals 600000 5000
fi
[[ $operation != Replace ]] || exit 0
if [[ -z $other || $(stat -c %d "$other") == "$(stat -c %d "$work")" ]]; then
    echo "Across volumes: nothing tried, /dev/shm is no other one"
    exit
fi
to=$other/to
for target in new existing; do
    walk "$target target, two volumes" "$program" "$operation" "$from/file" "$to/file"
done
