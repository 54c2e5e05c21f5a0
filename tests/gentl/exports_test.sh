#!/bin/sh
# The producer exports the functions that its header declares and nothing else, no symbol of a C++ runtime above all:
# exports_test.sh PRODUCER HEADER
set -eu
exported=$(nm -D --defined-only "$1" | awk '$2 != "A" { print $3 }' | sort)
declared=$(sed -nE 's/^KXCAM_GENTL ([A-Za-z]+)\(.*/\1/p' "$2" | sort)
[ "$(echo "$declared" | wc -l)" -eq 57 ]
[ "$exported" = "$declared" ] || { printf '%s\n%s\n' "$exported" "$declared" | sort | uniq -u; exit 1; }
