#!/usr/bin/env bash
# package_content_test.sh ZIP FOLDER...: checks the contents of the zip without running them. Its checksum must be the
# one in the file next to it; every program and DLL must be built as cmake/KtsHardening.cmake says; and no file may
# contain the name of one of the folders, in which it was built.
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
    # The compiler's own DLLs come from Debian, which builds them without stack protection.
    libgcc_s_seh-1.dll | libstdc++-6.dll | libwinpthread-1.dll) "$tests/hardening_test.sh" "$file" unguarded || result=1 ;;
    *) "$tests/hardening_test.sh" "$file" || result=1 ;;
  esac
  count=$((count + 1))
done
echo "-- $count programs and DLLs"
[ "$count" -ge 11 ] || { echo "-- too few: at least 11 are expected"; result=1; }
"$tests/paths_test.sh" "$folder" "$@" || result=1
exit "$result"
