# ./dev socketcan: the host tool and simulated ECUs on virtual CAN devices of a real Linux kernel. It runs inside
# an emulator, so the machine's own kernel needs no CAN and nobody needs to be root. Sourced by ./dev.
# shellcheck shell=bash

# What is kept between runs: build/socketcan/kernel, unpacked from Debian's package.
readonly SOCKETCAN=build/socketcan
readonly CAN_MODULES='can can-raw can-dev vcan'

run_socketcan() {
    need build host socketcan
    build release talvex || return 1
    fetch_kernel
    make_guest
    run_guest
}

# The newest kernel of the distribution, without installing it: only its files are of use.
fetch_kernel() {
    if compgen -G "$SOCKETCAN/kernel/boot/vmlinuz-*" >/dev/null; then
        return
    fi
    local package folder=$PWD/$SOCKETCAN
    package=$(apt-cache depends linux-image-amd64 2>/dev/null |
        awk '/Depends: linux-image-[0-9]/ { print $2; exit }')
    [[ -n $package ]] || die "the package lists name no kernel behind linux-image-amd64; socketcan needs one"
    say "fetching $package"
    mkdir -p -- "$folder"
    (cd -- "$folder" && logged "$folder/kernel.log" apt-get download "$package") ||
        die "the kernel $package is not to be had here; socketcan cannot run without it"
    dpkg-deb -x "$folder/$package"_*.deb "$folder/kernel"
    rm -f -- "$folder/$package"_*.deb
}

# The root file system of the guest: busybox, the modules, the host tool with its libraries, and the cases.
make_guest() {
    local guest=$SOCKETCAN/root module file
    rm -rf -- "$guest"
    mkdir -p -- "$guest"/{bin,dev,proc,sys,tmp,modules,talvex}
    cp -- "$(command -v busybox)" "$guest/bin/busybox"
    for module in $CAN_MODULES; do
        find "$SOCKETCAN/kernel" -name "$module.ko" -exec cp -- {} "$guest/modules/" \;
    done
    copy_program build/release/host/talvex "$guest"
    # The emulated machine is slow; patience costs nothing where all goes well.
    sed -E 's/command_ms = [0-9]+/command_ms = 5000/; s/long_ms = [0-9]+/long_ms = 20000/' \
        examples/demo.toml >"$guest/talvex/demo.toml"
    for file in tests/socketcan/*.sh; do
        cp -- "$file" "$guest/talvex/"
    done
    head -c 8000 build/release/host/talvex >"$SOCKETCAN/image.bin"
    objcopy -I binary -O ihex --change-addresses 0x80040 "$SOCKETCAN/image.bin" "$guest/talvex/image.hex"
    install -m 755 tests/socketcan/init.sh "$guest/init"
    (cd -- "$guest" && find . -print0 | cpio --null --create --format newc --quiet | gzip -1) \
        >"$SOCKETCAN/root.cpio.gz"
}

# copy_program <program> <guest>: with the shared libraries that it loads, each where it is looked for.
copy_program() {
    local program=$1 guest=$2 library
    cp -- "$program" "$guest/bin/"
    ldd "$program" | grep -oE '/[^ ]+' | while IFS= read -r library; do
        mkdir -p -- "$guest$(dirname -- "$library")"
        cp -L -- "$library" "$guest$library"
    done
}

run_guest() {
    local kernel=("$SOCKETCAN"/kernel/boot/vmlinuz-*) log=$SOCKETCAN/guest.log
    say "booting ${kernel[0]##*/vmlinuz-}"
    timeout 900 qemu-system-x86_64 -kernel "${kernel[0]}" -initrd "$SOCKETCAN/root.cpio.gz" \
        -append 'console=ttyS0 quiet panic=-1' -display none -serial stdio -monitor none -no-reboot \
        -m 768 -smp 2 </dev/null 2>&1 | tr -d '\r' | tee "$log" | grep --line-buffered -E '^(ok|FAILED|  \|) ' || true
    grep -q '^all cases ran: ' "$log" || die "the guest did not get to its end; see $log"
    say "socketcan: $(grep '^all cases ran: ' "$log")"
    grep -q '^all cases ran: [1-9][0-9]* ok, 0 failed$' "$log"
}
