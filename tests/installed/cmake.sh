#!/usr/bin/env bash
# cmake.sh PREFIX FOLDER VERSION: a host finds the library with CMake, in its version and no other, and gets its first
# signal.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tests/installed/common.sh
. "$here/common.sh"
prefix=$1 version=$3

configure() { # configure FOLDER REQUEST
  cmake -G Ninja -S "$here/host" -B "$1" -DCMAKE_PREFIX_PATH="$prefix" -DREQUEST="$2"
}

IFS=. read -r major minor patch <<<"$version"
quietly configure build "$major.$minor;REQUIRED"
quietly cmake --build build
finds_libraries "$prefix/lib" build/host
first_signal "$prefix" build/host
grep -qxF "version $version" signal.txt || fail "the loaded library has another version than $version"

quietly configure again "$version;EXACT;REQUIRED"
refused "version: $version" configure other "$major.$((minor + 1));REQUIRED"
refused "version: $version" configure other "$major.$minor.$((patch + 1));REQUIRED"
refused "version: $version" configure other "$((major + 1));REQUIRED"
refused 'ktshttpagent has no component "tessting", but these: testing' \
  configure other "$major.$minor;REQUIRED;COMPONENTS;tessting"

# A component that is not installed; a copy of the package lacks it in any case.
cp -r "$prefix" without
rm -f without/lib/cmake/ktshttpagent/ktshttpagent-testing.cmake
prefix=$PWD/without
refused 'the component "testing" of ktshttpagent is not installed in' \
  configure lacking "$major.$minor;REQUIRED;COMPONENTS;testing"
quietly configure optional "$major.$minor;REQUIRED;OPTIONAL_COMPONENTS;testing"
grep -q 'testing: FALSE' output.txt || fail "an optional component that is missing counts as found"
