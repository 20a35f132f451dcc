# shellcheck shell=bash
# To be sourced by the tests that build a host: they work in a fresh folder, with the host of the tests of what is
# installed, which is in the folder $tests.
set -euo pipefail
tests=$PWD/tests/installed
HOME=$(mktemp -d "${AUTOPKGTEST_TMP:-$PWD/..}/host.XXXXXX")
export HOME
cd "$HOME"
# shellcheck source=tests/installed/common.sh
. "$tests/common.sh"
