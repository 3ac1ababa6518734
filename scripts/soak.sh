# ./dev soak: four ECUs measured, polled, written to, switched and flashed for many minutes of bus time. Sourced by
# ./dev.
# shellcheck shell=bash

run_soak() {
    local minutes=30
    while (($#)); do
        case $1 in
            --minutes)
                [[ ${2:-} =~ ^[1-9][0-9]{0,4}$ ]] || die "--minutes takes a number of minutes"
                minutes=$2
                shift
                ;;
            *) die "soak has no option \"$1\"" ;;
        esac
        shift
    done
    need build tests
    build release talvex_soak
    say "$minutes minutes of bus time, as fast as this machine goes"
    run_built tests/soak/talvex_soak --minutes "$minutes"
}
