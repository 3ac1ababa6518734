#!/bin/bash
# Tests of the soak's program by its short form.
# usage: soak_test.sh <case> <path of talvex_soak>
set -euo pipefail
case=$1
program=$2
output=''
status=0

# run <argument...>: its output and its exit code.
run() {
    output=$("$program" "$@" 2>&1) || status=$?
}

# fail <what was expected>: shows what came instead.
fail() {
    printf 'expected: %s\nexit code %d, output:\n%s\n' "$1" "$status" "$output" >&2
    exit 1
}

expect_exit() { ((status == $1)) || fail "exit code $1"; }

# expect_line <expression>: a line is wholly like it.
expect_line() { grep -qxE -- "$1" <<<"$output" || fail "a line like $1"; }

case $case in
    holds)
        run --seconds 5
        expect_exit 0
        expect_line ' *100 % .* 4 +[0-9]+'
        expect_line 'soak: held: .* 4 flashes; .*'
        ;;
    gap) # a DAQ frame that an ECU did not send
        run --seconds 2 --provoke gap
        expect_exit 1
        expect_line '  can xcp: .* came for event [0-9]+ behind event [0-9]+.*'
        expect_line 'soak: failed, [0-9]+ faults: .*'
        ;;
    log) # a line that was not announced
        run --seconds 2 --provoke log
        expect_exit 1
        expect_line '  a log line of level [34]: .+'
        expect_line 'soak: failed, [0-9]+ faults: .*'
        ;;
    leak) # memory that does not come back
        run --seconds 5 --provoke leak
        if grep -qF 'not judged' <<<"$output"; then
            echo 'skipped: the memory of a build with sanitizers is not judged'
            exit 77
        fi
        expect_exit 1
        expect_line '  resident size grew from [0-9]+ KiB behind the warm-up to [0-9]+ KiB'
        ;;
    slow) # a host that takes longer for the values than the buses for the frames: the buses wait
        run --seconds 3 --slow 2000
        expect_exit 0
        expect_line 'soak: held: .*'
        ;;
    usage)
        for arguments in '--minutes' '--minutes 0' '--seconds 5s' '--seconds -1' '--provoke' '--provoke x' '--slow x' '--all 1'; do
            status=0
            # shellcheck disable=SC2086  # several words
            run $arguments
            expect_exit 2
            expect_line 'usage: talvex_soak .*'
        done
        ;;
    *)
        echo "soak_test.sh: no case \"$case\"" >&2
        exit 2
        ;;
esac
