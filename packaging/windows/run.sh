#!/usr/bin/env bash
# The work of ./dev windows: cross-builds the tree, packs it and runs its tests under Wine.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
build=build/windows-mingw
scripts=packaging/windows

say() { printf '\n== windows: %s\n' "$*"; }

say "dependencies"
KTS_WINDOWS_PREFIX=$("$scripts/dependencies.sh")
export KTS_WINDOWS_PREFIX
echo "$KTS_WINDOWS_PREFIX"

say "the lab server of this machine"
[ -f build/dev/build.ninja ] || cmake --preset dev >/dev/null
cmake --build --preset dev --target ktslabserver
export KTS_NATIVE_LABSERVER=$PWD/build/dev/bin/ktslabserver

say "build"
"$scripts/fresh_prefix.sh" "$PWD/$build/wine" # the build runs the test programs for lists of their tests
trap '"$scripts/end_prefix.sh" "$PWD/$build/wine"; "$scripts/end_prefix.sh" "$PWD/$build/wine-registry"' EXIT
# What an earlier build found in another prefix would stay in use.
fresh=()
grep -qxE "KTS_WINDOWS_PREFIX:[A-Z]+=$KTS_WINDOWS_PREFIX" "$build/CMakeCache.txt" 2>/dev/null || fresh=(--fresh)
cmake "${fresh[@]}" --preset windows-mingw >"$build-configure.log" 2>&1 || { cat "$build-configure.log"; exit 1; }
cmake --build --preset windows-mingw
(cd "$build" && cpack --config CPackConfig.cmake)

say "test"
log=$build/test.log
status=0
ctest --preset windows-mingw --no-tests=error >"$log" 2>&1 || status=$?
"$scripts/summary.sh" "$log" "$build/Testing/Temporary/LastTest.log" "$build/skipped-tests.txt"
[ "$status" = 0 ] || echo "what they printed: $log"
exit "$status"
