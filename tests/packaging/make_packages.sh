#!/bin/sh
# Makes the Debian packages and nothing else in an empty folder: make_packages.sh BUILD PACKAGES
set -eu
build=$1
rm -rf "$2"
cpack --config "$1/CPackConfig.cmake" -B "$2"
rm -r "$2/_CPack_Packages"
set -- "$2"/*.deb
# One for each component.
[ $# -eq "$(sed -n 's/^set(CPACK_COMPONENTS_ALL "\(.*\)")$/\1/p' "$build/CPackConfig.cmake" | tr ';' '\n' | wc -l)" ]
