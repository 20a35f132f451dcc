#!/usr/bin/env bash
# paths_test.sh WHAT PATH...: none of the paths, which are folders of the building machine, stands in a file, or in any
# file below a folder; neither as bytes nor as Windows' wide characters.
set -euo pipefail
export LC_ALL=C
what=$1
shift
result=0
for path in "$@"; do
  wide=$(printf '%s' "${path%/}/" | sed 's/./\\Q&\\E\\x00/g')
  if grep -raFl "${path%/}/" "$what" || grep -raPl "$wide" "$what"; then
    echo "-- tells of ${path%/}/"
    result=1
  fi
done
exit "$result"
