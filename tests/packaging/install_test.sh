#!/bin/sh
# Installs into an empty prefix, moves it, builds the examples against it with pkg-config and with CMake, and
# runs the first on a simulated camera: install_test.sh SOURCE BUILD LIBDIR
set -eu
source=$1 build=$2 libdir=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/first" >"$work/log"
mv "$work/first" "$work/prefix"
prefix=$work/prefix

for file in bin/kxcam bin/kxsim "$libdir/libkxcam.so.1" "$libdir/kxcam/libkxsim-usbfs.so" "$libdir/kxcam/kxsim.conf" include/kxcam/kxcam.h \
  share/man/man1/kxcam.1 share/man/man1/kxsim.1 share/bash-completion/completions/kxcam \
  share/bash-completion/completions/kxsim lib/udev/rules.d/70-kxcam.rules; do
  [ -s "$prefix/$file" ] || { echo "$file is missing"; exit 1; }
done
cmp "$source/packaging/kxusb.conf" "$prefix/etc/kxusb.conf"

# A second installation leaves an edited configuration alone.
echo "# ours" >"$prefix/etc/kxusb.conf"
cmake --install "$build" --prefix "$prefix" --component lib >"$work/log"
[ "$(cat "$prefix/etc/kxusb.conf")" = "# ours" ]
cp "$source/packaging/kxusb.conf" "$prefix/etc/kxusb.conf"

# With the file that was installed, the simulated cameras are found through the installed programs alone.
"$prefix/bin/kxsim" run --camera 3600 --camera 0500,generic --conf "$prefix/etc/kxusb.conf" -- \
  "$prefix/bin/kxcam" list >"$work/list"
grep -q '0.3MP-C' "$work/list" && grep -q '5MP-C' "$work/list"

examples=$prefix/share/doc/libkxcam-dev/examples
export LD_LIBRARY_PATH="$prefix/$libdir"
takes_picture() { "$prefix/bin/kxsim" run --scene numbers --camera 3600 -- "$1" | head -c 2 | grep -q P6; }

export PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig"
flags=$(pkg-config --cflags --libs kxcam)
case $flags in *-lusb*) echo "programs need not link libusb: $flags"; exit 1 ;; esac
mkdir "$work/by-pkg-config"
for name in first_picture live_loop newest_frame save_settings trigger virtual_camera; do
  # shellcheck disable=SC2086 # several words
  cc -std=c99 -pedantic -Wall -Werror -o "$work/by-pkg-config/$name" "$examples/$name.c" $flags
done
# shellcheck disable=SC2086
c++ -std=c++17 -pedantic -Wall -Werror -o "$work/by-pkg-config/first_picture_cpp" "$examples/first_picture.cpp" $flags
takes_picture "$work/by-pkg-config/first_picture"
takes_picture "$work/by-pkg-config/first_picture_cpp"

cmake -G Ninja -S "$examples" -B "$work/by-cmake" -DCMAKE_PREFIX_PATH="$prefix" >"$work/log"
grep -q "kxcam_DIR:PATH=$prefix/" "$work/by-cmake/CMakeCache.txt"
cmake --build "$work/by-cmake" >"$work/log"
takes_picture "$work/by-cmake/first_picture"

# Another major version is another library.
mkdir "$work/newer"
cat >"$work/newer/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(newer LANGUAGES NONE)
find_package(kxcam 2 QUIET)
if(kxcam_FOUND OR NOT kxcam_CONSIDERED_VERSIONS)
  message(FATAL_ERROR "version 2 was asked for, and found: '${kxcam_FOUND}', of '${kxcam_CONSIDERED_VERSIONS}'")
endif()
END
cmake -G Ninja -S "$work/newer" -B "$work/newer/build" -DCMAKE_PREFIX_PATH="$prefix" >"$work/log"
