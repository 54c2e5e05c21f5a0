#!/usr/bin/env bash
# kernel_symbols_test.sh OBJECT...: no object may define a symbol that the linker could take for everybody's
# copy of an inline function. These are compiled for newer processors than the rest.
set -euo pipefail

checked=0
for object in "$@"; do
  case $object in
    */kernels/ssse3.cpp.o | */kernels/avx2.cpp.o | */kernels/avx512.cpp.o) ;;
    *) continue ;;
  esac
  if nm --demangle --defined-only "$object" | grep -E ' [VvWwu] '; then
    echo "$object defines what is listed above" >&2
    exit 1
  fi
  checked=$((checked + 1))
done
[ "$checked" -eq 3 ] || { echo "found $checked of 3 objects" >&2; exit 1; }
