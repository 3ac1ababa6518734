#!/usr/bin/env bash
# The completion for bash offers the commands and the long options that the host tool has, no more and no fewer.
# usage: completion.sh <program talvex> <completion>
set -euo pipefail

program=$1
# shellcheck source=tests/package/help.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/help.sh"
# shellcheck disable=SC1090
. "$2"

failures=0
fail() { failures=$((failures + 1)); }

# offers <word...>: what is offered for the last word, one a line.
offers() {
    COMP_WORDS=("$@")
    COMP_CWORD=$(($# - 1))
    _talvex
    printf '%s\n' "${COMPREPLY[@]}"
}

# expect <what> <offered words> <word...>
expect() {
    local what=$1 wanted=$2
    shift 2
    if [[ "$(offers "$@" | tr '\n' ' ')" != "$wanted " ]]; then
        printf '%s: offered "%s" instead of "%s"\n' "$what" "$(offers "$@" | tr '\n' ' ')" "$wanted" >&2
        fail
    fi
}

# An option that has two spellings is offered with the first of them.
long_options() { options_of "$@" | grep -E '^--' | grep -vx -- --no-colour | sort; }

compare_options() {
    # shellcheck disable=SC2086
    if differ "options offered for talvex $1" "$(long_options "$program" $1)" \
        "$(offers talvex $1 -- | grep -vx -- --help | sort)"; then
        fail
    fi
}

count=0
while read -r command; do
    compare_options "$command"
    count=$((count + 1))
done < <(commands_of "$program")
((count > 10)) || { echo 'the help has hardly any commands' >&2; fail; }
compare_options ''

for group in '' page hex; do
    # shellcheck disable=SC2086
    if differ "commands offered for talvex $group" "$(subcommands_of "$program" $group | sort)" \
        "$(offers talvex $group '' | sort)"; then
        fail
    fi
done

work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
cd -- "$work"
touch bench.toml bench.hex
expect 'a command that was begun' 'demo decode' talvex de
expect 'an option that was begun' '--listen' talvex sim --l
expect 'values of an option' 'error first last' talvex hex merge --overlap ''
expect 'a file for an option' 'bench.toml' talvex measure --config bench.t
expect 'a file behind an option' 'bench.hex' talvex flash --config bench.toml bench.h
expect 'a name that nobody knows' '' talvex measure --ecu ''
echo "$count commands compared with their help"
((failures == 0))
