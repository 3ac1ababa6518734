# bash completion for talvex                                                            -*- shell-script -*-
# shellcheck shell=bash

# The options of each command. A bus option is one that all commands have that talk to ECUs.
declare -A _talvex_options=(
    [talvex]='--help --version'
    [talvex demo]='--config --seconds --trace --no-color --help'
    [talvex info]='BUS'
    [talvex measure]='--seconds --period --csv --fail-on-loss BUS'
    [talvex read]='--raw BUS'
    [talvex write]='BUS'
    [talvex page]='--help'
    [talvex page working]='BUS'
    [talvex page reference]='BUS'
    [talvex page copy]='BUS'
    [talvex upload]='--dry-run --segment BUS'
    [talvex flash]='--dry-run --ignore-outside --no-erase BUS'
    [talvex erase]='--dry-run BUS'
    [talvex check]='--dry-run --ignore-outside --segment BUS'
    [talvex plan]='--period --unlimited --config --ecu --json --help'
    [talvex decode]='--xcp --ccp --config --json --stats --delta --no-color --help'
    [talvex hex]='--help'
    [talvex hex info]='--json --checksum --help'
    [talvex hex merge]='--json --out --overlap --help'
    [talvex hex crop]='--json --out --range --fill --help'
    [talvex hex convert]='--json --out --help'
    [talvex hex compare]='--json --help'
    [talvex sim]='--config --listen --bus --bus-name --trace --seconds --json --help'
)
declare -A _talvex_subcommands=(
    [talvex]='demo info measure read write page upload flash erase check decode hex plan sim'
    [talvex page]='working reference copy'
    [talvex hex]='info merge crop convert compare'
)
_talvex_bus_options='--config --ecu --bus --trace --log --log-level --json --no-color --help'

# Sets command to the words of the line so far that name one.
_talvex_command() {
    local i word
    command=talvex
    for ((i = 1; i < COMP_CWORD; ++i)); do
        word=${COMP_WORDS[i]}
        if [[ " ${_talvex_subcommands[$command]-} " == *" $word "* ]]; then
            command+=" $word"
        elif [[ $word != -* ]]; then
            return
        fi
    done
}

# The values of an option that has a few; @ stands for a file, and nothing for what cannot be guessed.
_talvex_values() {
    case $1 in
        -c | --config | --trace | --log | --csv | -o | --out) echo @ ;;
        --log-level) echo '0 1 2 3 4' ;;
        --segment) echo 'ram working reference code' ;;
        --overlap) echo 'error first last' ;;
        --checksum) echo 'add11 add12 add14 add22 add24 add44 crc16 crc16citt crc32' ;;
        -e | --ecu | --bus | --bus-name | --seconds | --period | --xcp | --ccp) echo ;;
        --range | --fill | --listen) echo ;;
        *) return 1 ;;
    esac
}

_talvex() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command candidates
    COMPREPLY=()
    _talvex_command
    if ! candidates=$(_talvex_values "$previous"); then
        if [[ $current == -* ]]; then
            candidates=${_talvex_options[$command]/BUS/$_talvex_bus_options}
        else
            candidates=${_talvex_subcommands[$command]-@}
        fi
    fi
    if [[ $candidates == @ ]]; then
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    else
        mapfile -t COMPREPLY < <(compgen -W "$candidates" -- "$current")
    fi
}

complete -F _talvex talvex
