# Messages and lists of files. Sourced by ./dev, which has changed to the root of the project.
# shellcheck shell=bash

# Messages of progress go here; a command whose standard output is data moves them away.
exec 3>&1

say_to_stderr() { exec 3>&2; }

say() { printf -- '-- %s\n' "$*" >&3; }

# die <text>: the end of the command.
die() {
    printf 'dev: %s\n' "$*" >&2
    exit 1
}

# logged <log> <command...>: runs it quietly; on failure shows the end of what it said and returns 1.
logged() {
    local log=$1
    shift
    mkdir -p -- "$(dirname -- "$log")"
    if "$@" >"$log" 2>&1; then
        return 0
    fi
    local command=$*
    printf 'dev: failed: %.200s\ndev: the end of %s:\n' "$command" "$log" >&2
    tail -n 60 -- "$log" >&2
    return 1
}

# The files of the project: what git knows or would add; without git, all but build folders.
project_files() {
    if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
        git ls-files --cached --others --exclude-standard --deduplicate | existing
    else
        find . \( -path ./build -o -path ./.git -o -path ./.cache \) -prune -o -type f -print | sed 's,^\./,,'
    fi
}

# Of the paths on standard input, those that are still there.
existing() {
    local path
    while IFS= read -r path; do
        if [[ -f $path ]]; then
            printf '%s\n' "$path"
        fi
    done
}

# Of the paths on standard input, the C and C++ files; the shell scripts.
c_family() { grep -E '\.(c|h|cpp|hpp)$' || true; }
shell_scripts() { grep -E '^(dev|\.ci/run)$|\.sh$' || true; }
