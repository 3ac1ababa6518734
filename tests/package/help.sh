# What the built host tool says of itself, for tests that hold something against it. Sourced.
# shellcheck shell=bash

# options_in: of the words on standard input those that are options, sorted; all commands have --help.
options_in() {
    grep -oE '(^|[^[:alnum:]_-])(--[a-z][a-z-]*[a-z]|-[a-z])\b' | grep -oE -- '-.*' | grep -vxE -- '-h|--help' | sort -u
}

# options_of <program> <command...>: the options in the help of a command.
options_of() {
    "$@" --help | sed -nE 's/^  (-[^ ]+).*/\1/p' | tr ',' '\n' | options_in || true
}

# subcommands_of <program> <command...>: one a line.
subcommands_of() {
    "$@" --help | awk '/^Subcommands:/ { inside = 1; next } inside && /^  [a-z]/ { print $1 }'
}

# commands_of <program>: all that do something by themselves, one a line: "demo", "hex info".
commands_of() {
    local program=$1 command inner
    subcommands_of "$program" | while read -r command; do
        inner=$(subcommands_of "$program" "$command")
        if [[ -z $inner ]]; then
            echo "$command"
        else
            awk -v command="$command" '{ print command, $0 }' <<<"$inner"
        fi
    done
}

# differ <what> <wanted> <found>: false and a message if the lists are not the same.
differ() {
    if [[ $2 != "$3" ]]; then
        printf '%s\n' "$1:" >&2
        diff --label 'the help' --label 'found' -U 100 <(printf '%s\n' "$2") <(printf '%s\n' "$3") >&2
        return 0
    fi
    return 1
}
