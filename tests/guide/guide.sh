#!/usr/bin/env bash
# Runs the commands of docs/guide.md one after another, as a reader would type them: every block marked "sh", in one
# shell, in a copy of the examples. A command that is to fail says so behind it: "# exit code 9".
# usage: guide.sh <source folder> <folder of the built host tool>
set -euo pipefail

source_folder=$1
program_folder=$2

work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf -- "$work"' EXIT
mkdir -p -- "$work/build/release"
ln -s -- "$program_folder" "$work/build/release/host"
cp -r -- "$source_folder/examples" "$work/examples"

# The commands of all blocks. Each is shown before it runs; the exit code is checked against the one that is named.
commands() {
    awk '/^```sh$/ { inside = 1; next } /^```$/ { inside = 0 } inside' "$source_folder/docs/guide.md"
}

# Until the server that runs in the background can be reached; a reader types slower than it starts.
await_server() {
    local left=600
    until (exec 3<>/dev/tcp/127.0.0.1/29536) 2>/dev/null; do
        left=$((left - 1))
        ((left > 0)) || { echo 'guide: nobody listens on port 29536' >&2; exit 1; }
        sleep 0.1
    done
}

# expect <code> <command>: runs it in this shell and compares its exit code.
expect() {
    local wanted=$1 code=0
    printf '$ %s\n' "$2"
    eval "$2" || code=$?
    if [[ $2 == *'&' ]]; then
        await_server
    fi
    if [[ $code -ne $wanted ]]; then
        printf 'guide: exit code %s instead of %s: %s\n' "$code" "$wanted" "$2" >&2
        exit 1
    fi
}

cd -- "$work"
count=0
while IFS= read -r line; do
    [[ -n $line ]] || continue
    wanted=0
    if [[ $line =~ '# exit code '([0-9]+)$ ]]; then
        wanted=${BASH_REMATCH[1]}
    fi
    expect "$wanted" "$line" </dev/null
    count=$((count + 1))
done < <(commands)
((count > 0)) || { echo 'guide: no commands found' >&2; exit 1; }
echo "guide: $count commands did what the guide says"
