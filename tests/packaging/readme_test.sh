#!/bin/sh
# The program in the README is the example that the tests build and run: readme_test.sh SOURCE
set -eu
shown=$(awk '/^```$/ { inside = 0 } inside { print } /^```c$/ { inside = 1 }' "$1/README.md")
built=$(tail -n +3 "$1/examples/first_picture.c") # below licence and usage
[ "$shown" = "$built" ] || { echo "README.md and examples/first_picture.c differ"; exit 1; }
