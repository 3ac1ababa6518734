# Debian packages that a command needs. Sourced by ./dev, which holds the table PACKAGES.
# shellcheck shell=bash

# rows <group...>: the rows of the table for these groups.
rows() {
    local group
    for group in "$@"; do
        awk -v group="$group" '$1 == group' <<<"$PACKAGES"
    done
}

# need <group...>: installs what is missing of the groups, or ends the command with what to do.
need() {
    if command -v dpkg-query >/dev/null && command -v apt-get >/dev/null; then
        need_packages "$@"
    else
        need_programs "$@"
    fi
}

need_packages() {
    local wanted missing
    mapfile -t wanted < <(rows "$@" | awk '{ print $2 }')
    missing=$(comm -23 <(printf '%s\n' "${wanted[@]}" | sort -u) <(installed "${wanted[@]}" | sort -u))
    if [[ -n $missing ]]; then
        mapfile -t missing <<<"$missing"
        install_packages "${missing[@]}"
    fi
}

# installed <package...>: those of them that are.
installed() {
    { dpkg-query -W -f='${Package} ${db:Status-Status}\n' "$@" 2>/dev/null || true; } |
        awk '$2 == "installed" { print $1 }'
}

install_packages() {
    local sudo=()
    if [[ $EUID -ne 0 ]]; then
        if ! sudo -n true 2>/dev/null; then
            die "packages are missing; install them with: sudo apt-get install -y --no-install-recommends $*"
        fi
        sudo=(sudo -n)
    fi
    say "installing $*"
    sudo+=(env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300)
    logged build/apt-update.log "${sudo[@]}" update || say "the package lists are not all fresh; trying anyway"
    logged build/apt-install.log "${sudo[@]}" install -y --no-install-recommends "$@" ||
        die "could not install: $*"
}

# Systems without apt-get: the programs must be there; CMake finds the libraries or says so.
need_programs() {
    local missing=() kind name
    while read -r _ _ kind name; do
        if [[ $kind == program ]] && ! command -v "$name" >/dev/null; then
            missing+=("$name")
        fi
    done < <(rows "$@")
    if ((${#missing[@]})); then
        die "this is no Debian system; install these programs by hand: ${missing[*]}" \
            "and these libraries: $(rows "$@" | awk '$3 == "library" { printf "%s ", $4 }')"
    fi
}
