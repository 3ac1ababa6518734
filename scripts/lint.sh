# ./dev lint: everything that can be said about the sources without running them. Sourced by ./dev.
# shellcheck shell=bash

readonly LIBRARY_FOLDERS='engine transport xcp ccp daq memfile decode channel platform sim host'

run_lint() {
    need build host tests bench format lint
    local failures=0 step
    for step in lint_format lint_scripts lint_rules lint_headers lint_cppcheck lint_clang lint_abi; do
        if "$step"; then
            say "$step: clean"
        else
            say "$step: FAILED"
            failures=$((failures + 1))
        fi
    done
    ((failures == 0))
}

lint_format() {
    local files
    mapfile -t files < <(project_files | c_family)
    logged build/lint/format.log clang-format --dry-run -Werror -- "${files[@]}"
}

lint_scripts() {
    local files
    mapfile -t files < <(project_files | shell_scripts)
    logged build/lint/shellcheck.log shellcheck --external-sources -- "${files[@]}"
}

# No file names a place on the machine where it was written.
lint_rules() {
    local found
    found=$(project_files | tr '\n' '\0' | xargs -0 grep -nIE '(^|[^[:alnum:]_.-])/(home|root|Users|work|mnt)/[[:alnum:]_.]' -- || true)
    if [[ -n $found ]]; then
        printf 'paths of one machine:\n%s\n' "$found" >&2
        return 1
    fi
}

# Public headers stand alone: as C++17, and as C11 where they tell the languages apart.
lint_headers() {
    local header failures=0
    for header in include/*.h; do
        header_compiles "$header" g++ c++ c++17 && header_compiles "$header" clang++ c++ c++17 || failures=1
        if grep -q __cplusplus "$header"; then
            header_compiles "$header" gcc c c11 && header_compiles "$header" clang c c11 || failures=1
        fi
    done
    ((failures == 0))
}

# header_compiles <header> <compiler> <language> <standard>
header_compiles() {
    printf '#include "%s"\nextern int something;\n' "$(basename "$1")" |
        "$2" -x "$3" -std="$4" -Iinclude -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -fsyntax-only -
}

# Left out: parameters by value are the interface, and clang-tidy looks at the others; signs are the compilers'
# matter; and the comparison check takes the ">" of a template for an operator.
readonly CPPCHECK_LEFT_OUT='passedByValue signConversion compareBoolExpressionWithInt missingIncludeSystem'

lint_cppcheck() {
    local folder check folders=() left_out=()
    for check in $CPPCHECK_LEFT_OUT; do
        left_out+=("--suppress=$check")
    done
    for folder in $LIBRARY_FOLDERS; do
        if compgen -G "$folder/*.cpp" >/dev/null; then
            folders+=("$folder")
        fi
    done
    mkdir -p build/lint/cppcheck
    logged build/lint/cppcheck.log cppcheck --quiet --error-exitcode=1 -j "$(jobs)" --std=c++20 --language=c++ \
        --cppcheck-build-dir=build/lint/cppcheck --enable=warning,performance,portability \
        "${left_out[@]}" -I . -I include -D__linux__ -D__x86_64__ "${folders[@]}"
}

# Clang builds everything with the warnings of the project, and clang-tidy reads the library, the simulation and
# the host tool on the way. What has not changed since the last run is not read again.
lint_clang() {
    local stamp=build/clang/clang-tidy log=build/clang/build.log
    if [[ -d build/clang ]] && ! cmp -s .clang-tidy "$stamp"; then
        rm -rf -- build/clang
    fi
    configure clang || return 1
    cp .clang-tidy "$stamp"
    say "building clang with clang-tidy"
    if ! cmake --build build/clang --parallel "$(jobs)" -- -k 0 >"$log" 2>&1; then
        grep -E -A 3 'error: |undefined reference' "$log" | head -n 300 >&2
        return 1
    fi
}

# The library beside the one of the last tagged version: with the same soname only additions pass. Both are built with
# what debuggers need, as that has the types; the library alone, so that it takes no other package.
lint_abi() {
    local tag
    if ! tag=$(git describe --tags --abbrev=0 --match 'v[0-9]*' 2>/dev/null); then
        say 'lint_abi: no version is tagged, so there is nothing to compare the library with'
        return 0
    fi
    say "comparing the library with that of $tag"
    rm -rf -- build/abi/tagged/source
    mkdir -p -- build/abi/tagged/source
    git archive "$tag" | tar -x -C build/abi/tagged/source || return 1
    abi_library build/abi/tagged/source build/abi/tagged/build || return 1
    abi_library . build/abi/now || return 1
    abi_allowed build/abi/tagged build/abi/now
}

# abi_library <source folder> <build folder>
abi_library() {
    local launcher=()
    if command -v ccache >/dev/null; then
        launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    logged "$2.configure.log" cmake -S "$1" -B "$2" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" &&
        logged "$2.build.log" cmake --build "$2" --parallel "$(jobs)" --target TalvexSDK
}

# abi_allowed <folder of the tagged version> <build folder of this one>: false if what was linked with the one would not
# run with the other although their sonames promise it. The report is kept, whatever it says.
abi_allowed() {
    local old=$1/build/libTalvexSDK.so new=$2/libTalvexSDK.so status=0
    abidiff --headers-dir1 "$1/source/include" --headers-dir2 include --drop-private-types --no-added-syms \
        "$old" "$new" >build/abi/report.txt 2>&1 || status=$?
    if ((status == 0)); then
        return 0
    fi
    if ((status & 3)); then
        printf 'abidiff ended with %s\n' "$status" >&2
    elif [[ $(soname "$old") != "$(soname "$new")" ]]; then
        say 'the soname is another one, so hosts are compiled anew; build/abi/report.txt has the differences'
        return 0
    fi
    head -n 200 build/abi/report.txt >&2
    return 1
}

soname() { objdump -p "$1" | awk '$1 == "SONAME" { print $2 }'; }
