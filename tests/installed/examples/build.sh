#!/usr/bin/env bash
# build.sh PREFIX FOLDER: each example can be configured alone, and all are built at once, except window_host, which
# steps.sh builds.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tests/installed/common.sh
. "$here/../common.sh"
prefix=$1
names=(minimal_host blocking_host outbox_host own_transport own_log)
targets=(window_driver)

configure() { # configure SOURCE FOLDER
  quietly cmake -G Ninja -S "$1" -B "$2" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Debug
}

for name in "${names[@]}"; do
  printf -- '-- %s, configured alone\n' "$name"
  configure "$here/../../../examples/$name" "alone/$name"
  targets+=("examples/$name/all")
done
printf -- '-- all of them, built\n'
configure "$here" all
quietly cmake --build all --target "${targets[@]}"
