#!/bin/sh
# Runs the examples on a simulated camera and looks at what they say: examples_test.sh KXSIM KXCAM FOLDER
set -eu
kxsim=$1 kxcam=$2 folder=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

on_camera() { "$kxsim" run --camera 3600,noise=0 -- "$@"; }

# expect_picture FILE: a PPM file of the camera's size that is not of one colour
expect_picture() {
  [ "$(head -c 15 "$1" | tr '\n' ' ')" = "P6 720 540 255 " ]
  [ "$(wc -c <"$1")" -eq $((15 + 720 * 540 * 3)) ]
  [ "$(tail -c +16 "$1" | od -An -v -tx1 -w3 | sort -u | wc -l)" -gt 20 ]
}

on_camera "$folder/first_picture" >"$work/c.ppm"
expect_picture "$work/c.ppm"
on_camera "$folder/first_picture_cpp" >"$work/cpp.ppm"
expect_picture "$work/cpp.ppm"

on_camera "$folder/trigger" >"$work/trigger"
[ "$(grep -cE '^picture [123]: mean level [1-9][0-9]*$' "$work/trigger")" -eq 3 ]

[ "$(on_camera "$folder/save_settings")" = "exposure 200 lines (2.00 ms), gain 32, gamma 1.80" ]

on_camera "$kxcam" capture -o "$work/frame.raw" >/dev/null 2>&1
"$folder/virtual_camera" 3600 <"$work/frame.raw" >"$work/developed.ppm"
expect_picture "$work/developed.ppm"

two() { "$kxsim" run --camera 3600,serial=LEFT --camera 3600,serial=RIGHT -- "$@"; }
two "$folder/live_loop" RIGHT LEFT >"$work/live"
grep -q '^camera 0: picture [0-9]*, 720 x 540$' "$work/live"
grep -q '^camera 1: picture ' "$work/live"
two "$folder/newest_frame" LEFT >"$work/newest"
[ "$(grep -c '^picture ' "$work/newest")" -eq 10 ]
grep -qE '^10 of [0-9]+ frames delivered, [1-9]' "$work/newest"

# Without a camera they say so.
if "$kxsim" run --fault 'open denied' -- "$folder/first_picture" >/dev/null 2>"$work/complaint"; then exit 1; fi
grep -q '^cannot open camera 0: code' "$work/complaint"
