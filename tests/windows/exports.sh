#!/usr/bin/env bash
# exports.sh OBJDUMP DLL LIST COMPILER: compares the exports of a DLL with the list of the Linux build, and its imports
# with the DLLs that every Windows has. COMPILER is CMake's name of it. The exports may differ in these:
#
#   std::size_t      is "unsigned long long" here and "unsigned long" there
#   va_list          is "char*" here and "__va_list_tag*" there
#   typeinfo name    is not exported here: the C++ library compares the names of types as texts
#   typeinfo         is not exported by clang, which makes one wherever it is used
#
# A constructor or destructor has two entries under one name on Windows; the list has each name once.
set -euo pipefail
export LC_ALL=C

without=
[[ $4 != Clang ]] || without='/^typeinfo for /d'

exported() {
    "$1" -p "$2" | awk '/Ordinal\/Name Pointer\] Table/ { inside = 1; next }
                        inside && /\[ *[0-9]+\]/ { print $NF }
                        inside && /^$/ { exit }' | c++filt | sort -u
}

expected() {
    sed -e '/^typeinfo name for /d' -e "$without" -e 's/__va_list_tag\*/char*/' \
        -e '/^kelBarrier::kelBarrier(/s/unsigned long)/unsigned long long)/' "$1" | sort -u
}

diff -u --label expected --label exported <(expected "$3") <(exported "$1" "$2")

# No DLL of the compiler or of APR: a program needs no file but this one.
foreign=$("$1" -p "$2" | sed -n 's/.*DLL Name: //p' |
    grep -viE '^(kernel32|msvcrt|advapi32|iphlpapi|rpcrt4|shell32|userenv|ws2_32|mswsock)\.dll$' || true)
[[ -z $foreign ]] || { echo "needs $foreign" >&2; exit 1; }
