# The steps of tools/check that read the text of the project and build nothing. Sourced.

# The headers of the C++ library. No header of the system is among them, nor those of C by their
# old names.
standard_headers=" algorithm any array atomic bitset cassert cctype cerrno cfenv cfloat charconv
    chrono cinttypes climits clocale cmath complex condition_variable csetjmp csignal cstdarg cstddef
    cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype deque exception execution filesystem
    forward_list fstream functional future initializer_list iomanip ios iosfwd iostream istream
    iterator limits list locale map memory memory_resource mutex new numeric optional ostream queue
    random ratio regex scoped_allocator set shared_mutex sstream stack stdexcept streambuf string
    string_view system_error thread tuple type_traits typeindex typeinfo unordered_map unordered_set
    utility valarray variant vector "

# Everything that the build of each platform shares: all but the folders below src/platform. One
# name for each line, from the root of the project.
portable_files() {
    (cd "$root" && find include src -path 'src/platform/*/*' -o -type f ! -name CMakeLists.txt \
        ! -name '*.md' ! -name '*.map' ! -name '*.in' -print | sort)
}

# may_include FILE HEADER: what portable code may include. HEADER has its brackets or quotes.
may_include() {
    local file=$1 name=${2#?}
    name=${name%?}
    case $2 in
        \<apr_portable.h\>) return 1 ;; # handles of the system
        \<apr_*.h\>) [[ $file == src/* ]] ;;
        \<*\>) [[ $standard_headers =~ [[:space:]]$name[[:space:]] ]] ;;
        \"platform/*/*\" | \"*..*\") return 1 ;;
        \"*\") [[ -f $root/include/$name || ($file == src/* && -f $root/src/$name) ]] ;;
        *) return 1 ;;
    esac
}

# directives FILE...: the preprocessor directives of files of the project, FILE:DIRECTIVE each: spliced
# lines are joined, comments are gone, and a `#` stands for its other spelling.
directives() {
    local file
    for file in "$@"; do
        sed -E ':join; /\\[[:space:]]*$/ { N; s/\\[[:space:]]*\n//; b join }' "$root/$file" |
            g++ -fpreprocessed -dD -E -P -w -x c++ - |
            sed -nE "s|^[[:space:]]*(#\|%:)[[:space:]]*|$file:#|p"
    done
}

step_includes() {
    local file directive files header bad=0 lines=0
    mapfile -t files < <(portable_files)
    while IFS=: read -r file directive; do
        [[ $directive == '#'@(include|import)* ]] || continue
        lines=$((lines + 1))
        header=$(sed -E 's/^#[a-z_]+[[:space:]]*//; s/[[:space:]]*$//' <<<"$directive")
        if ! may_include "$file" "$header"; then
            say "$file: portable code does not include $header"
            bad=1
        fi
    done < <(directives "${files[@]}")
    [[ $lines -gt ${#files[@]} ]] || die "only $lines include directives found"
    return $bad
}

step_conditionals() {
    local files
    mapfile -t files < <(portable_files | grep -vx 'include/kelExport.h')
    ! directives "${files[@]}" | grep -E ':#(if|elif|else|endif)'
}

# Documents name only files and folders that exist, and nothing names a place on the machine where
# it was written.
# test_names: the tests of all platforms, SUITE.NAME each, as the sources write them.
test_names() {
    find "$root/tests" -name '*.cpp' -exec cat {} + | tr -s '\n ' ' ' |
        grep -oE '\bTEST(_[FP])?\([A-Za-z]+, [A-Za-z_]+\)' | sed -E 's/.*\(([A-Za-z]+), ([A-Za-z_]+)\)/\1.\2/'
}

step_words() {
    cd "$root"
    local document name bad=0 documents texts
    mapfile -t texts < <(find . \( -path ./build -o -path ./.git -o -path "./${builds#"$root/"}" \) -prune -o -type f -print | sort)
    mapfile -t documents < <(printf '%s\n' "${texts[@]}" | grep '\.md$')
    for document in "${documents[@]}"; do
        # In backticks: what begins with a top folder of the project. In brackets: targets of links.
        while read -r name; do
            if [[ ! -e $name && ! -e $(dirname "$document")/$name ]]; then
                say "$document: $name does not exist"
                bad=1
            fi
        done < <(
            grep -oE '`(\./)?(benchmarks|cmake|docs|examples|fuzz|include|packaging|src|tests|tools|\.ci)/[^` *]*' "$document" | tr -d '`'
            grep -oE '\]\([^)#:]+' "$document" | cut -c3-
        )
    done
    # In backticks: tests, `Suite.Name`, where a star stands for any rest.
    local known
    known=$(test_names)
    [[ $known == *kelFileTest.Open_* ]] || die "the names of the tests are not found"
    while IFS=: read -r document name; do
        if ! grep -qE "^${name//\*/.*}" <<<"$known"; then
            say "$document: there is no test $name"
            bad=1
        fi
    done < <(grep -oHE '`[A-Za-z]+\.[A-Za-z]+(_[A-Za-z_]*\*?|\*)`' "${documents[@]}" | tr -d '`')
    if grep -nHIE -e '(^|[^A-Za-z0-9_.$}-])/(home|root|work|Users|opt|mnt)/[A-Za-z0-9._]' -e '[A-Za-z]:[\/]+Users[\/]' \
        "${texts[@]}"; then
        say "the lines above name a place on somebody's machine"
        bad=1
    fi
    # A checkout directly below / has a name that says too little to look for.
    if [[ $root == /*/* ]] && grep -nHF -e "$root" "${texts[@]}"; then
        say "the lines above name this checkout"
        bad=1
    fi
    return $bad
}
