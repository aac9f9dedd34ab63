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

facts() {
    stat -c '%a %Y' "$1"
}

# whole FILE ORIGINAL
whole() {
    [[ -f $1 ]] && cmp -s "$1" "$2" && [[ $(facts "$1") == "$(facts "$2")" ]]
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

# walk SITUATION PREPARE CHECK COMMAND...: the check gets "done" after the command has run to its end.
walk() {
    situation=$1
    local prepare=$2 check=$3 name number code count=0
    shift 3
    call=
    "$prepare"
    traced "$@" || fail "it fails: $(cat "$work/said")"
    "$check" done
    calls "$work/trace" >"$work/calls"
    while read -r name number; do
        call="$name $number"
        "$prepare"
        code=0
        traced -e trace="$name" -e inject="$name:signal=KILL:when=$number" "$@" 2>/dev/null || code=$?
        [[ $code -eq 137 ]] || fail "it was to be killed, and gave $code"
        "$check" killed
        count=$((count + 1))
    done <"$work/calls"
    [[ $count -ge 2 ]] || fail "there are only $count calls"
    echo "$operation, $situation: killed before each of $count calls"
}

# originals NEW OLD: two files of these sizes.
originals() {
    head -c "$1" /dev/urandom >"$work/new"
    head -c "$2" /dev/urandom >"$work/old"
    chmod 640 "$work/new"
    touch -d '2001-02-03 04:05:06' "$work/new"
    touch -d '1999-01-01' "$work/old"
}
originals 600000 5000  # more than two blocks of those in which files are copied

prepare_new() {
    rm -rf "$from" "$to"
    mkdir "$from" "$to"
    cp -p "$work/new" "$from/file"
}

prepare_existing() {
    prepare_new
    cp -p "$work/old" "$to/file"
}

# No name but those given in a folder.
only() {
    local folder=$1 entry
    shift
    for entry in "$folder"/* "$folder"/.[!.]*; do
        [[ -e $entry ]] || continue
        # shellcheck disable=SC2053
        [[ ${entry##*/} == file || ${entry##*/} == ${1-file} ]] || fail "$entry has come up"
    done
}

as_it_was() {
    if [[ $situation == *existing* ]]; then
        whole "$to/file" "$work/old"
    else
        [[ ! -e $to/file ]]
    fi
}

check_copy() {
    whole "$from/file" "$work/new" || fail "the source is not whole"
    only "$from"
    only "$to"
    if [[ $1 == done ]]; then
        cmp -s "$to/file" "$work/new" || fail "the target is not complete"
    elif ! as_it_was; then
        [[ -f $to/file ]] || fail "the target is missing"
        [[ $situation != *page* ]] || cmp -s "$to/file" "$work/old" || cmp -s "$to/file" "$work/new" ||
            fail "the target of one page is neither old nor new"
        cmp -s "$to/file" "$work/old" || cmp -s -n "$(stat -c %s "$to/file")" "$to/file" "$work/new" ||
            fail "the target is no beginning of the source"
    fi
}

check_rename() {
    local source=gone target=broken
    [[ ! -e $from/file ]] || source=broken
    ! whole "$from/file" "$work/new" || source=whole
    ! as_it_was || target=former
    ! whole "$to/file" "$work/new" || target=whole
    case $situation:$1:$source:$target in
        *:gone:whole | *:killed:whole:former | *volumes*:killed:whole:whole) ;;
        *) fail "source $source, target $target" ;;
    esac
    if [[ $situation == *volumes* && $1 == killed ]]; then
        only "$from" '.zukel-*'
        only "$to" '.zukel-*'
    else
        only "$from"
        only "$to"
    fi
}

check_replace() {
    whole "$from/file" "$work/new" || fail "the source is not whole"
    only "$from"
    if [[ $1 == done ]]; then
        only "$to"
    else
        only "$to" '.zukel-*'
    fi
    if [[ $1 == killed ]] && as_it_was; then
        return
    fi
    cmp -s "$to/file" "$work/new" || fail "the target is neither old nor new"
    [[ $situation != *existing* || $(stat -c %a "$to/file") == "$(stat -c %a "$work/old")" ]] ||
        fail "the permissions are others"
}

prepare_mirror() {
    rm -rf "$from" "$to"
    cp -a "$work/trees/from" "$from"
    cp -a "$work/trees/to" "$to"
}

check_mirror() {
    local name
    diff -r "$work/trees/from" "$from" >"$work/said" || fail "the source has changed"
    for name in changed same "more/deep file"; do
        whole "$to/$name" "$from/$name" && continue
        [[ $1 == killed ]] || fail "$name is not whole"
        [[ ! -e $to/$name && ! -e $work/trees/to/$name ]] || whole "$to/$name" "$work/trees/to/$name" ||
            fail "$name is neither old nor new"
    done
    [[ -z $(cd "$to" && find . -mindepth 1 ! -name 'changed' ! -name same ! -name more ! -name 'deep file' \
        ! -name vanished ! -name '.mirror-??????') ]] || fail "a name has come up"
    "$program" -q --delete "$from" "$to" || fail "the next run fails"
    diff -r "$from" "$to" >"$work/said" && whole "$to/more/deep file" "$from/more/deep file" &&
        whole "$to/changed" "$from/changed" || fail "the next run does not make them equal"
}

from=$work/from
to=$work/to
case $operation in
    Copy | NativeCopy) check=check_copy ;;
    Rename) check=check_rename ;;
    Replace) check=check_replace ;;
    mirror)
        mkdir -p "$work"/trees/{from/more,to}
        cp -p "$work/new" "$work/trees/from/changed"
        cp -p "$work/old" "$work/trees/to/changed"
        cp -p "$work/old" "$work/trees/from/same"
        cp -p "$work/old" "$work/trees/to/same"
        cp -p "$work/new" "$work/trees/from/more/deep file"
        cp -p "$work/old" "$work/trees/to/vanished"
        walk "two trees" prepare_mirror check_mirror "$program" -q --delete "$from" "$to"
        exit
        ;;
esac
if [[ $check == check_copy ]]; then
    originals 4000 3000
    walk "existing target of a page" prepare_existing "$check" "$program" "$operation" "$from/file" "$to/file"
    originals 600000 5000
fi
for target in new existing; do
    walk "$target target" "prepare_$target" "$check" "$program" "$operation" "$from/file" "$to/file"
done
[[ $operation != Replace ]] || exit 0
if [[ -z $other || $(stat -c %d "$other") == "$(stat -c %d "$work")" ]]; then
    echo "Across volumes: nothing tried, /dev/shm is no other one"
    exit
fi
to=$other/to
for target in new existing; do
    walk "$target target, two volumes" "prepare_$target" "$check" \
        "$program" "$operation" "$from/file" "$to/file"
done
