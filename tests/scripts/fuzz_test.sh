#!/bin/bash
# Tests of scripts/fuzz.sh in a folder of its own, with programs that say what libFuzzer says.
# usage: fuzz_test.sh <root of the project>
set -euo pipefail
project=$(readlink -f -- "$1")
folder=$(mktemp -d)
trap 'rm -rf -- "$folder"' EXIT
cd -- "$folder"
wrong=0

# The target Quiet finds nothing, Loud finds an input, Broken ends without one.
mkdir -p tests/fuzz build/fuzz/tests/fuzz
touch tests/fuzz/{Quiet,Loud,Broken}Fuzz.cpp
cat >build/fuzz/tests/fuzz/talvex_fuzz_Quiet <<'TXT'
#!/bin/bash
for argument in "$@"; do
    [[ $argument == --write=* ]] && exit 0
    [[ $argument == -max_total_time=* ]] && echo "${argument#*=}" >seconds
done
echo 'INFO: Loaded 1 modules   (500 inline 8-bit counters): 500 [0x55, 0x56), '
echo '#12	INITED cov: 100 ft: 210 corp: 3/9b exec/s: 0 rss: 40Mb'
echo '#4096	NEW    cov: 120 ft: 230 corp: 4/9b lim: 4 exec/s: 4096 rss: 40Mb L: 3/3 MS: 1 EraseBytes-'
echo '#9000	DONE   cov: 120 ft: 231 corp: 5/9b lim: 4 exec/s: 4500 rss: 40Mb'
echo 'stat::number_of_executed_units: 9000'
echo 'stat::average_exec_per_sec:     4500'
TXT
cat >build/fuzz/tests/fuzz/talvex_fuzz_Loud <<'TXT'
#!/bin/bash
prefix=
for argument in "$@"; do
    [[ $argument == --write=* ]] && exit 0
    [[ $argument == -artifact_prefix=* ]] && prefix=${argument#*=}
done
[[ -n $prefix ]] && echo x >"${prefix}crash-1"
echo 'does not hold: a test is loud' >&2
exit 77
TXT
cat >build/fuzz/tests/fuzz/talvex_fuzz_Broken <<'TXT'
#!/bin/bash
echo 'cannot begin'
exit 1
TXT
chmod +x build/fuzz/tests/fuzz/*

# fuzz <argument...>: as ./dev fuzz, without installing and building.
fuzz() (
    . "$project/scripts/common.sh"
    . "$project/scripts/build.sh"
    . "$project/scripts/fuzz.sh"
    need() { :; }
    build() { :; }
    jobs() { echo 2; }
    run_fuzz "$@"
) 2>&1

# expect <case> <exit status> <expected output, lines joined by ";"> <argument...>
expect() {
    local name=$1 wanted_status=$2 wanted=$3 got status=0
    shift 3
    got=$(fuzz "$@") || status=$?
    got=$(tr -s ' ' <<<"$got" | paste -sd ';')
    if ((status != wanted_status)) || [[ $got != "$wanted" ]]; then
        printf '%s\n  expected: %d %s\n  got:      %d %s\n' "$name" "$wanted_status" "$wanted" "$status" "$got"
        wrong=$((wrong + 1))
    fi
}

header='target executions exec/s edges of features findings'
quiet='Quiet 9000 4500 120 500 231 0'

expect 'a run without a finding' 0 "-- fuzzing for 7 s each: Quiet;$header;$quiet" --seconds 7 Quiet
[[ $(<seconds) == 7 ]] || { echo "the target was told $(<seconds) seconds"; wrong=$((wrong + 1)); }

expect 'a target that is named twice runs once' 0 "-- fuzzing for 60 s each: Quiet;$header;$quiet" Quiet Quiet
[[ $(<seconds) == 60 ]] || { echo "the target was told $(<seconds) seconds"; wrong=$((wrong + 1)); }

expect 'a finding names its input and the command that repeats it' 1 \
    "-- fuzzing for 1 s each: Loud;$header;Loud - - - - - 1; input: build/fuzz/findings/Loud/crash-1;\
 again: build/fuzz/tests/fuzz/talvex_fuzz_Loud build/fuzz/findings/Loud/crash-1;\
 does not hold: a test is loud" --seconds 1 Loud

expect 'a target that ends without an input shows what it said' 1 \
    "-- fuzzing for 1 s each: Broken;$header;Broken - - - - - 1;cannot begin" --seconds 1 Broken

expect 'without names all targets run' 1 \
    "-- fuzzing for 1 s each: Broken Loud Quiet;$header;Broken - - - - - 1;cannot begin;Loud - - - - - 1;\
 input: build/fuzz/findings/Loud/crash-1;\
 again: build/fuzz/tests/fuzz/talvex_fuzz_Loud build/fuzz/findings/Loud/crash-1;\
 does not hold: a test is loud;$quiet" --seconds 1

expect 'an unknown target is named beside those there are' 1 \
    'dev: no fuzz target "Silent"; there are: Broken Loud Quiet' Quiet Silent

expect 'an unknown option' 1 'dev: fuzz has no option "--minutes"; there is --seconds' --minutes 1

for number in 0 -1 1.5 ten 1s '' 1000000; do
    expect "$number is no number of seconds" 1 \
        "dev: --seconds takes a number of seconds, 1 to 999999; found \"$number\"" --seconds "$number"
done

expect 'a number that is missing' 1 'dev: --seconds takes a number of seconds, 1 or more' --seconds

((wrong == 0))
