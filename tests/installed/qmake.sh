#!/usr/bin/env bash
# qmake.sh PREFIX FOLDER: a host is built with qmake, and gets its first signal.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tests/installed/common.sh
. "$here/common.sh"
export PKG_CONFIG_PATH=$1/lib/pkgconfig QT_SELECT=qt5
quietly qmake "$here/host/host.pro" QMAKE_RPATHDIR="$1/lib"
quietly make
finds_libraries "$1/lib" ./host
first_signal "$1" ./host
