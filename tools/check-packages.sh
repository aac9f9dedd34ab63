# The steps of tools/check that look at what is handed to users: the binary interface, the library that
# is installed as an archive alone, the Debian packages. Sourced.

abi_file() {
    say "$root/tests/abi/$(g++ -dumpmachine).abi"
}

# Private records hang from the classes: only types that the public headers define count.
abi_options=(--drop-private-types --exported-interfaces-only --no-corpus-path)

# The binary interface of the library as it is. The files in which types are defined stay, without their
# folders: they tell a private type from a public one.
write_abi() {
    abidw "${abi_options[@]}" --headers-dir "$root/include" --no-comp-dir-path --short-locs --no-elf-needed \
        --no-parameter-names --type-id-style hash "$builds/test/lib/libzukel.so"
}

compare_abi() {
    abidiff "${abi_options[@]}" --headers-dir2 "$root/include" --no-show-locs "$@" "$(abi_file)" \
        "$builds/test/lib/libzukel.so"
}

constants_file() {
    say "$root/tests/abi/constants.txt"
}

# constants_of: the enumerators and constants of the program text read, each with its value, a line each.
constants_of() {
    local object
    object=$(mktemp)
    g++ -std=c++17 -g -fno-eliminate-unused-debug-types -fno-eliminate-unused-debug-symbols \
        -I"$root/include" -c -x c++ - -o "$object"
    readelf --debug-dump=info "$object" | awk '
        function finish() {
            if (tag ~ /_(enumerator|variable|member)$/ && name != "" && value != "") {
                line = name " = " value
                for (i = depth - 1; i > 0; i--) if (scope[i] != "") line = scope[i] "::" line
                print line
            }
            scope[depth] = name
            name = value = ""
        }
        /^ <[0-9a-f]+><[0-9a-f]+>: / {
            finish()
            depth = $1; gsub(/^<|>.*/, "", depth)
            tag = $NF; gsub(/[()]/, "", tag)
        }
        / DW_AT_name / { name = $0; sub(/.*: /, "", name); sub(/[ \t]*$/, "", name) }
        / DW_AT_const_value / { value = $0; sub(/^[^:]*: /, "", value); gsub(/\t.*|[ \t]*$/, "", value) }
        END { finish() }' | LC_ALL=C sort -u
    rm -f "$object"
}

# The values in the public headers that end up in a program, which abidw passes over: no exported function
# has their type. What the headers of the C++ library define is left out.
write_constants() {
    local includes
    includes=$(grep -hE '^#include <' "$root"/include/*.h | grep -v '<kel\|<zu' | sort -u)
    LC_ALL=C comm -13 <(constants_of <<<"$includes") <(constants_of <<<"$includes
#include \"zukel.h\"")
}

# A value that a program was built with stands for the same now.
compare_constants() {
    local change
    change=$(write_constants | diff "$(constants_file)" -) || [[ $? -eq 1 ]] || die "the constants cannot be compared"
    if grep '^<' <<<"$change"; then
        die "the constants above have changed, and programs built before have the former values. Keep them, or" \
            "move the soname; if nobody can have built such a program: tools/check --update-abi"
    fi
    [[ -z $change ]] || tell "$(sed -n 's/^> /[A] constant /p' <<<"$change")"
}

# What a program built against the baseline needs is still there, with the same values and in the same
# layout. What is new is told; a library of another soname owes nothing to such a program.
step_abi() {
    build_library
    [[ -f $(abi_file) ]] ||
        die "there is no $(abi_file). Make it from a state that may be held to: tools/check --update-abi"
    xmllint --noout "$(abi_file)" # abidiff passes over what it cannot read
    local before now told status=0
    before=$(sed -n "s/^<abi-corpus .* soname='\([^']*\)'.*/\1/p" "$(abi_file)")
    now=$(readelf -d "$builds/test/lib/libzukel.so" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
    [[ -n $before && -n $now ]] || die "no soname: '$before' in the baseline, '$now' in the library"
    if [[ $before != "$now" ]]; then
        tell "the soname has moved from $before to $now: tools/check --update-abi holds the new one"
        return
    fi
    compare_constants
    told=$(compare_abi) || status=$?
    [[ $((status & 3)) -eq 0 ]] || die "abidiff failed: $told"
    [[ $status -ne 0 ]] || return 0
    if compare_abi --no-added-syms; then
        tell "$(grep '^ *\[A\]' <<<"$told")"
        return
    fi
    die "programs that were built against $before may break. Keep what they use, or move the soname;" \
        "if nobody can have built such a program: tools/check --update-abi"
}

# use_installed PLACE WAY [OPTION...]: the project in tests/install against what is installed in PLACE.
use_installed() {
    local place=$1 way=$2
    shift 2
    cmake -D PLACE="$place" -D WAY="$way" -D WORK="$builds/check-use/$way" -D COMPILER="$(command -v g++)" \
        -D GENERATOR=Ninja -D READELF="$(command -v readelf)" -D PKG_CONFIG="$(command -v pkg-config)" "$@" \
        -P "$root/tests/install/Use.cmake"
}

# The other installed ways are tests of their own; this one needs a build of its own.
step_archive() {
    configure archive
    build archive all -- --quiet
    local place=$builds/archive/placed
    rm -rf "$place"
    cmake --install "$builds/archive" --prefix "$place" >/dev/null
    use_installed "$place" package-archive
    use_installed "$place" module-static
}

# As dpkg installs them on this machine: it must have what the packages depend on. No script runs.
step_package() {
    "$root/tools/package"
    local packages=("$builds"/packages/*.deb)
    # The tag asks for a report that closes with the first upload to Debian.
    lintian --allow-root --suppress-tags initial-upload-closes-no-bugs --fail-on error,warning "${packages[@]}"

    local place=$builds/check-package wanted
    wanted=$(sed -n 's/^set(ZUKEL_APR_VERSION \(.*\))/\1/p' "$root/cmake/Apr.cmake")
    dpkg-deb --field "$builds"/packages/libzukel1_*.deb Depends | grep -E "libapr1[a-z0-9]* \(>= $wanted\)" ||
        die "libzukel1 does not depend on version $wanted of APR, which the build asks for"
    rm -rf "$place"
    mkdir -p "$place"/var/lib/dpkg/{info,updates,triggers} "$place"/var/log
    cp /var/lib/dpkg/status "$place/var/lib/dpkg/status"
    dpkg-query -W -f '${binary:Package}.list\n' | (cd "$place/var/lib/dpkg/info" && xargs -d '\n' touch)
    local dpkg=(env PATH="$PATH:/usr/sbin:/sbin" fakeroot dpkg --root="$place"
        --log="$place/var/log/dpkg.log")
    "${dpkg[@]}" --install "${packages[@]}"
    [[ -f $place/usr/lib/$(g++ -print-multiarch)/libzukel.so.1 ]] || die "the library is not in the multiarch folder"
    local file
    for file in shlibs symbols; do
        compgen -G "$place/var/lib/dpkg/info/libzukel1:*.$file" >/dev/null || die "the library has no $file file"
    done
    [[ -f $place/usr/share/doc-base/libzukel-doc.zukel ]] || die "the reference is not registered"
    if [[ $(uname -m) == x86_64 ]]; then
        # Not the note of it: the C library of Debian 12 has none, and the linker drops it.
        [[ $(objdump -d "$place/usr/lib/$(g++ -print-multiarch)/libzukel.so.1" | grep -c endbr64) -gt 100 ]] ||
            die "the library is built without -fcf-protection"
    fi
    local way
    for way in package package-static module module-archive module-static; do
        use_installed "$place/usr" "$way" -D PKG_CONFIG_OPTIONS="--define-variable=prefix=$place/usr"
    done
    ! "${dpkg[@]}" --purge libzukel1 || die "the development files can be without the library"
    "${dpkg[@]}" --purge libzukel-doc libzukel-dev libzukel1
    [[ -z $(find "$place/usr" -not -type d 2>/dev/null) ]] || die "files stay when the packages are gone"
}
