#!/bin/sh
# Has lintian look at the Debian packages: lintian_test.sh PACKAGES
# Ends with 77 where there is no lintian.
set -eu
command -v lintian >/dev/null || { echo "skipped: there is no lintian"; exit 77; }
# A build for /usr/local has the pkg-config file in lib, one for /usr in the folder of the architecture.
lintian --allow-root --fail-on error,warning --suppress-tags pkg-config-unavailable-for-cross-compilation "$1"/*.deb
