#!/bin/sh
# The library exports, under each version, the names that its map lists and that one header declares, and nothing
# else. One program uses all of KXCAM_1, which stays as it is: 113 functions and three variables.
# exports_test.sh LIBRARY INCLUDE_FOLDER MAP PROGRAM
set -eu

# same WHAT A B: two sorted lists hold the same names
same() {
  [ "$2" = "$3" ] && return
  echo "$1; on one side only:"
  printf '%s\n%s\n' "$2" "$3" | sort | uniq -u
  exit 1
}

exported() { nm -D --defined-only "$library" | awk -v version="@@$1" '$2 != "A" && sub(version "$", "", $3) { print $3 }' | sort; }
listed() { sed -nE "/^$1 \\{/,/^\\}/ s/^ +([A-Za-z_0-9]+);\$/\\1/p" "$map" | sort; }

library=$1
map=$3
first=$( (grep -oE 'Camera[A-Za-z0-9]+\(int|Camera[A-Za-z0-9]+\(void' "$2/kxcam.h" | sed 's/(.*//'
          printf 'last_error\nlogfile\npidfile\n') | sort -u)
second=$(sed -nE 's/^KXCAM_API .*(kxcam_[a-z_]+)\(.*/\1/p' "$2/extra.h" | sed 's/^.* //' | sort)
used=$(nm -D "$4" | sed -nE 's/.* (Camera[A-Za-z0-9]+|last_error|logfile|pidfile)(@.*)?$/\1/p' | sort -u)

same "exported and declared differ" "$(exported KXCAM_1)" "$first"
same "exported and listed differ" "$(exported KXCAM_1)" "$(listed KXCAM_1)"
same "exported and used by $4 differ" "$first" "$used"
same "additions exported and declared differ" "$(exported KXCAM_1.1)" "$second"
same "additions exported and listed differ" "$(exported KXCAM_1.1)" "$(listed KXCAM_1.1)"
[ "$(echo "$first" | grep -c '^Camera')" -eq 113 ]

[ "$(nm -D --defined-only "$library" | awk '$2 != "A"' | wc -l)" -eq "$(printf '%s\n%s\n' "$first" "$second" | wc -l)" ]
