#!/bin/sh
# Puts a kernel and the modules of its USB stack into a folder, unless they are there: kernel.sh FOLDER
# They come from Debian's package, which is downloaded and unpacked but not installed. Ends with 77 when it
# cannot be had.
set -eu
folder=$1
[ -e "$folder/complete" ] && exit 0
rm -rf "$folder"
mkdir -p "$folder"
cd "$folder"

find_package() { apt-cache depends linux-image-amd64 2>/dev/null | sed -n 's/^ *Depends: \(linux-image-[0-9].*\)$/\1/p'; }
# A package list from yesterday may name what the archive no longer has.
package=$(find_package)
{ [ -n "$package" ] && apt-get download -q "$package"; } >log 2>&1 ||
  { apt-get update -q && package=$(find_package) && apt-get download -q "$package"; } >>log 2>&1 ||
  { echo "skipped: Debian's kernel package cannot be downloaded"; cat log; exit 77; }

modules='usb/common/usb-common.ko usb/core/usbcore.ko usb/host/xhci-hcd.ko usb/host/xhci-pci.ko'
patterns='./boot/vmlinuz-*'
for module in $modules; do patterns="$patterns */kernel/drivers/$module*"; done
# shellcheck disable=SC2086 # several patterns, for tar to expand
dpkg-deb --fsys-tarfile ./*.deb | (set -f; exec tar -x --wildcards $patterns)
rm ./*.deb
# In the order in which they are to be loaded.
n=0
for module in $modules; do
  n=$((n + 1))
  # Compressed and below usr/, from Debian 13 on.
  file=$(find . -path "*/kernel/drivers/$module*")
  case $file in
    *.xz) xz -dc "$file" ;;
    *) cat "$file" ;;
  esac >"$n-$(basename "$module")"
done

# The kernel proper boots faster in emulation than the program that unpacks it. Where it begins and ends is in
# the header, see "The Linux/x86 Boot Protocol": sectors of setup code, then offset and length.
number() { od -An -v -t "u$2" -j "$1" -N "$2" boot/vmlinuz-* | tr -d ' '; }
begin=$((($(number 497 1) + 1) * 512 + $(number 584 4)))
tail -c +$((begin + 1)) boot/vmlinuz-* | head -c "$(($(number 588 4) - 4))" >compressed # its size follows
case $(number $begin 4) in
  4247762216) zstd -dcq compressed ;; # from Debian 13 on
  *) xz -dc --single-stream compressed ;;
esac >vmlinux
rm -rf boot lib usr compressed
touch complete
