# ./dev fuzz: each fuzz target under libFuzzer for some time, and one line about what came of it. Sourced by ./dev.
# shellcheck shell=bash

# What is kept between runs: build/fuzz/corpus/<target>, the inputs that reached something new. What is found:
# build/fuzz/findings/<target>.
readonly FUZZ=build/fuzz

run_fuzz() {
    local seconds=60 targets=() target failures=0
    while (($#)); do
        case $1 in
            --seconds)
                (($# >= 2)) || die "--seconds takes a number of seconds, 1 or more"
                [[ $2 =~ ^[1-9][0-9]{0,5}$ ]] ||
                    die "--seconds takes a number of seconds, 1 to 999999; found \"$2\""
                seconds=$2
                shift
                ;;
            -*) die "fuzz has no option \"$1\"; there is --seconds" ;;
            *) targets+=("$1") ;;
        esac
        shift
    done
    if ((${#targets[@]} == 0)); then
        mapfile -t targets < <(fuzz_targets)
    fi
    for target in "${targets[@]}"; do
        [[ -f tests/fuzz/${target}Fuzz.cpp ]] ||
            die "no fuzz target \"$target\"; there are: $(fuzz_targets | xargs)"
    done
    mapfile -t targets < <(printf '%s\n' "${targets[@]}" | awk '!seen[$0]++')
    need build host tests fuzz
    build fuzz talvex_fuzz || return 1
    say "fuzzing for $seconds s each: ${targets[*]}"
    fuzz_all "$seconds" "${targets[@]}"
    fuzz_row target executions exec/s edges of features findings
    for target in "${targets[@]}"; do
        fuzz_report "$target" || failures=$((failures + 1))
    done
    ((failures == 0))
}

# fuzz_row <target> <executions> <executions a second> <edges> <of> <features> <findings>: edges that an input took,
# of those in the program and what of the library is linked with it; features are edges with how often one input
# took them.
fuzz_row() { printf '%-16s %12s %9s %7s %7s %9s %9s\n' "$@"; }

fuzz_targets() {
    local source
    for source in tests/fuzz/*Fuzz.cpp; do
        basename -- "$source" Fuzz.cpp
    done
}

# fuzz_all <seconds> <target...>: as many at once as there are processors.
fuzz_all() {
    local seconds=$1 running=0 most
    shift
    most=$(jobs)
    for target in "$@"; do
        if ((running == most)); then
            wait -n || true
            running=$((running - 1))
        fi
        fuzz_one "$target" "$seconds" &
        running=$((running + 1))
    done
    wait
}

# fuzz_one <target> <seconds>: what libFuzzer says goes to build/fuzz/<target>.log.
fuzz_one() {
    local target=$1 seconds=$2 program=$FUZZ/tests/fuzz/talvex_fuzz_$1 status=0
    local folders=("$FUZZ/corpus/$target" "$FUZZ/start/$target/seeds")
    mkdir -p -- "$FUZZ/corpus/$target"
    rm -rf -- "$FUZZ/findings/$target" "$FUZZ/start/$target"
    mkdir -p -- "$FUZZ/findings/$target" "$FUZZ/start/$target"
    if [[ -d tests/fuzz/corpus/$target ]]; then
        folders+=("tests/fuzz/corpus/$target")
    fi
    { under asan "$program" "--write=$FUZZ/start/$target" &&
        under asan "$program" -max_total_time="$seconds" -timeout=10 -max_len=4096 -entropic=0 \
            -rss_limit_mb=2048 -dict="$FUZZ/start/$target/words" -artifact_prefix="$FUZZ/findings/$target/" \
            -close_fd_mask=3 -print_final_stats=1 "${folders[@]}"; } >"$FUZZ/$target.log" 2>&1 || status=$?
    printf '%s\n' "$status" >"$FUZZ/$target.status"
}

# fuzz_again <target> <input>: how to repeat a finding, and what it says; the run before kept targets quiet.
fuzz_again() {
    local program=$FUZZ/tests/fuzz/talvex_fuzz_$1
    printf '   input: %s\n   again: %s %s\n' "$2" "$program" "$2"
    under asan timeout 60 "$program" "$2" 2>&1 |
        grep -m 5 -E 'does not hold: |ERROR: |runtime error: |SUMMARY: ' | sed 's/^/   /' || true
}

# fuzz_number <log> <sed expression>: the last number that it finds in a log, or "-".
fuzz_number() {
    local number
    number=$(sed -n "s/$2/\\1/p" "$1" | tail -n 1)
    printf '%s\n' "${number:--}"
}

# fuzz_report <target>: the row of a target. Returns 1 for a finding, which is shown with the command that repeats
# it.
fuzz_report() {
    local target=$1 log=$FUZZ/$1.log findings input
    findings=$(find "$FUZZ/findings/$target" -type f | wc -l)
    if ((findings == 0)) && [[ $(<"$FUZZ/$target.status") != 0 ]]; then
        findings=1 # it ended badly without an input that shows it
    fi
    fuzz_row "$target" "$(fuzz_number "$log" '^stat::number_of_executed_units: *\([0-9]*\)$')" \
        "$(fuzz_number "$log" '^stat::average_exec_per_sec: *\([0-9]*\)$')" \
        "$(fuzz_number "$log" '^#[0-9].* cov: \([0-9]*\) .*')" \
        "$(fuzz_number "$log" '^INFO: Loaded .* (\([0-9]*\) inline 8-bit counters).*')" \
        "$(fuzz_number "$log" '^#[0-9].* ft: \([0-9]*\) .*')" "$findings"
    if ((findings == 0)); then
        return 0
    fi
    for input in "$FUZZ/findings/$target"/*; do
        if [[ -f $input ]]; then
            fuzz_again "$target" "$input"
        else
            tail -n 20 "$log"
        fi
    done
    return 1
}
