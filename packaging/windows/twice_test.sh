#!/usr/bin/env bash
# twice_test.sh BUILD: builds the zips of a finished build a second time, from a copy of the sources in another folder,
# with nothing taken from the first build or from a compiler's cache, and compares all bytes. The libraries of others,
# which packaging/windows/dependencies.sh builds, are the same ones. KTS_WINDOWS_PREFIX is their folder.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=$(cd "$1" && pwd)
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$("$here/source_date.sh")}
export SOURCE_DATE_EPOCH CMAKE_CXX_COMPILER_LAUNCHER=

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/sources"
(cd "$here/../.." && git ls-files -z --cached --others --exclude-standard | xargs -0 cp --parents -t "$folder/sources")
again=$folder/sources/build/windows-mingw
(cd "$folder/sources" && cmake --preset windows-mingw -DKTS_BUILD_TESTS=OFF && cmake --build "$again") >"$folder/log" 2>&1 ||
  { tail -40 "$folder/log"; exit 1; }
"$folder/sources/packaging/windows/make_zip.sh" "$again" >/dev/null

result=0
for zip in "$again"/*.zip; do
  cmp "$zip" "$build/${zip##*/}" || result=1
done
[ "$(find "$again" -maxdepth 1 -name '*.zip' | wc -l)" = 2 ] || { echo "-- there are not two zips"; result=1; }
if [ "$result" != 0 ]; then
  diff -rq "$again/zip" "$build/zip" || true
fi
exit "$result"
