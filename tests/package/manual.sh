#!/usr/bin/env bash
# The man pages name the commands and options that the programs have, no more and no fewer, and all exit codes.
# usage: manual.sh <program talvex> <program talvex-seedkey> <folder of the pages> <header of the exit codes>
set -euo pipefail

program=$1
helper=$2
pages=$3
exit_codes=$4
# shellcheck source=tests/package/help.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/help.sh"

failures=0
fail() { failures=$((failures + 1)); }

# section <heading> <page>: the plain text below a heading, up to the next one.
section() {
    sed -e 's/\\-/-/g' -e 's/\\f[A-Z]/ /g' "$2" |
        awk -v heading="$1" '/^\.S[HS]/ { inside = index($0 " ", heading " ") == 5; next } inside'
}

page=$pages/talvex.1
bus_options=$(section 'BUS OPTIONS' "$page" | options_in)
count=0
while read -r command; do
    heading="talvex $command"
    line=$(grep -E "^\.SS $heading( |\$)" "$page" || true)
    if [[ -z $line ]]; then
        echo "talvex.1 has no section $heading" >&2
        fail
        continue
    fi
    found=$(section "$heading" "$page" | options_in || true)
    if [[ $line == *'[bus options]'* ]]; then
        found=$(printf '%s\n%s\n' "$found" "$bus_options" | sed '/^$/d' | sort -u)
    fi
    # shellcheck disable=SC2086
    if differ "options of $heading in talvex.1" "$(options_of "$program" $command)" "$found"; then
        fail
    fi
    count=$((count + 1))
done < <(commands_of "$program")
((count > 10)) || { echo 'the help has hardly any commands' >&2; fail; }

if differ 'sections of talvex.1' "$(commands_of "$program" | sort)" \
    "$(sed -nE 's/^\.SS talvex (([a-z]+ ?)+).*/\1/p' "$page" | sed 's/ *$//' | sort)"; then
    fail
fi
if differ 'exit codes in talvex.1' "$(sed -nE 's/^ +[a-zA-Z]+ = ([0-9]+),.*/\1/p' "$exit_codes")" \
    "$(section 'EXIT STATUS' "$page" | sed -nE 's/^\.B ([0-9]+)$/\1/p')"; then
    fail
fi
if differ 'options of talvex-seedkey' "$("$helper" --help | options_in)" \
    "$(section OPTIONS "$pages/talvex-seedkey.1" | options_in)"; then
    fail
fi

if command -v groff >/dev/null; then
    for each in "$pages"/*.1; do
        complaints=$(groff -man -ww -z -Tutf8 "$each" 2>&1)
        if [[ -n $complaints ]]; then
            printf '%s\n' "$complaints" >&2
            fail
        fi
    done
else
    echo 'no groff here: the form of the pages was not looked at'
fi
echo "$count commands compared with their help"
((failures == 0))
