#!/bin/busybox sh
# shellcheck shell=dash
# Runs inside the guest: the host tool in one process, the simulated ECUs in another, a real kernel between them.
# Three virtual devices stand for the three buses of the example; chassis is one of CAN FD.

cd /tmp || exit 1
passed=0
failed=0

buses='--config /talvex/demo.toml --bus powertrain=socketcan:vcan0 --bus chassis=socketcan:vcan1
       --bus transmission=socketcan:vcan2'

# verdict <name> <0 or 1>: counts and prints; shows the output of the last command if it failed.
verdict() {
    if [ "$2" -eq 0 ]; then
        passed=$((passed + 1))
        echo "ok $1"
    else
        failed=$((failed + 1))
        echo "FAILED $1"
        tail -n 30 /tmp/out | sed 's/^/  | /'
    fi
}

# talvex_ends <code> <arguments...>: whether the host tool ends with that exit code.
talvex_ends() {
    wanted=$1
    shift
    timeout 300 talvex "$@" >/tmp/out 2>&1
    code=$?
    echo "exit code $code" >>/tmp/out
    [ "$code" -eq "$wanted" ]
}

# holds <pattern>: whether the output of the last command has it.
holds() { grep -qE "$1" /tmp/out; }

# has_lines <count> <file>: whether the file has more lines than that.
has_lines() { [ -f "$2" ] && [ "$(wc -l <"$2")" -gt "$1" ]; }

# soon <command...>: whether it succeeds within two minutes.
soon() {
    left=1200
    until "$@"; do
        left=$((left - 1))
        [ "$left" -gt 0 ] || return 1
        sleep 0.1
    done
}

# shellcheck disable=SC2086  # the options are words of their own
{
    talvex sim --config /talvex/demo.toml --json --bus powertrain=socketcan:vcan0 \
        --bus chassis=socketcan:vcan1 --bus transmission=socketcan:vcan2 >/tmp/sim.out 2>/tmp/sim.err &
    sim=$!
    soon grep -q ready /tmp/sim.out
    ready=$?
    cat /tmp/sim.out /tmp/sim.err >/tmp/out
    verdict 'simulated ECUs run on the kernel' "$ready"

    talvex_ends 0 read $buses --ecu engine idle_setpoint && holds '780'
    verdict 'classic CAN: a variable is read' $?
    talvex_ends 0 read $buses --ecu chassis build_number && holds '40961'
    verdict 'CAN FD: a variable is read' $?
    talvex_ends 0 read $buses --ecu gearbox software_id && holds '7340121'
    verdict 'CCP: a variable is read' $?

    talvex_ends 0 measure $buses --ecu engine --seconds 3 --fail-on-loss --csv /tmp/engine.csv \
        ctl_count throttle_pos uptime
    verdict 'classic CAN: measured without a gap' $?
    has_lines 250 /tmp/engine.csv
    verdict 'classic CAN: the file has the values' $?
    talvex_ends 0 measure $buses --ecu chassis --seconds 3 --fail-on-loss --csv /tmp/chassis.csv \
        --trace /tmp/chassis.log frame_count lateral_acc
    verdict 'CAN FD: measured without a gap' $?
    grep -q '##1' /tmp/chassis.log && awk '$1 < last { exit 1 } { last = $1 }' /tmp/chassis.log
    verdict 'CAN FD: the trace has frames with a bit rate switch in the order of the kernel' $?

    talvex_ends 0 write $buses --ecu engine "idle_speed=820"
    verdict 'a calibration value is written and read back' $?
    talvex_ends 0 flash $buses --ecu engine /talvex/image.hex
    verdict 'classic CAN: an image is programmed and verified' $?
    talvex_ends 0 check $buses --ecu engine /talvex/image.hex
    verdict 'the image is still there for another process' $?
    talvex_ends 9 check $buses --ecu gearbox /talvex/image.hex || talvex_ends 1 check $buses --ecu gearbox /talvex/image.hex
    verdict 'an ECU that does not hold the image fails the check' $?

    talvex_ends 4 read $buses --bus powertrain=socketcan:vcan7 --ecu engine idle_setpoint && holds 'vcan7'
    verdict 'a device that is not there is named' $?

    talvex measure $buses --ecu engine --seconds 120 --csv /tmp/cut.csv ctl_count >/tmp/out 2>&1 &
    measurement=$!
    soon has_lines 20 /tmp/cut.csv
    started=$?
    ip link set vcan0 down
    wait "$measurement"
    code=$?
    echo "exit code $code" >>/tmp/out
    [ "$started" -eq 0 ] && [ "$code" -eq 4 ] && holds 'vcan0'
    verdict 'a bus that is taken down ends the measurement' $?
    [ "$(tail -c 1 /tmp/cut.csv | od -An -tx1 | tr -d ' ')" = 0a ]
    verdict 'what was measured until then is whole' $?

    kill -INT "$sim"
    wait "$sim"
    code=$?
    cat /tmp/sim.out /tmp/sim.err >/tmp/out
    echo "exit code $code" >>/tmp/out
    [ "$code" -eq 4 ] || [ "$code" -eq 130 ]
    verdict 'the simulation ends' $?
}

echo "all cases ran: $passed ok, $failed failed"
