#!/usr/bin/env bash
# pkg_config.sh PREFIX FOLDER VERSION: a host is compiled with what pkg-config says, and gets its first signal.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tests/installed/common.sh
. "$here/common.sh"
prefix=$1 version=$3
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig

for name in ktshttpagent chttpclient libclog; do
  [ "$(pkg-config --modversion "$name")" = "$version" ] || fail "$name has another version than $version"
done
read -ra flags <<<"$(pkg-config --cflags --libs ktshttpagent)"
quietly g++ -std=c++17 -o host "$here/host/main.cpp" "${flags[@]}" -Wl,-rpath,"$prefix/lib"
finds_libraries "$prefix/lib" ./host
first_signal "$prefix" ./host

# What a site's own transport and log, or a host that calls these two itself, is compiled with.
printf '#include <ktshttpagent/chttpclient.h>\nint main() { CHttpClientInit(); CHttpClientUnInit(); }\n' >transport.cpp
printf '#include <ktshttpagent/clog.h>\nint main() { Log_Write(3, "main", 1, "a line"); }\n' >line.cpp
for pair in transport=chttpclient line=libclog; do
  read -ra flags <<<"$(pkg-config --cflags --libs "${pair#*=}")"
  quietly g++ -std=c++17 -o "${pair%=*}" "${pair%=*}.cpp" "${flags[@]}" -Wl,-rpath,"$prefix/lib"
  quietly "./${pair%=*}"
done
grep -q 'a line' log/ktshttpagent.log || fail "the log has no line"
