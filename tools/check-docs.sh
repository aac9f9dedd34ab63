# The steps of tools/check that hold the documents and the comments of the public headers to the library:
# what is shown there compiles, runs and prints what stands beside it. Sourced.

# What a short example may use without saying so.
example_headers=(algorithm condition_variable cstdarg cstdio future mutex thread)

# write_example HEADER TARGET: the @code blocks of a header's comments as one program. A block without a
# main is the body of one.
write_example() {
    printf '#include <%s>\n' "${example_headers[@]}"
    printf '#include "zukel.h"\n'
    awk '
        /^ *\/\/\/ @code/ { inside = 1; block = ""; next }
        /^ *\/\/\/ @endcode/ {
            inside = 0
            print block ~ /int main\(/ ? block : "int main() {\n" block "return 0;\n}"
        }
        inside { sub(/^ *\/\/\/ ?/, ""); block = block $0 "\n" }' "$1"
}

# try_example NAME: compiles the program NAME.cpp in the current folder and runs it where the files are
# that the examples speak of. Its lines are those of its comments `// prints: LINE`, if it has any.
try_example() {
    local name=$1
    g++ -std=c++17 "${warnings[@]}" -I"$root/include" "$name.cpp" -o "$name" -pthread \
        -L"$root/build/test/lib" -lzukel -Wl,-rpath,"$root/build/test/lib"
    mkdir -p "$name.files/notes" "$name.files/plugins"
    printf 'milk\nbread\n' >"$name.files/notes/today.txt"
    printf 'Eve\nAdam\nEve\n' >"$name.files/names.txt"
    cp answer.dll "$name.files/plugins/"
    (cd "$name.files" && timeout 20 "../$name" >../"$name.printed") ||
        die "the example in $name ends with $?"
    sed -n 's/.*\/\/ prints: //p' "$name.cpp" >"$name.expected"
    [[ ! -s $name.expected ]] ||
        diff -u --label "include/$name" --label "printed" "$name.expected" "$name.printed"
}

# Classes that have a record but no states to be in.
classes_without_states=" kelAtomic kelLibrary "

# What the comment of each class has: a table of the states, and an example.
complete_comments() {
    awk -v stateless="$classes_without_states" '
        function tell(what) { print name ": " what; bad = 1 }
        FNR == 1 { name = "" }
        /^\/\/\// { comment = comment $0 "\n"; next }
        /^class KEL_API/ {
            name = $3
            if (comment !~ /@code/) tell("the comment has no example")
            table = comment ~ /\/\/\/ \|--/
        }
        /^    [A-Za-z]+Record\* record_;/ && name && !table && index(stateless, " " name " ") == 0 {
            tell("the comment has no table of states")
        }
        { comment = "" }
        END { exit bad }' "$@"
}

# Doxygen stops at a warning.
step_reference() {
    build_library
    build test reference -- --quiet
    [[ -s $root/build/test/reference/index.html ]] || die "there is no main page"
    complete_comments "$root"/include/*.h
    local scratch header examples=()
    scratch=$(mktemp -d)
    trap "rm -rf '$scratch'" EXIT
    cd "$scratch"
    printf 'extern "C" long long Answer() { return 42; }\n' | g++ -shared -fPIC -x c++ - -o answer.dll
    for header in $(grep -l '@code' "$root"/include/*.h); do
        examples+=("$(basename "$header")")
        write_example "$header" >"${examples[-1]}.cpp"
    done
    [[ ${#examples[@]} -gt 0 ]] || die "no example found"
    export -f try_example die say
    export root
    printf '%s\0' "${examples[@]}" | warnings="${warnings[*]}" xargs -0 -n 1 -P "$(nproc)" bash -c '
        set -euo pipefail
        warnings=($warnings)
        try_example "$1"' check
}
