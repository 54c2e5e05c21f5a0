#!/bin/sh
# The library exports the 113 functions and 3 variables that its map lists and its header declares, and
# nothing else, and one program uses them all: exports_test.sh LIBRARY HEADER MAP PROGRAM
set -eu

# same WHAT A B: two sorted lists hold the same names
same() {
  [ "$2" = "$3" ] && return
  echo "$1; on one side only:"
  printf '%s\n%s\n' "$2" "$3" | sort | uniq -u
  exit 1
}

exported=$(nm -D --defined-only "$1" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | sort)
declared=$( (grep -oE 'Camera[A-Za-z0-9]+\(int|Camera[A-Za-z0-9]+\(void' "$2" | sed 's/(.*//'
             printf 'last_error\nlogfile\npidfile\n') | sort -u)
listed=$(sed -nE 's/^ +([A-Za-z_0-9]+);$/\1/p' "$3" | sort)
used=$(nm -D "$4" | sed -nE 's/.* (Camera[A-Za-z0-9]+|last_error|logfile|pidfile)(@.*)?$/\1/p' | sort -u)

same "exported and declared differ" "$exported" "$declared"
same "exported and listed differ" "$exported" "$listed"
same "exported and used by $4 differ" "$exported" "$used"
[ "$(echo "$exported" | grep -c '^Camera')" -eq 113 ]
