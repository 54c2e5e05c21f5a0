#!/bin/sh
# Looks into the Debian packages: packages_test.sh PACKAGES
set -eu
packages=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

package() { echo "$packages/$1"_*_*.deb; }

# expect PACKAGE PATH...: it holds these
expect() {
  name=$1
  shift
  dpkg-deb --fsys-tarfile "$(package "$name")" | tar -t | sed 's/^\.//' >"$work/$name.files"
  for path in "$@"; do
    grep -qE "^$path\$" "$work/$name.files" || { echo "$name lacks $path"; cat "$work/$name.files"; exit 1; }
  done
  if grep -vE '^/(usr|etc)?(/|$)' "$work/$name.files"; then echo "$name: outside /usr and /etc"; exit 1; fi
  dpkg-deb -x "$(package "$name")" "$work/root"
}

# depends PACKAGE PATTERN...: on each of them
depends() {
  name=$1
  shift
  on=$(dpkg-deb -f "$(package "$name")" Depends)
  for pattern in "$@"; do
    echo ", $on," | grep -qE ", $pattern( \([^)]*\))?," || { echo "$name depends on $on, not on $pattern"; exit 1; }
  done
}

lib='/usr/lib(/[a-z0-9_-]+)?'
expect libkxcam1 "$lib/libkxcam\.so\.1" "$lib/libkxcam\.so\.1\.[0-9.]+" /etc/kxusb.conf \
  /usr/lib/udev/rules.d/70-kxcam.rules /usr/share/doc/libkxcam1/copyright
expect libkxcam-dev "$lib/libkxcam\.so" /usr/include/kxcam/kxcam.h "$lib/pkgconfig/kxcam\.pc" \
  "$lib/cmake/kxcam/kxcamConfig\.cmake" /usr/share/doc/libkxcam-dev/guide.md \
  /usr/share/doc/libkxcam-dev/examples/first_picture.c
expect kxcam-tools /usr/bin/kxcam /usr/share/man/man1/kxcam.1.gz /usr/share/bash-completion/completions/kxcam
expect kxcam-sim /usr/bin/kxsim "$lib/kxcam/libkxsim-usbfs\.so" "$lib/kxcam/kxsim\.conf" /usr/share/man/man1/kxsim.1.gz
expect kxcam-gentl "$lib/gentl/kxcam\.cti" /etc/profile.d/kxcam-gentl.sh /usr/lib/environment.d/60-kxcam-gentl.conf
# The variable names the folder, once, behind what is there.
found=$(GENICAM_GENTL64_PATH=/other sh -c '. "$1/etc/profile.d/kxcam-gentl.sh"; . "$1/etc/profile.d/kxcam-gentl.sh"
  echo "$GENICAM_GENTL64_PATH"' - "$work/root")
[ "${found%%:*}" = /other ] && [ -s "$work/root${found#/other:}/kxcam.cti" ] || { echo "path: $found"; exit 1; }
grep -qF "${found#/other:}" "$work/root/usr/lib/environment.d/60-kxcam-gentl.conf"
# Where GStreamer was there to build it.
gst=$(find "$packages" -name 'gstreamer1.0-kxcam_*')
[ -z "$gst" ] || expect gstreamer1.0-kxcam "$lib/gstreamer-1\.0/libgstkxcam\.so" /usr/share/doc/gstreamer1.0-kxcam/copyright
# Where there was what wheels are made with.
python=$(find "$packages" -name 'python3-kxcam_*')
[ -z "$python" ] || expect python3-kxcam /usr/lib/python3/dist-packages/kxcam/__init__.py \
  '/usr/lib/python3/dist-packages/kxcam-[0-9.]*\.dist-info/entry_points\.txt'

# No file is in two packages: they install beside each other.
[ -z "$(cat "$work"/*.files | grep -v '/$' | sort | uniq -d)" ]

version=$(dpkg-deb -f "$(package libkxcam1)" Version)
depends libkxcam1 libc6 'libusb-1\.0-0'
depends libkxcam-dev "libkxcam1 \(= $version\)" 'libusb-1\.0-0-dev'
depends kxcam-tools "libkxcam1 \(>= $version\)" libc6 'libpng16-16(t64)?' 'libcpp-httplib0\.[0-9]+(t64)?' libturbojpeg0
depends kxcam-sim libc6 'libusbredirparser1(t64)?'
depends kxcam-gentl "libkxcam1 \(>= $version\)" libc6 'libusb-1\.0-0'
[ -z "$gst" ] || depends gstreamer1.0-kxcam "libkxcam1 \(>= $version\)" libc6 'libgstreamer-plugins-base1\.0-0(t64)?'
[ -z "$python" ] || depends python3-kxcam "libkxcam1 \(>= $version\)" python3-numpy

dpkg-deb -e "$(package libkxcam1)" "$work/control"
[ "$(cat "$work/control/conffiles")" = /etc/kxusb.conf ]
grep -q '^libkxcam 1 libkxcam1' "$work/control/shlibs"
grep -q 'activate-noawait ldconfig' "$work/control/triggers"

# What was unpacked works.
"$work/root/usr/bin/kxsim" run --conf "$work/root/etc/kxusb.conf" -- "$work/root/usr/bin/kxcam" list | grep -q 5MP-C
