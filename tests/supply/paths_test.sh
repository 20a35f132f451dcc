#!/usr/bin/env bash
# paths_test.sh WHAT PATH...: checks that a file, or every file below a folder, contains none of the paths, which are
# folders of the build machine; neither as bytes nor as Windows' wide characters. A path that is only the end of another
# one, as /build is in ./build, does not count; one that follows a compiler's option does.
set -euo pipefail
export LC_ALL=C
what=$1
shift
result=0
for path in "$@"; do
  wide=$(printf '%s' "${path%/}/" | sed 's/./\\Q&\\E\\x00/g')
  if grep -raPl "((?<![\w.-])|(?<=-[BIL]))\Q${path%/}/\E" "$what" ||
    grep -raPl "((?<![\w.-]\x00)|(?<=-\x00[BIL]\x00))$wide" "$what"; then
    echo "-- contains ${path%/}/"
    result=1
  fi
done
exit "$result"
