#!/usr/bin/env bash
# What docs/behaviour.md says that this library does must be what it does. 77 says that a case cannot
# be tried here: all others hold.
#
#   page.sh PROGRAM PAGE       the program that runs the cases on zukel, and the page
set -euo pipefail
program=$1
page=$2
cases=$(dirname "$0")/../../benchmarks/behaviour/page.py

# Of the children that are forgotten, those which end before the last is started are collected by then.
as_compared() {
    sed 's/ [0-9]* zombies; / some zombies; /'
}

result=0
while read -r name title; do
    said=$(awk -v title="## $title" -F ' \\| |^\\| | \\|$' \
        '/^## / { here = $0 == title } here && $2 == "zukel" { print $3 }' "$page" | as_compared)
    seen=$(python3 -B "$cases" "$name" "$program" | as_compared)
    if [[ $seen == *'cannot be tried'* ]]; then
        echo "SKIPPED: $title: $seen"
        [[ $result != 0 ]] || result=77
    elif [[ $seen != "$said" ]]; then
        printf '%s\n  the page:  %s\n  the case:  %s\n' "$title" "$said" "$seen"
        result=1
    fi
done < <(python3 -B "$cases" --cases)
exit "$result"
