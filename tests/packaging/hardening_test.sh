#!/bin/sh
# Looks whether the programs and libraries in the Debian packages are hardened: hardening_test.sh PACKAGES
# Ends with 77 where there is no hardening-check (package devscripts).
set -eu
command -v hardening-check >/dev/null || { echo "skipped: there is no hardening-check"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for package in "$1"/*.deb; do dpkg-deb -x "$package" "$work"; done
# shellcheck disable=SC2046 # several words
set -- "$work/usr/bin/kxcam" "$work/usr/bin/kxsim" $(find "$work/usr/lib" -type f -name '*.so*' ! -name libgstkxcam.so)
[ $# -ge 4 ]
# Debian's C library is not built for control flow integrity, and marks each program so. Branch protection is of
# another architecture; it is looked for from Debian 13 on.
passed_by=--nocfprotection
if hardening-check --help 2>&1 | grep -q -e --nobranchprotection; then passed_by="$passed_by --nobranchprotection"; fi
# shellcheck disable=SC2086 # several words
hardening-check $passed_by "$@"
# It copies into memory whose size only GStreamer knows, and calls nothing else that could be protected.
find "$work/usr/lib" -name libgstkxcam.so -exec hardening-check $passed_by --nofortify {} +
