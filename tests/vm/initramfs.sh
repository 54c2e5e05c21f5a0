#!/bin/sh
# Packs a root file system for the guest, with the programs and the libraries that they need:
# initramfs.sh OUTPUT KERNEL_FOLDER KXUSB_CONF INIT PROGRAM...
set -eu
output=$1 kernel=$2 conf=$3 init=$4
shift 4
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT

mkdir -p "$root/bin" "$root/dev" "$root/etc" "$root/proc" "$root/sys" "$root/tmp" "$root/modules"
cp "$(command -v busybox)" "$root/bin/busybox"
cp "$init" "$root/init"
cp "$conf" "$root/etc/kxusb.conf"
cp "$kernel"/*.ko "$root/modules"
for program; do
  cp "$program" "$root/bin"
  ldd "$program" | sed -n 's/.*=> \(\/[^ ]*\) .*/\1/p; s/^[[:space:]]*\(\/[^ ]*\) .*/\1/p'
done | sort -u | while read -r library; do
  # All in the one place where the dynamic linker is asked for too, wherever they were found here.
  mkdir -p "$root/lib64"
  cp -L "$library" "$root/lib64"
done
strip "$root"/bin/* "$root"/lib64/* 2>/dev/null || true
(cd "$root" && find . | cpio --quiet -o -H newc -R 0:0) >"$output"
