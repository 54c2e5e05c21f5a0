#!/bin/sh
# Makes the Debian packages and nothing else in an empty folder: make_packages.sh BUILD PACKAGES
set -eu
rm -rf "$2"
cpack --config "$1/CPackConfig.cmake" -B "$2"
rm -r "$2/_CPack_Packages"
[ "$(ls "$2" | grep -c '\.deb$')" -eq 4 ]
