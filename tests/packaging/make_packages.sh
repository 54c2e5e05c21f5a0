#!/bin/sh
# Makes the Debian packages and nothing else in an empty folder: make_packages.sh BUILD PACKAGES
set -eu
rm -rf "$2"
cpack --config "$1/CPackConfig.cmake" -B "$2"
rm -r "$2/_CPack_Packages"
set -- "$2"/*.deb
[ $# -ge 4 ]
