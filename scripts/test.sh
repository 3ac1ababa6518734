# ./dev test: the suite under each preset, and one closing line over all of them. Sourced by ./dev.
# shellcheck shell=bash

passed=0
failed=0
skipped=0

run_test() {
    local presets=("$@") preset
    if ((${#presets[@]} == 0)); then
        presets=(release asan tsan)
    fi
    need build host tests
    for preset in "${presets[@]}"; do
        test_preset "$preset"
    done
    printf '%d passed, %d failed, %d skipped\n' "$passed" "$failed" "$skipped"
    ((failed == 0))
}

# Each preset is built and run whatever became of the one before. A preset that cannot be built is one failure.
test_preset() {
    local preset=$1
    if ! build "$preset" talvex_tests; then
        failed=$((failed + 1))
        say "$preset: not built"
        return 0
    fi
    local junit=build/$preset/junit.xml status=0 beside
    rm -f -- "$junit"
    say "testing $preset"
    # Tests wait more than they compute, unless a sanitizer makes them slow.
    beside=$(jobs)
    [[ $preset != release ]] || beside=$((2 * beside))
    under "$preset" ctest --test-dir "build/$preset" --output-junit "$PWD/$junit" --parallel "$beside" \
        --output-on-failure --no-tests=error --timeout 300 >"build/$preset/test.log" 2>&1 || status=$?
    count "$preset" "$junit" "$status"
}

# count <preset> <junit file> <exit status of ctest>: adds up, and names what did not pass.
count() {
    local preset=$1 junit=$2 status=$3 report counts
    [[ -f $junit ]] || printf '' >"$junit"
    report=$(awk -f scripts/junit.awk "$junit")
    read -r -a counts <<<"${report##*counts }"
    if ((status != 0 && counts[1] == 0)); then
        counts[1]=1
        say "$preset: ctest ended with $status"
    fi
    if ((counts[1] > 0)); then
        show_failures "build/$preset/test.log"
    fi
    sed -n -e "s/^failed /   failed in $preset: /p" -e "s/^skipped /   skipped in $preset: /p" <<<"$report"
    say "$preset: ${counts[0]} passed, ${counts[1]} failed, ${counts[2]} skipped"
    passed=$((passed + counts[0]))
    failed=$((failed + counts[1]))
    skipped=$((skipped + counts[2]))
}

# The output of the failed tests, without the lines of those that passed.
show_failures() {
    { grep -vE '^ *Start +[0-9]+: |^ *[0-9]+/[0-9]+ Test +#[0-9]+: .* Passed ' "$1" || true; } | head -n 400
}
