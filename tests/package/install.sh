#!/usr/bin/env bash
# Installs the build into an empty folder, moves that, and uses it as others would: the consumer is built with CMake and
# with make and pkg-config, and both measure; the tool runs. Ends with 77 if something that this takes is not there.
# usage: install.sh <source folder> <build folder> <C++ compiler> <version> <tool|no-tool>
set -euo pipefail

source_folder=$1
build_folder=$2
compiler=$3
version=$4
tool=$5

for needed in make pkg-config readelf; do
    command -v "$needed" >/dev/null || { echo "skipped: there is no $needed here"; exit 77; }
done

work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
fail() {
    printf '%s\n' "$*" >&2
    exit 1
}
# quietly <command...>: shows what it said only if it fails.
quietly() { "$@" >"$work/said" 2>&1 || { cat -- "$work/said" >&2; fail "failed: $*"; }; }

quietly cmake --install "$build_folder" --prefix "$work/first"
mv -- "$work/first" "$work/moved"
prefix=$work/moved
library=$(find "$prefix" -name 'libTalvexSDK.so')
library_folder=$(dirname -- "$library")

# Everything is there and nothing else. The folder of libraries has many names.
wanted=$(awk -v tool="$tool" '$1 != "tool" || tool == "tool" { print $2 }' "$source_folder/tests/package/installed.txt" |
    sed -e "s/@VERSION@/$version/" -e "s/@MAJOR@/${version%%.*}/" | sort)
found=$(cd -- "$prefix" && find . ! -type d | sed -E 's,^\./,,; s,^lib(64|/[^/]*-linux-[^/]*)/,lib/,; s,-(release|debug|relwithdebinfo|minsizerel|noconfig)\.cmake$,-BUILD.cmake,' | sort)
[[ $found == "$wanted" ]] || fail "installed:$(diff -U 100 <(printf '%s\n' "$wanted") <(printf '%s\n' "$found"))"

readelf --dynamic --wide "$library" | grep -q "SONAME.*\[libTalvexSDK\.so\.${version%%.*}\]" ||
    fail 'the library has another soname'
while read -r program; do
    if readelf --dynamic --wide "$program" | grep -E 'RPATH|RUNPATH'; then
        fail "$program says where libraries lie"
    fi
done < <(find "$prefix/bin" "$library_folder" -maxdepth 1 -type f 2>/dev/null)
echo "installed: $(wc -l <<<"$found") files, libTalvexSDK.so.${version%%.*}"

# The package is found as what it is, and not as another version.
mkdir -- "$work/version"
cat >"$work/version/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.16)
project(version LANGUAGES CXX)  # without one CMake does not know the folder of libraries of Debian
find_package(TalvexSDK 9.0 CONFIG)
if(TalvexSDK_FOUND)
  message(FATAL_ERROR "found as version 9")
endif()
find_package(TalvexSDK ${WANTED} EXACT CONFIG REQUIRED)
CMAKE
quietly cmake -S "$work/version" -B "$work/version/build" -DCMAKE_PREFIX_PATH="$prefix" -DWANTED="$version" \
    -DCMAKE_CXX_COMPILER="$compiler"
export PKG_CONFIG_PATH=$library_folder/pkgconfig
[[ $(pkg-config --modversion talvex-sdk) == "$version" ]] || fail 'pkg-config knows another version'

# Neither way of building may look into the source folder.
cp -r -- "$prefix/share/doc/talvex/examples/consumer" "$work/consumer"
quietly cmake -S "$work/consumer" -B "$work/by-cmake" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_CXX_FLAGS='-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror'
quietly cmake --build "$work/by-cmake"
mkdir -- "$work/by-make"
quietly make -C "$work/consumer" CXX="$compiler" BUILD="$work/by-make"

export LD_LIBRARY_PATH=$library_folder
for way in by-cmake by-make; do
    printed=$(env -C / "$work/$way/consumer" 2>&1) || fail "$way: $printed"
    [[ $printed == "$(<"$source_folder/examples/consumer/consumer.expected")" ]] || fail "$way printed: $printed"
    echo "consumer $way: measured"
done

if [[ $tool != tool ]]; then
    exit 0
fi
[[ $("$prefix/bin/talvex" --version) == "talvex $version" ]] || fail 'the tool has another version'
examples=$prefix/share/doc/talvex/examples
lines=$("$prefix/bin/talvex" decode "$examples/demo.log" --xcp 600:601 | wc -l)
((lines > 50)) || fail "the tool decoded $lines lines of demo.log"

# Only a tool that finds its helper gets a key out of a library of an ECU's maker.
"$compiler" -x c -std=c11 -shared -fPIC -o "$work/xcp_example.so" "$examples/seedkey/xcp_example.c"
sed 's/seed_key = "sim:"/seed_key = "xcp_example.so"/' "$examples/demo.toml" >"$work/locked.toml"
written=$(env -C / PATH=/nowhere "$prefix/bin/talvex" write --config "$work/locked.toml" --ecu engine idle_speed=820 2>&1) ||
    fail "the tool did not write: $written"
[[ $written == 'idle_speed: '*' -> 820'* ]] || fail "the tool wrote: $written"
echo "tool: $lines lines decoded, a variable behind seed and key written"
