#!/bin/busybox sh
# shellcheck shell=dash
# The first process of the guest: brings up the kernel's side, runs the cases, powers off.

/bin/busybox --install -s /bin
export PATH=/bin
mount -t devtmpfs dev /dev
mount -t proc proc /proc
mount -t sysfs sys /sys
ip link set lo up
for module in can can-raw can-dev vcan; do
    insmod "/modules/$module.ko" 2>/dev/null || echo "module $module is not to be loaded"
done
for number in 0 1 2; do
    ip link add dev "vcan$number" type vcan
    ip link set "vcan$number" mtu 72 up
done
sh /talvex/cases.sh
poweroff -f
