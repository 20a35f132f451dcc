#!/usr/bin/env bash
# subproject.sh PREFIX FOLDER SOURCE: a host's build contains the library's source, in two ways, and does without what
# only our tests and programs need. Of the prefix only the lab server is used.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tests/installed/common.sh
. "$here/common.sh"
prefix=$1 folder=$2 source=$3

without=()
for package in GTest Qt5Test SQLite3 CLI11 benchmark; do
  without+=("-DCMAKE_DISABLE_FIND_PACKAGE_$package=ON")
done
for how in FetchContent add_subdirectory; do
  quietly cmake -G Ninja -S "$here/host_with_source" -B build -DHOW="$how" -DSOURCE="$source" \
    -DKTS_COMPILE_ROOMS_AS_ONE=ON "${without[@]}"
  ninja -C build -n host | tail -1 >steps.txt
  printf -- '-- %s: %s\n' "$how" "$(cat steps.txt)"
  quietly cmake --build build
  first_signal "$prefix" build/host
done
[ "$(ctest --test-dir build -N | sed -n 's/^Total Tests: //p')" = 0 ] || fail "our tests are among the host's"
quietly cmake --install build --prefix "$folder/installed"
[ ! -e "$folder/installed" ] || fail "our files are installed with the host's: $(find "$folder/installed" -type f)"
