#!/usr/bin/env bash
# debug_test.sh ZIP DEBUG-ZIP FILE...: checks that the debug file of each of these files belongs to it. A debugger takes
# a debug file only if its checksum is the one that the program holds; addr2line does the same. For the place of a
# function in the program, it must then name a source of this project, and without the debug file it must not.
set -euo pipefail
zip=$1 debug=$2
shift 2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/alone" "$folder/both"
unzip -q "$zip" -d "$folder/alone"
unzip -q "$zip" -d "$folder/both"
unzip -q "$debug" -d "$folder/both"
result=0

# Prints the sources of the first functions with a name of this project.
sources() { # sources PROGRAM DEBUG-FILE
  x86_64-w64-mingw32-nm --defined-only "$2" | awk '/ [Tt] _Z.*(Kts|CUIAgent|Transport|Log|Lab)/ && ++n <= 20 { print $1 }' |
    xargs x86_64-w64-mingw32-addr2line -e "$1" | grep -E '^[./build]*(agent|apps|labserver|platform)/.*:[0-9]+' || true
}

for name in "$@"; do
  alone=$(echo "$folder"/alone/*/bin/"$name") both=$(echo "$folder"/both/*/bin/"$name")
  told=$(sources "$both" "$both.debug")
  echo "   $name: ${told%%$'\n'*}"
  [ -n "$told" ] || { echo "-- no source of this project"; result=1; }
  [ -z "$(sources "$alone" "$both.debug")" ] || { echo "-- it tells its sources without its debug file too"; result=1; }
done
for file in "$folder"/both/*/bin/*.debug; do
  [ -e "${file%.debug}" ] || { echo "-- the debug file of nothing: ${file##*/}"; result=1; }
done
exit "$result"
