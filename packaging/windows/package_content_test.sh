#!/usr/bin/env bash
# package_content_test.sh ZIP DEBUG-ZIP FOLDER...: checks the contents of the zips without running them. The checksum of
# each must be the one in the file next to it; every program and DLL must be built as cmake/KtsHardening.cmake says; and
# no file may contain the name of one of the folders, in which it was built.
set -euo pipefail
tests=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../tests/supply" && pwd)
zip=$1 debug=$2
shift 2

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
result=0
for file in "$zip" "$debug"; do
  (cd "$(dirname "$file")" && sha256sum --strict --check "$(basename "$file").sha256") || result=1
done
unzip -q "$zip" -d "$folder/zip"
unzip -q "$debug" -d "$folder/debug"

count=0
for file in "$folder"/zip/*/bin/*; do
  case ${file##*/} in
    # The compiler's own DLLs come from Debian, which builds them without stack protection.
    libgcc_s_seh-1.dll | libstdc++-6.dll | libwinpthread-1.dll) "$tests/hardening_test.sh" "$file" unguarded || result=1 ;;
    *) "$tests/hardening_test.sh" "$file" || result=1 ;;
  esac
  count=$((count + 1))
done
echo "-- $count programs and DLLs"
[ "$count" -ge 12 ] || { echo "-- too few: at least 12 are expected"; result=1; }
"$tests/paths_test.sh" "$folder" "$@" || result=1
exit "$result"
