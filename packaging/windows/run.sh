#!/usr/bin/env bash
# Implements ./dev windows: cross-builds the project, makes the zips, twice, and runs the tests under Wine.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
build=build/windows-mingw
scripts=packaging/windows

say() { printf '\n== windows: %s\n' "$*"; }

say "dependencies"
KTS_WINDOWS_PREFIX=$("$scripts/dependencies.sh")
export KTS_WINDOWS_PREFIX
echo "$KTS_WINDOWS_PREFIX"

say "native lab server"
[ -f build/dev/build.ninja ] || cmake --preset dev >/dev/null
cmake --build --preset dev --target ktslabserver
export KTS_NATIVE_LABSERVER=$PWD/build/dev/bin/ktslabserver

say "build"
"$scripts/fresh_prefix.sh" "$PWD/$build/wine" # the build runs the test programs to list their tests
trap '"$scripts/end_prefix.sh" "$PWD/$build/wine"; "$scripts/end_prefix.sh" "$PWD/$build/wine-registry"' EXIT
# Otherwise the build would go on using what an earlier configuration found in another prefix.
fresh=()
grep -qxE "KTS_WINDOWS_PREFIX:[A-Z]+=$KTS_WINDOWS_PREFIX" "$build/CMakeCache.txt" 2>/dev/null || fresh=(--fresh)
# Without a compiler cache, whatever the environment says: an object from a cache may name the folder in which another
# build made it, and the zips of the two builds are compared bit for bit.
cmake "${fresh[@]}" --preset windows-mingw -DCMAKE_CXX_COMPILER_LAUNCHER= >"$build-configure.log" 2>&1 ||
  { cat "$build-configure.log"; exit 1; }
cmake --build --preset windows-mingw
"$scripts/make_zip.sh" "$build"

say "the same again, from another folder"
"$scripts/twice_test.sh" "$build"

say "test"
log=$build/test.log
status=0
ctest --preset windows-mingw --no-tests=error >"$log" 2>&1 || status=$?
results=$build/Testing/Temporary
"$scripts/summary.sh" "$log" "$results/LastTest.log" "$build/skipped-tests.txt"
silent=$("$scripts/silent_failures.sh" "$results/LastTest.log")
if [ "$status" != 0 ] && [ -n "$silent" ] && [ "$(wc -l <<<"$silent")" = "$(wc -l <"$results/LastTestsFailed.log")" ]; then
  say "these printed nothing, as if Wine had ended them before they began; once more"
  printf '%s\n' "$silent"
  status=0
  ctest --preset windows-mingw --rerun-failed --output-on-failure --no-tests=error || status=$?
fi
[ "$status" = 0 ] || echo "full output: $log"
exit "$status"
