#!/bin/bash
# fresh_enter.sh SYSTEM FOLDER COMMAND [VARIABLE=VALUE...]
#
# Run in new mount and process-id namespaces: gives the system its own /proc, /sys, /dev and /run, makes it the root,
# lets go of the old one, and runs the command in FOLDER with these variables and no others.
set -euo pipefail
system="$1" folder="$2" command="$3"
shift 3

# Network namespaces want to change the propagation of "/", so the system has to be a mount and the real root: in a
# plain chroot they cannot.
mount --bind "$system" "$system"
mount -t proc -o nosuid,nodev,noexec proc "$system/proc"
mount -t sysfs -o nosuid,nodev,noexec sysfs "$system/sys"
mount -t tmpfs -o nosuid,nodev,mode=755 tmpfs "$system/run"
mount -t tmpfs -o nosuid,mode=755 tmpfs "$system/dev"
mkdir "$system/dev/pts" "$system/dev/shm" "$system/dev/net"
mount -t devpts -o newinstance,ptmxmode=0666,mode=620 devpts "$system/dev/pts"
mount -t tmpfs -o nosuid,nodev,mode=1777 tmpfs "$system/dev/shm"
for device in null zero full random urandom tty net/tun; do
    [[ -e "/dev/$device" ]] || continue
    : >"$system/dev/$device"
    mount --bind "/dev/$device" "$system/dev/$device"
done
ln -s pts/ptmx "$system/dev/ptmx"
ln -s /proc/self/fd "$system/dev/fd"
for stream in 0:stdin 1:stdout 2:stderr; do ln -s "/proc/self/fd/${stream%:*}" "$system/dev/${stream#*:}"; done
mkdir -p "$system/run/lock"
hostname fresh

cd "$system"
mkdir -p .old-root
pivot_root . .old-root
cd /
umount --lazy /.old-root
rmdir /.old-root

cd "$folder"
exec env -i "$@" bash -c "$command"
