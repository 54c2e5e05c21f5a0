#!/bin/sh
# Installs the packages into a copy of this system, uses them and removes them again: dpkg_test.sh PACKAGES
# Needs root, and leave to mount. Ends with 77 where there is none.
set -eu
if [ "${2:-}" != in-own-mounts ]; then
  [ "$(id -u)" -eq 0 ] && unshare --mount true 2>/dev/null || exit 77
  exec unshare --mount "$0" "$1" in-own-mounts
fi

# The copy is a layer in memory above the system, and goes with the mounts of this process.
layer=$(mktemp -d)
trap 'umount --lazy --recursive "$layer" 2>/dev/null || true; rmdir "$layer"' EXIT
mount -t tmpfs tmpfs "$layer" || exit 77
mkdir "$layer/above" "$layer/work" "$layer/system"
mount -t overlay overlay -o "lowerdir=/,upperdir=$layer/above,workdir=$layer/work" "$layer/system" || exit 77
system=$layer/system
mount --rbind /proc "$system/proc"
mount --rbind /dev "$system/dev"
mkdir "$system/packages"
cp "$1"/*.deb "$system/packages"
inside() { chroot "$system" env -u KXUSB_CONF -u LD_LIBRARY_PATH "$@"; }
rm -f "$system/var/lib/man-db/auto-update" # the index of all manual pages takes longer than all else
ours() { find "$system/etc" "$system/usr" -name '*kxcam*' -o -name '*kxsim*' -o -name '*kxusb*'; }

ours >"$layer/before"
inside sh -c 'dpkg --install /packages/*.deb'
inside test -f /etc/kxusb.conf
inside kxsim run --camera 3600 --conf /etc/kxusb.conf -- kxcam list | grep -q '0.3MP-C'
# shellcheck disable=SC2016 # it is the inner shell that asks pkg-config
inside sh -c 'cc -o /first_picture /usr/share/doc/libkxcam-dev/examples/first_picture.c $(pkg-config --cflags --libs kxcam)'
inside kxsim run --scene numbers --camera 3600 -- /first_picture | head -c 2 | grep -q P6
# The packages of a build for /usr/local have no folder of the architecture.
gst=$(find "$1" -name 'gstreamer1.0-kxcam_*')
[ -z "$gst" ] || inside env GST_PLUGIN_PATH=/usr/lib/gstreamer-1.0 GST_REGISTRY=/registry \
  kxsim run --scene numbers --camera 3600 -- gst-launch-1.0 -q kxcamsrc num-buffers=2 ! fakesink
python=$(find "$1" -name 'python3-kxcam_*')
[ -z "$python" ] || inside kxsim run --scene numbers --camera 3600 -- \
  /usr/bin/python3 -c 'import kxcam; print(kxcam.Camera().query().shape)' | grep -q '(540, 720, 3)'

# An edited configuration stays when the packages are installed again or removed, until they are purged.
echo "# ours" >>"$system/etc/kxusb.conf"
inside sh -c 'dpkg --force-confold --install /packages/libkxcam1_*.deb'
grep -q '^# ours$' "$system/etc/kxusb.conf"
inside dpkg --remove ${gst:+gstreamer1.0-kxcam} ${python:+python3-kxcam} kxcam-gentl kxcam-sim kxcam-tools libkxcam-dev libkxcam1
grep -q '^# ours$' "$system/etc/kxusb.conf"
inside dpkg --purge kxcam-gentl libkxcam1
ours | diff "$layer/before" -
