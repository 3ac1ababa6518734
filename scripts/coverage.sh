# ./dev coverage: lines and branches of the library that its tests reach, by folder. Sourced by ./dev.
# shellcheck shell=bash

readonly COVERAGE=build/coverage
readonly COVERED_FOLDERS='engine transport xcp ccp daq memfile decode channel platform'
# Left out are fuzz targets, as they say little about what they reach, sessions by seed, which would be luck, and
# comparisons with other programs, which take long and reach nothing more.
readonly COVERING_TESTS='engine transport xcp ccp daq memfile decode channel platform system sweep'
readonly LEFT_TO_LUCK=EverySeed
# Percent, in each folder.
readonly LINE_GOAL=99 BRANCH_GOAL=95

run_coverage() {
    local folder targets=()
    need build tests coverage
    for folder in $COVERING_TESTS; do
        targets+=("talvex_${folder}_tests")
    done
    build coverage "${targets[@]}" || return 1
    # Counters add up from run to run, and those of a source that is gone would stay.
    find "$COVERAGE" -name '*.gcda' -delete
    coverage_run || return 1
    say 'reading the counters'
    coverage_read || return 1
    coverage_show
}

# Counters of tests that fail say nothing.
coverage_run() {
    say 'testing coverage'
    if ctest --test-dir "$COVERAGE" --parallel "$(jobs)" --output-on-failure --no-tests=error --timeout 300 \
        --label-regex "^(${COVERING_TESTS// /|})\$" --exclude-regex "$LEFT_TO_LUCK" >"$COVERAGE/test.log" 2>&1; then
        say "$(grep '% tests passed' "$COVERAGE/test.log")"
        return 0
    fi
    show_failures "$COVERAGE/test.log"
    return 1
}

# A line of braces alone has only branches that the compiler made.
coverage_read() {
    local folder filters=()
    for folder in $COVERED_FOLDERS; do
        filters+=(--filter "$folder/")
    done
    logged "$COVERAGE/gcovr.log" gcovr --root . -j "$(jobs)" "${filters[@]}" --exclude-unreachable-branches \
        --json-pretty --output "$COVERAGE/counted.json" "$COVERAGE"
}

# The table on standard output; what is left, with the text of each line, in build/coverage/left.txt.
coverage_show() {
    local status=0 report=$COVERAGE/report.txt place what
    awk -v folders="$COVERED_FOLDERS" -v line_goal="$LINE_GOAL" -v branch_goal="$BRANCH_GOAL" \
        -f scripts/coverage.awk "$COVERAGE/counted.json" >"$report" || status=$?
    sed '/^left /d' "$report"
    sed -n 's/^left //p' "$report" | while IFS=' ' read -r place what; do
        printf '%s %-16s %s\n' "$place" "$what" "$(coverage_text "$place")"
    done >"$COVERAGE/left.txt"
    say "what is left: $COVERAGE/left.txt"
    return "$status"
}

# coverage_text <file>:<line>:
coverage_text() {
    local file=${1%%:*} line=${1#*:}
    sed -n "${line%:}{s/^ *//;p}" "$file"
}
