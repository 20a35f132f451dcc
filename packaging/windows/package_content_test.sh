#!/usr/bin/env bash
# Looks into the zip without running any of it: package_content_test.sh ZIP FOLDER...
# Its sum is the one beside it, every program and DLL is built as cmake/KtsHardening.cmake says, and nothing in it names
# one of the folders in which it was built.
set -euo pipefail
tests=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../tests/supply" && pwd)
zip=$1
shift

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
result=0
(cd "$(dirname "$zip")" && sha256sum --strict --check "$(basename "$zip").sha256") || result=1
unzip -q "$zip" -d "$folder"

count=0
for file in "$folder"/*/bin/*; do
  case ${file##*/} in
    # The compiler's own come from Debian, which does not guard their stacks.
    libgcc_s_seh-1.dll | libstdc++-6.dll | libwinpthread-1.dll) "$tests/hardening_test.sh" "$file" unguarded || result=1 ;;
    *) "$tests/hardening_test.sh" "$file" || result=1 ;;
  esac
  count=$((count + 1))
done
echo "-- $count programs and DLLs"
[ "$count" -ge 11 ] || { echo "-- that is too few"; result=1; }
"$tests/paths_test.sh" "$folder" "$@" || result=1
exit "$result"
