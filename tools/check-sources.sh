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

# test_names: the tests of all platforms, SUITE.NAME each, as the sources write them.
test_names() {
    find "$root/tests" -name '*.cpp' -exec cat {} + | tr -s '\n ' ' ' |
        grep -oE '\bTEST(_[FP])?\([A-Za-z]+, [A-Za-z_]+\)' | sed -E 's/.*\(([A-Za-z]+), ([A-Za-z_]+)\)/\1.\2/'
}

# House words, as extended regular expressions for whole words, each with the term that the field has for it. In
# documents and in the comments of sources and scripts:
house_words=(
    'the runtime' 'APR'
    'collect(s|ed)? (it|a child|the child|children|them all)' 'reap'
    'cut to nothing' 'truncate'
    'process descriptors?' 'pidfd'
    'control groups?' 'cgroup'
    'stand-ins?' 'fake'
    'canonical (form|text)' 'normalised: canonical means that links are resolved'
    'in one step that' 'atomic'
    'is no UTF-8' 'invalid UTF-8'
)
# In public headers besides:
header_words=(
    '(tells?|told)' 'returns, reports'
    'anew' 'again'
    'figures?' 'values, statistics'
    'facts?' 'metadata'
    'universal time' 'UTC'
    'volume (has|is) full' 'file system'
    'gives `kelStatus[A-Za-z]*`' 'returns'
    'included\.' 'including: no inverted inclusion'
    'nothing but|but for' 'except, only'
)
longest_sentence=35

# header_sentences FILE...: the sentences of the comments `///`, FILE:LINE:SENTENCE each, of items of lists and of
# cells of tables too. The programs between @code and @endcode are none.
header_sentences() {
    awk '
        function flush() {
            gsub(/[.?!] +/, "&\n", text)
            count = split(text, parts, "\n")
            for (i = 1; i <= count; ++i) if (parts[i] ~ /[A-Za-z]/) print file ":" start ":" parts[i]
            text = ""
        }
        FNR == 1 { if (file != "") flush(); file = FILENAME; code = 0 }
        !match($0, /\/\/\/<?( |$)/) { flush(); next }
        {
            line = substr($0, RSTART + RLENGTH)
            if (line ~ /^@code/) code = 1
            if (line ~ /^@endcode/) { code = 0; next }
            if (code) next
            if (line == "" || line ~ /^(@|[|]|- |[0-9]+[.] )/ || $0 ~ /\/\/\/</) flush()
            if (line ~ /^[|]/) { gsub(/[|]/, ". ", line) }
            if (text == "") start = FNR
            sub(/^[0-9]+[.] /, "", line)
            text = text line " "
            if (line ~ /^@(name|file|\{|\})/) flush()
        }
        END { flush() }' "$@"
}

# find_house_words NAME...: shows where an array of house words is met in the lines read, FILE:LINE:TEXT each.
find_house_words() {
    local lines words found=0 i
    lines=$(cat)
    local -n words=$1
    for ((i = 0; i < ${#words[@]}; i += 2)); do
        if grep -iE ":[0-9]+:(.*[^A-Za-z-])?${words[i]}([^A-Za-z-]|$)" <<<"$lines"; then
            say "    the field says: ${words[i + 1]}"
            found=1
        fi
    done
    return $found
}

# The words and the length of sentences.
check_wording() {
    local bad=0 headers prose
    mapfile -t headers < <(printf '%s\n' include/*.h)
    [[ $(header_sentences "${headers[@]}" | wc -l) -gt 1000 ]] || die "the sentences of the headers are not found"
    header_sentences "${headers[@]}" | find_house_words header_words || bad=1
    header_sentences "${headers[@]}" | awk -v most=$longest_sentence '
        {
            words = 0
            sentence = $0
            sub(/^[^:]*:[0-9]*:/, "", sentence)
            count = split(sentence, parts, / +/)
            for (i = 1; i <= count; ++i) words += parts[i] ~ /[A-Za-z0-9]/
            if (words > most) { print $0; print "    a sentence of " words " words: the most are " most; bad = 1 }
        }
        END { exit bad }' || bad=1
    # Of sources and scripts the comments count. Tools write the tables of the measurements.
    mapfile -t prose < <(find . \( -path ./build -o -path ./.git -o -path "./${builds#"$root/"}" \) -prune -o \
        -type f -printf '%P\n' | sort)
    { header_sentences "${headers[@]}"
        printf '%s\n' "${prose[@]}" | grep -E '[.]md$' | grep -v '^docs/benchmarks/' | xargs grep -nH ''
        printf '%s\n' "${prose[@]}" | grep -E '[.](cpp|h)$' | xargs grep -nH '//'
        printf '%s\n' "${prose[@]}" | grep -E '^(tools|[.]ci)/|[.](sh|cmake|in)$|CMakeLists[.]txt$' | xargs grep -nHE '^ *#'
    } | find_house_words house_words || bad=1
    return $bad
}

# Documents name only files and folders that exist, nothing names a place on the machine where it was written,
# and the wording holds.
step_words() {
    cd "$root"
    local wording=0
    check_wording || wording=1
    local document name bad=$wording documents texts
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
