#!/bin/sh
# The library exports what the header declares, and nothing else: exports_test.sh LIBRARY HEADER
set -eu
exported=$(nm -D --defined-only "$1" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | sort)
declared=$( (grep -oE 'Camera[A-Za-z0-9]+\(int|Camera[A-Za-z0-9]+\(void' "$2" | sed 's/(.*//'
             printf 'last_error\nlogfile\npidfile\n') | sort -u)
if [ "$exported" != "$declared" ]; then
  echo "exported but not declared, or declared but not exported:"
  printf '%s\n%s\n' "$exported" "$declared" | sort | uniq -u
  exit 1
fi
echo "$exported" | wc -l
