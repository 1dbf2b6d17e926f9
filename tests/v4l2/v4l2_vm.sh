#!/usr/bin/env bash
# Runs a program of this machine inside a small virtual machine whose kernel has video devices of software (vivid).
# Usage: v4l2_vm.sh CACHE PROGRAM [ARGUMENT...]
# CACHE is a directory where the kernel stays from one run to the next. The program sees this machine's files, read-only
# and under their own paths (PROGRAM is one of them, or a name on the usual path, such as env), runs as root, and may
# write below /run, where TMPDIR and HOME lie. /dev/video0 and video2 capture, video1 gives metadata, video3 captures
# into several planes, v4l-touch0 is a touch pad.
# Status: the program's (95 for all above), 77 where this machine lacks what is needed, 124 when the time
# (VEXCAP_VM_SECONDS) was over.
set -euo pipefail

skip() {
    echo "SKIPPED: $1" >&2
    exit 77
}
for tool in qemu-system-x86_64 busybox cpio depmod modprobe dpkg-deb gzip flock setpriv timeout; do
    PATH=$PATH:/usr/sbin:/sbin command -v "$tool" >/dev/null || skip "$tool is not installed"
done
PATH=$PATH:/usr/sbin:/sbin
[[ $(uname -m) == x86_64 ]] || skip "the virtual machine is for x86_64"
! ldd "$(command -v busybox)" >/dev/null 2>&1 || skip "busybox-static is not installed"

mkdir -p "$1"
cache=$(cd "$1" && pwd)
shift
[[ $1 != */* ]] || set -- "$(realpath "$1")" "${@:2}"
scratch=$(mktemp -d)
fresh=
trap 'rm -rf "$scratch" "$fresh"' EXIT

# download_kernel: the package with Debian's newest kernel of this kind, into the present directory. Says why it failed.
download_kernel() {
    local package
    command -v apt-get >/dev/null || { echo "apt-get is not installed"; return 1; }
    package=$(apt-cache depends --important linux-image-amd64 2>/dev/null |
        sed -n 's/^ *Depends: \(linux-image-[^ ]*\)$/\1/p' | head -n 1)
    [[ $package ]] || { echo "the package lists name no kernel"; return 1; }
    timeout 120 apt-get -qq -o Acquire::Retries=1 download "$package" >download.log 2>&1 ||
        { echo "the kernel package $package cannot be downloaded: $(tail -n 1 download.log)"; return 1; }
}

# unpack_kernel: from the package in the present directory to `kernel` and `base.gz`, a root file system with busybox
# and the modules.
unpack_kernel() {
    local version module
    dpkg-deb -x ./*.deb unpacked
    version=$(ls unpacked/lib/modules)
    depmod -b unpacked -F "unpacked/boot/System.map-$version" "$version"
    mkdir -p root/{bin,proc,sys,dev,host} "root/lib/modules/$version"
    cp "$(command -v busybox)" root/bin/busybox
    cp "unpacked/lib/modules/$version"/modules.{order,builtin,builtin.modinfo} "root/lib/modules/$version"
    for module in virtio_pci 9pnet_virtio 9p vivid; do
        modprobe -d "$PWD/unpacked" -S "$version" --show-depends "$module"
    done | sed -n 's/^insmod \([^ ]*\).*/\1/p' | sort -u | while read -r module; do
        module=${module#"$PWD/unpacked"}
        mkdir -p "root/$(dirname "$module")"
        cp "unpacked/$module" "root/$module"
    done
    depmod -b root "$version"
    (cd root && find . | cpio --quiet -o -H newc -R 0:0 | gzip -1) >base.gz
    mv "unpacked/boot/vmlinuz-$version" kernel
}

# What is there once is used, also without a network; the kernel's own file comes last.
if [[ ! -e $cache/kernel ]]; then
    exec 9>"$cache/lock"
    flock 9  # two tests may want it at the same time
    if [[ ! -e $cache/kernel ]]; then
        fresh=$cache/new
        rm -rf "$fresh"
        mkdir "$fresh"
        cd "$fresh"
        why=$(download_kernel) || skip "$why"
        unpack_kernel
        mv base.gz kernel "$cache"
        cd /
    fi
    exec 9>&-
fi

# quoted WORD...: the words as a shell reads them back.
quoted() {
    local word
    for word in "$@"; do printf "'%s' " "${word//\'/\'\\\'\'}"; done
}
mkdir "$scratch/init"
cat >"$scratch/init/init" <<INIT
#!/bin/busybox sh
/bin/busybox --install -s /bin
mount -t proc p /proc
mount -t sysfs s /sys
mount -t devtmpfs d /dev
for module in virtio_pci 9pnet_virtio 9p; do modprobe \$module; done
modprobe vivid n_devs=3 node_types=0xa0001,0x1,0x1 num_inputs=1,1,1 input_types=0x0,0x0,0x0 multiplanar=1,1,2
mount -t 9p -o trans=virtio,version=9p2000.L,ro,msize=262144 host /host
mount -t devtmpfs d /host/dev
mount -t proc p /host/proc
mount -t sysfs s /host/sys
mount -t tmpfs t /host/run
ip link set lo up 2>/dev/null
cd /
env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/run TMPDIR=/run chroot /host $(quoted "$@") 2>&1
rc=\$?
echo "The program ended with \$rc"
# The status goes out by a port of the machine, as twice itself and 33: what the emulator says by itself is less.
[ \$rc -le 95 ] || rc=95
printf "\\\\\$(printf %03o \$((rc + 16)))" | dd of=/dev/port bs=1 seek=1281 2>/dev/null
poweroff -f
INIT
chmod +x "$scratch/init/init"
(cd "$scratch/init" && find . | cpio --quiet -o -H newc -R 0:0 | gzip -1) >"$scratch/init.gz"
cat "$cache/base.gz" "$scratch/init.gz" >"$scratch/initrd"

# The emulated machine is slow and has no wide vector units: those of the emulator cannot be relied upon. Programs of
# the thread sanitizer need SSE 4.2, and addresses that are not spread.
# shellcheck disable=SC2054
machine=(qemu-system-x86_64 -machine q35,accel=tcg -cpu qemu64,+ssse3,+sse4.1,+sse4.2,+popcnt -m 768 -smp 1
    -nodefaults -no-user-config -display none -nic none -serial stdio -no-reboot
    -kernel "$cache/kernel" -initrd "$scratch/initrd" -append "console=ttyS0 quiet panic=-1 loglevel=3 norandmaps"
    -fsdev local,id=h,path=/,security_model=none,readonly=on,multidevs=remap
    -device virtio-9p-pci,fsdev=h,mount_tag=host -device isa-debug-exit,iobase=0x501,iosize=1)
status=0
# It ends with this script, whatever ends the script.
setpriv --pdeathsig TERM timeout -k 5 "${VEXCAP_VM_SECONDS:-240}" "${machine[@]}" </dev/null || status=$?
if [[ $status -eq 124 || $status -eq 137 ]]; then
    echo "The virtual machine was ended after its time." >&2
    exit 124
fi
if [[ $status -lt 33 || $((status % 2)) -eq 0 ]]; then
    echo "The virtual machine ended with $status, before the program did." >&2
    exit 1
fi
exit $(((status - 33) / 2))
