#!/usr/bin/env bash
# files.sh PREFIX FOLDER SOURCE BUILD VERSION: looks at the installed files themselves.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tests/installed/common.sh
. "$here/common.sh"
prefix=$1 source=$3 build=$4 version=$5
lib=$prefix/lib bin=$prefix/bin

dynamic() { # dynamic TAG FILE: the values of a tag in the file's dynamic section
  readelf -dW "$2" | sed -nE "s/.*\($1\).*\[(.*)\]/\1/p"
}

for name in libktshttpagent libchttpclient libclog; do
  file=$lib/$name.so.$version
  [ "$(readlink "$lib/$name.so")" = "$name.so.0" ] || fail "$name.so is no link to $name.so.0"
  [ "$(readlink "$lib/$name.so.0")" = "$name.so.$version" ] || fail "$name.so.0 is no link to $name.so.$version"
  [ "$(dynamic SONAME "$file")" = "$name.so.0" ] || fail "$file has the SONAME $(dynamic SONAME "$file")"
  # shellcheck disable=SC2016 # the loader's variable
  [ "$(dynamic RUNPATH "$file")" = '$ORIGIN' ] || fail "$file has the run path $(dynamic RUNPATH "$file")"
done
for needed in libktshttpagent=libchttpclient libktshttpagent=libclog libchttpclient=libclog; do
  dynamic NEEDED "$lib/${needed%=*}.so" | grep -qx "${needed#*=}.so.0" || fail "not so: $needed"
done
finds_libraries "$lib" "$bin/ktsagent"
ldd "$lib"/lib*.so "$bin/ktslabserver" >ldd.txt
! grep 'not found' ldd.txt || fail "a file lacks libraries"
"$bin/ktsagent" --version | grep -q "^ktshttpagent $version, " || fail "ktsagent tells another version than $version"

headers() { (cd "$1/include/ktshttpagent" && ls ./*.h testing/*.h); }
diff <(headers "$source") <(headers "$prefix") || fail "the headers are not those of the source"
for page in LICENSE SECURITY.md docs/reliability.md examples/minimal_host/main.cpp; do
  cmp "$source/$page" "$prefix/share/doc/ktshttpagent/$page" || fail "$page is not installed"
done
"$source/tests/supply/paths_test.sh" "$prefix" "$source" "$build" "$prefix" || fail "a file names a folder of the build"
