#!/usr/bin/env bash
# debug_test.sh ZIP DEBUG-ZIP FILE...: checks that the debug file of each of these files belongs to it. A debugger takes
# a debug file only if its checksum is the one that the program holds; addr2line does the same. For the place of a
# function in the program, it must then name a source of this project; without the debug file it must not.
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

source_at() { x86_64-w64-mingw32-addr2line -e "$1" "0x$2"; }
for name in "$@"; do
  alone=$(echo "$folder"/alone/*/bin/"$name") both=$(echo "$folder"/both/*/bin/"$name")
  # A function of this project, of those that the whole DLL or program has.
  address=$(x86_64-w64-mingw32-nm --defined-only "$both.debug" | awk '/ [Tt] _Z.*(Kts|CUIAgent|Transport|Log|Lab)/ { print $1; exit }')
  told=$(source_at "$both" "$address")
  echo "   $name, $address: $told"
  grep -qE '^(\./)?(agent|apps|labserver|platform)/.*:[0-9]+' <<<"$told" || { echo "-- not a source of this project"; result=1; }
  ! grep -q '\.cpp:' <<<"$(source_at "$alone" "$address")" || { echo "-- it tells that without its debug file too"; result=1; }
done
[ "$(find "$folder/both" -name '*.debug' | wc -l)" = $# ] || { echo "-- there are not $# debug files"; result=1; }
exit "$result"
