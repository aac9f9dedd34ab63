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
        -L"$builds/test/lib" -lzukel -Wl,-rpath,"$builds/test/lib"
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
    [[ -s $builds/test/reference/index.html ]] || die "there is no main page"
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

# The rows of the table that compares the libraries: what it says; the part of the page that the cells come
# from; what is right there, an extended regular expression.
comparisons=(
    'Copying a file onto itself through a link keeps it' 'A file is copied onto itself through a symbolic link'
    'file is whole;.*file is whole$'
    'A move to another file system keeps permissions and times' 'A file is moved to another volume'
    '^says done, source absent, target whole, permissions kept, time kept$'
    'Replacing a file on a full disk keeps the old contents' 'A file is replaced by a larger one, and the volume is full'
    '^refuses.*, the file is whole$'
    'Deleting a tree touches nothing outside, even if a link appears in it'
    'A tree is deleted, and meanwhile a directory in it is swapped for a link' 'no file outside is touched$'
    'A lock survives closing another object on the file' 'A file is locked, and another object on it is closed'
    'after the other object is closed it is refused$'
    'Starting a missing program fails and leaves no zombie' 'A program that does not exist is started'
    '^refuses.*, 0 zombies$'
    'Starting a program in a missing directory fails' 'A program is started in a directory that does not exist'
    '^refuses.*, the program did not run$'
    'Abandoned children run on and are reaped' '50 children are started and forgotten'
    '^50 did their work, .*; 0 zombies after one more start$'
    'Reading both outputs of a child never hangs' 'A child writes 1 MB to each output, and both are collected'
    '^says done, both are whole$'
)

# compare_libraries PAGE: their table, from a page of the form of docs/behaviour.md.
compare_libraries() {
    printf '%s\n' "${comparisons[@]}" | awk -F ' \\| |^\\| | \\|$' '
        NR == FNR {
            if (FNR % 3 == 1) row[++rows] = $0
            else if (FNR % 3 == 2) part[rows] = $0
            else right[rows] = $0
            next
        }
        /^## / { heading = substr($0, 4) }
        heading != "" && /^\| / && $2 != "Library" {
            if (!($2 in seen)) { seen[$2]; name[++names] = $2 }
            said[heading, $2] = $3
        }
        END {
            line = "| |"
            for (i = 1; i <= names; ++i) line = line " " name[i] " |"
            print line
            gsub(/[^|]+/, "---", line)
            print line
            for (r = 1; r <= rows; ++r) {
                line = "| " row[r] " |"
                for (i = 1; i <= names; ++i) {
                    what = said[part[r], name[i]]
                    if (what == "") { print "there is no such part: " part[r]; exit }
                    line = line " " (what == "no such operation" ? "–" : what ~ right[r] ? "yes" : "no") " |"
                }
                print line
            }
        }' - "$1"
}

# render_document FILE: the document with its marked blocks made anew. Below `<!-- source: FILE -->` the
# block is that file; below `<!-- output -->` it is what its lines `$ COMMAND` print in an empty folder
# beside the programs of the guide; below `<!-- compare: FILE -->` stands the table of `comparisons`.
render_document() {
    local line mark=text command printed
    while IFS= read -r line; do
        case $mark$line in
            text'<!-- source: '*' -->')
                mark=${line#<!-- source: }
                mark=source:${mark% -->}
                ;;
            text'<!-- output -->') mark=output ;;
            text'<!-- compare: '*' -->')
                printf '%s\n\n' "$line"
                line=${line#<!-- compare: }
                compare_libraries "$root/${line% -->}"
                mark=table
                continue
                ;;
            table | table'|'* | table'there is no'*) continue ;;
            table*) # the first line behind the table
                mark=text
                printf '\n'
                ;;
            text*) ;;
            *'```') # the end of a block
                [[ $mark != inside ]] || rm -rf "$shown_folder"
                mark=text
                ;;
            source:*'```'*)
                printf '%s\n' "$line"
                cat "$root/${mark#source:}" || say "there is no ${mark#source:}"
                mark=drop
                continue
                ;;
            output'```'*)
                shown_folder=$(mktemp -d)
                ln -s "$builds"/test/bin/guide/* "$shown_folder/"
                mark=inside
                ;;
            inside'$ '*)
                printf '%s\n' "$line"
                command=${line#$ }
                printed=$(cd "$shown_folder" && LC_ALL=C.UTF-8 timeout 20 bash -c "$command" 2>&1) || true
                [[ -z $printed ]] || printf '%s\n' "$printed"
                continue
                ;;
            inside* | drop*) continue ;;
        esac
        printf '%s\n' "$line"
    done <"$1"
}

# The documents with marked blocks, from the root of the project.
shown_documents() {
    (cd "$root" && grep -rlE '^<!-- (source: .*|compare: .*|output) -->$' README.md docs)
}

build_guide() {
    configure test
    build test all -- --quiet
}

# Each document is as it would be made now, and shows each program of the guide.
step_readme() {
    build_guide
    local document source bad=0
    while read -r document; do
        render_document "$root/$document" |
            diff -u --label "$document" --label "made anew" "$root/$document" - || bad=1
    done < <(shown_documents)
    while read -r source; do
        if ! (cd "$root" && grep -rqxF "<!-- source: $source -->" README.md docs); then
            say "no document shows $source"
            bad=1
        fi
    done < <(cd "$root" && find examples/guide -name '*.cpp' | sort)
    [[ $bad -eq 0 ]] || die "if that is what should be shown: tools/check --update-documents"
}

update_documents() {
    build_guide
    local document made
    made=$(mktemp)
    while read -r document; do
        render_document "$root/$document" >"$made"
        cmp -s "$made" "$root/$document" || cp "$made" "$root/$document"
    done < <(shown_documents)
    rm -f "$made"
}

# The picture of the architecture names each folder below src, and no other; what is written about porting
# names each function that a port must provide.
step_picture() {
    local picture=$root/docs/architecture.svg folder function functions bad=0
    xmllint --noout "$picture"
    diff -u --label "folders" --label "docs/architecture.svg" \
        <(cd "$root" && find src -mindepth 1 -maxdepth 1 -type d | sort) \
        <(grep -oE '>src/[a-z]+<' "$picture" | tr -d '<>' | sort)
    for folder in "$root"/src/platform/*/; do
        folder=$(basename "$folder")
        grep -qF ">$folder<" "$picture" || die "the picture lacks the platform $folder"
    done
    mapfile -t functions < <(sed -nE 's/^[A-Za-z_][A-Za-z0-9_:*& ]* \*?([A-Z][A-Za-z0-9]+)\(.*/\1/p' "$root"/src/platform/*.h)
    [[ ${#functions[@]} -gt 0 ]] || die "no function found in the headers of src/platform"
    for function in "${functions[@]}"; do
        if ! grep -qF "\`$function\`" "$root/src/platform/README.md"; then
            say "src/platform/README.md lacks $function"
            bad=1
        fi
    done
    return $bad
}
