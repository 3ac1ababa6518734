# ./dev package: Debian packages, looked at by lintian and installed into a root that holds nothing else. Sourced by ./dev.
# shellcheck shell=bash

readonly PACKAGES_FOLDER=build/package/packages

run_package() {
    need build host package
    build package TalvexSDK talvex talvex-seedkey
    rm -rf -- "$PACKAGES_FOLDER"
    logged build/package/cpack.log cpack --config build/package/CPackConfig.cmake -B "$PACKAGES_FOLDER"
    rm -rf -- "$PACKAGES_FOLDER/_CPack_Packages"
    say "packages in $PACKAGES_FOLDER: $(cd -- "$PACKAGES_FOLDER" && echo ./*.deb | sed 's,\./,,g')"
    logged build/package/lintian.log look_with_lintian
    say 'lintian: no error, no warning'
    prove_packages
}

# lintian does not like to run as root and says so with every run; otherwise it runs as anybody.
look_with_lintian() {
    local root_too=()
    if [[ $EUID -eq 0 ]]; then
        root_too=(--allow-root)
    fi
    lintian "${root_too[@]}" --fail-on error,warning -- "$PACKAGES_FOLDER"/*.deb
}

# The tool from its packages, where nothing of this project lies otherwise. Only root can make a root of Debian; anybody
# can unpack the packages and start the tool with the libraries of this system.
prove_packages() {
    if [[ $EUID -eq 0 ]]; then
        make_debian_root
        install_in_root
        say 'installed into a new root of Debian that has its required packages only'
        try_tool chroot build/package/root
    else
        unpack_packages
        say 'unpacked into an empty folder, as only root can install; its other libraries are those of this system'
        try_tool env -C build/package/root PATH="$PWD/build/package/root/usr/bin:$PATH" \
            LD_LIBRARY_PATH="$(library_folder)"
    fi
}

# make_debian_root: the smallest Debian of this release, kept in a folder beside the one that packages go into.
make_debian_root() {
    local kept=build/package/debian mirror release
    if [[ ! -f $kept/complete ]]; then
        mirror=$(apt-get indextargets --format "\$(SITE)" 'Created-By: Packages' | head -n 1)
        release=$(. /etc/os-release && echo "$VERSION_CODENAME")
        rm -rf -- "$kept"
        mkdir -p -- "$kept"
        say "making a root of Debian $release"
        logged build/package/debootstrap.log debootstrap --variant=minbase "$release" "$kept/root" "$mirror"
        logged build/package/root-update.log chroot "$kept/root" apt-get -q update
        touch "$kept/complete"
    fi
    rm -rf -- build/package/root
    cp -a -- "$kept/root" build/package/root
}

# What the packages depend on and recommend comes with them: that is what their fields are for.
install_in_root() {
    cp -- "$PACKAGES_FOLDER"/*.deb build/package/root/tmp
    logged build/package/root-install.log chroot build/package/root sh -c \
        'DEBIAN_FRONTEND=noninteractive apt-get -q install -y /tmp/*.deb'
}

unpack_packages() {
    local package
    rm -rf -- build/package/root
    for package in "$PACKAGES_FOLDER"/*.deb; do
        dpkg-deb --extract "$package" build/package/root
    done
}

library_folder() { dirname -- "$(find "$PWD/build/package/root/usr/lib" -name 'libTalvexSDK.so.*' -print -quit)"; }

# try_tool <command...>: the tool, started through the command from the root folder of the packages.
try_tool() {
    local examples=usr/share/doc/talvex/examples version
    version=$("$@" talvex --version)
    [[ $version == "talvex $(sed -n 's/^project(TalvexSDK VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)" ]] ||
        die "the installed tool is $version"
    logged build/package/decode.log "$@" talvex decode "$examples/demo.log" --xcp 600:601
    logged build/package/demo.log "$@" talvex demo --seconds 1 "$examples/demo.toml"
    say "$version: decoded $(grep -c ' <- ' build/package/decode.log) answers"
    say "demo: $(tail -n 1 build/package/demo.log)"
}
