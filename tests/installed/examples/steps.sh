#!/usr/bin/env bash
# steps.sh PREFIX FOLDER: builds window_host as a reader of the tutorial does, step by step in one folder, and alone.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tests/installed/common.sh
. "$here/../common.sh"
prefix=$1
for step in 1 2 3 4; do
  printf -- '-- step %s\n' "$step"
  "$here/tutorial.py" step "$step" window_host
  quietly cmake -G Ninja -S window_host -B build -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS='-Wall -Wextra -Werror'
  quietly cmake --build build
done
diff -r "$here/../../../examples/window_host" window_host || fail 'the last step is not the example'
