# ./dev windows: the DLL and the tests for Windows, 64 and 32 bits, cross-built with mingw-w64; its export table beside
# that of the ELF library; and the tests under wine, one prefix for each width. Sourced by ./dev.
# shellcheck shell=bash

# What is kept between runs: the prefixes of wine.
readonly WINDOWS=build/windows

run_windows() {
    local bits ran=()
    passed=0 failed=0 skipped=0
    need build windows
    mkdir -p -- "$WINDOWS"
    say_left_out
    for bits in 64 32; do
        if ! build "win$bits" talvex_tests; then
            failed=$((failed + 1))
            say "win$bits: not built"
            continue
        fi
        check_dll "$bits" || failed=$((failed + 1))
        if has_wine "$bits"; then
            test_windows "$bits"
            ran+=("$bits")
        else
            say "win$bits: built; its tests did not run, because no $bits-bit wine can be installed here"
        fi
    done
    say "ran: ${ran[*]/%/-bit tests}"
    printf '%d passed, %d failed, %d skipped\n' "$passed" "$failed" "$skipped"
    ((failed == 0 && ${#ran[@]} > 0))
}

say_left_out() {
    local line
    while IFS= read -r line; do
        say "left out: tests/$line"
    done < <(grep '^[a-z]' tests/windows/left_out.txt)
}

# check_dll <bits>: the DLL exports what the ELF library exports, and needs no DLL but those of Windows.
check_dll() {
    local dll=build/win$1/bin/TalvexSDK.dll difference foreign
    if ! difference=$(diff <(grep '^[A-Za-z]' cmake/TalvexSDK.exports | sort) <(exports_of "$dll" | sort)); then
        printf 'win%s: exports (< wanted, > built):\n%s\n' "$1" "$difference" >&2
        return 1
    fi
    foreign=$(imports_of "$dll" | grep -viE '^(kernel32|msvcrt|winmm)\.dll$' || true)
    if [[ -n $foreign ]]; then
        printf 'win%s: the DLL needs: %s\n' "$1" "$foreign" >&2
        return 1
    fi
    say "win$1: $(exports_of "$dll" | wc -l) exports, as the ELF library; it needs $(imports_of "$dll" | xargs)"
}

# exports_of <dll>: the names in its export table, without arguments and marks of the C++ library.
exports_of() {
    objdump -p "$1" | awk '/^\[Ordinal\/Name Pointer\] Table/ { table = 1; next }
                           table && /^[ \t]*\[/ { print $NF; next }
                           table && /^$/ { exit }' | c++filt | sed -E 's/\[abi:[a-z0-9]+\]//; s/\(.*//'
}

imports_of() { objdump -p "$1" | sed -n 's/^[ \t]*DLL Name: //p'; }

# has_wine <bits>: whether there is a wine for them; tries to install the one for 32 bits, which is of another
# architecture.
has_wine() {
    [[ $1 == 32 ]] || return 0
    if ! dpkg-query -W wine32:i386 >/dev/null 2>&1; then
        say "looking for a 32-bit wine"
        add_wine32 || return 1
    fi
    dpkg-query -W -f='${db:Status-Status}' wine32:i386 2>/dev/null | grep -qx installed
}

# add_wine32: takes the architecture back if that leads to nothing.
add_wine32() {
    local added=0 sudo=()
    if [[ $EUID -ne 0 ]]; then
        sudo -n true 2>/dev/null || return 1
        sudo=(sudo -n)
    fi
    sudo+=(env DEBIAN_FRONTEND=noninteractive)
    if ! dpkg --print-foreign-architectures | grep -qx i386; then
        "${sudo[@]}" dpkg --add-architecture i386 || return 1
        added=1
    fi
    if "${sudo[@]}" apt-get -q -o DPkg::Lock::Timeout=300 update >"$WINDOWS/wine32.log" 2>&1 &&
        "${sudo[@]}" apt-get -q -o DPkg::Lock::Timeout=300 install -y --no-install-recommends wine32:i386 \
            >>"$WINDOWS/wine32.log" 2>&1; then
        return 0
    fi
    if ((added)); then
        "${sudo[@]}" dpkg --remove-architecture i386 >>"$WINDOWS/wine32.log" 2>&1 || true
    fi
    return 1
}

# test_windows <bits>
test_windows() {
    local preset=win$1 status=0 junit=build/win$1/junit.xml
    say "testing $preset under $(wine_do "$1" wine --version 2>/dev/null)"
    rm -f -- "$junit"
    # The server of wine stays between two tests: to start it takes longer than most tests. It has to be there ahead
    # of the first program, whose output the services that come with it keep open.
    mkdir -p -- "$WINDOWS/wine$1"
    wine_do "$1" "$(wineserver_of)" --kill || true
    wine_do "$1" "$(wineserver_of)" --persistent || say "wine starts anew with each test"
    logged "$WINDOWS/prefix$1.log" wine_do "$1" wineboot --init || status=1
    wine_do "$1" ctest --test-dir "build/$preset" --output-junit "$PWD/$junit" --parallel "$(jobs)" \
        --output-on-failure --no-tests=error --timeout 300 >"build/$preset/test.log" 2>&1 || status=$?
    wine_do "$1" "$(wineserver_of)" --kill || true
    count "$preset" "$junit" "$status"
}

# wine_do <bits> <command...>: with the wine of these bits, without a display and its helpers.
wine_do() {
    local bits=$1
    shift
    env -u DISPLAY WINEARCH="win$bits" WINEPREFIX="$PWD/$WINDOWS/wine$bits" WINEDEBUG=-all \
        WINEDLLOVERRIDES='mscoree,mshtml,winemenubuilder.exe=' "$@"
}

# Debian has it outside of the places of programs.
wineserver_of() {
    command -v wineserver || find /usr/lib/wine /usr/lib/*/wine -name 'wineserver*' -type f -executable 2>/dev/null |
        sort | tail -n 1
}
