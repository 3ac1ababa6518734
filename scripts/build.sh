# Configuring and building a preset. Sourced by ./dev.
# shellcheck shell=bash

# Parallel jobs: one per processor, as long as there are 1.5 GB for each; the sanitizer builds need that.
jobs() {
    local processors memory
    processors=$(nproc)
    memory=$(awk '/^MemAvailable/ { print int($2 / 1500000) }' /proc/meminfo 2>/dev/null || echo "$processors")
    ((memory >= 1)) || memory=1
    echo $((memory < processors ? memory : processors))
}

# under <preset> <command...>: runs it with what the preset's sanitizers need: strict options, and addresses
# without random offsets, which the sanitizers of older compilers cannot place on every kernel.
under() {
    local preset=$1 fixed=()
    shift
    if [[ $preset == [at]san ]] && setarch "$(uname -m)" -R true 2>/dev/null; then
        fixed=(setarch "$(uname -m)" -R)
    fi
    ASAN_OPTIONS=detect_leaks=1:halt_on_error=1:detect_stack_use_after_return=1:strict_string_checks=1:check_initialization_order=1:strict_init_order=1 \
    UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
    TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1:history_size=4 \
        "${fixed[@]}" "$@"
}

# build <preset> <target...>: configures what is not configured yet, and builds. Returns 1 if that failed.
build() {
    local preset=$1
    shift
    configure "$preset" || return 1
    say "building $preset"
    logged "build/$preset/build.log" under "$preset" \
        cmake --build "build/$preset" --parallel "$(jobs)" --target "$@"
}

# configure <preset>: runs CMake if the tree was not configured with this compiler, these packages, these
# presets and in this place; what else changes, the build itself finds out.
configure() {
    local preset=$1 stamp new
    stamp=build/$preset/configured
    new=$(surroundings)
    if [[ -f build/$preset/build.ninja && -f $stamp && $(<"$stamp") == "$new" ]]; then
        return 0
    fi
    say "configuring $preset"
    local launcher=()
    if command -v ccache >/dev/null; then
        launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    # A tree that was built in another place holds paths of that place.
    if [[ -f $stamp && $(head -n 1 "$stamp") != "$PWD" ]]; then
        rm -rf -- "build/$preset"
    fi
    rm -f -- "$stamp"
    # The packages that the command needs are there; what others need may be missing.
    logged "build/$preset.configure.log" \
        cmake --preset "$preset" --fresh -DTALVEX_REQUIRE_ALL=OFF "${launcher[@]}" || return 1
    printf '%s\n' "$new" >"$stamp"
}

# What a configured tree depends on, beyond the files that CMake watches itself.
surroundings() {
    printf '%s\n' "$PWD"
    cksum CMakePresets.json .clang-tidy
    command -v ccache || true
    if command -v dpkg-query >/dev/null; then
        # shellcheck disable=SC2046
        dpkg-query -W -f='${Package} ${Version}\n' $(awk '{ print $2 }' <<<"$PACKAGES") 2>/dev/null || true
    fi
}
