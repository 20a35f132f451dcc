#!/usr/bin/env bash
# staged.sh PREFIX FOLDER SOURCE BUILD: installs with DESTDIR and each component by itself, as packages are made.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tests/installed/common.sh
. "$here/common.sh"
prefix=$1 folder=$2 source=$3 build=$4

files() { (cd "$1" && find . ! -type d | sort); } # files FOLDER

export DESTDIR=$folder/stage
for component in runtime development testing tools documentation; do
  quietly cmake --install "$build" --prefix /opt/lab --component "$component"
done
[ "$(ls "$DESTDIR")" = opt ] || fail "something is installed outside the prefix: $(ls "$DESTDIR")"
diff <(files "$prefix") <(files "$DESTDIR/opt/lab") || fail "the components together are not everything"
"$source/tests/supply/paths_test.sh" "$DESTDIR" "$source" "$build" "$prefix" "$DESTDIR" || fail "a file names a folder of the build"

DESTDIR=$folder/runtime quietly cmake --install "$build" --prefix /opt/lab --component runtime
files "$folder/runtime/opt/lab" >runtime.txt
! grep -vE '^\./lib/(libktshttpagent|libchttpclient|libclog)\.so\.[0-9.]+$' runtime.txt || fail "not of the libraries alone"
