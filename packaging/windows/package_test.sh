#!/usr/bin/env bash
# Unpacks the zip into an empty folder, runs its two programs there, and builds a host against it:
#   package_test.sh ZIP HOST-SOURCE TOOLCHAIN PREFIX
# KTS_NATIVE_LABSERVER is the path of a native lab server.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
zip=$1 source=$2 toolchain=$3 prefix=$4
: "${KTS_NATIVE_LABSERVER:?the path of a native ktslabserver; ./dev windows builds it}"

folder=$(mktemp -d)
trap 'end_servers; rm -rf "$folder"' EXIT
# The second server is a child of wine.sh.
end_servers() { kill "${server:-}" 2>/dev/null || true; pkill -P "${wine_server:-none}" 2>/dev/null || true; }
unzip -q "$zip" -d "$folder"
cd "$folder"/*/bin
unset WINEPATH # so that only DLLs from the zip are found

port_of() { # port_of PROCESS OUTPUT: waits until a lab server listens, and prints its port
  until grep -q listening "$2"; do kill -0 "$1"; sleep 0.05; done
  tr -d '\r' <"$2" | sed -nE 's/.*:([0-9]+)\/$/\1/p'
}

echo "-- demo"
"$here/wine.sh" ktsagent.exe demo | tr -d '\r' >"$folder/demo.txt" || { cat "$folder/demo.txt"; exit 1; }
tail -1 "$folder/demo.txt"

echo "-- one asynchronous and one blocking request to the native lab server"
"$KTS_NATIVE_LABSERVER" >"$folder/server.txt" &
server=$!
port=$(port_of "$server" "$folder/server.txt")
"$here/wine.sh" ktsagent.exe support-ver --server "127.0.0.1:$port" --t 1.1.0 | tr -d '\r' | tee "$folder/async.txt"
grep -q 'bSucc: true' "$folder/async.txt"
"$here/wine.sh" ktsagent.exe in-common --sync --server "127.0.0.1:$port" --dxtm CELL-0099 | tr -d '\r' | tee "$folder/sync.txt"
grep -q 'bCommon: true' "$folder/sync.txt"

echo "-- one request to the lab server of the zip"
"$here/wine.sh" ktslabserver.exe >"$folder/wine-server.txt" &
wine_server=$!
port=$(port_of "$wine_server" "$folder/wine-server.txt")
"$here/wine.sh" ktsagent.exe support-ver --server "127.0.0.1:$port" --t 1.1.0 | tr -d '\r' | tee "$folder/own.txt"
grep -q 'bSucc: true' "$folder/own.txt"

echo "-- a host built against it"
mkdir "$folder/host"
cp "$source" "$folder/host/main.cpp"
cat >"$folder/host/CMakeLists.txt" <<'LISTS'
cmake_minimum_required(VERSION 3.25)
project(host LANGUAGES CXX)
find_package(ktshttpagent REQUIRED)
add_executable(host main.cpp)
target_link_libraries(host PRIVATE ktshttpagent::ktshttpagent Qt5::Core)
LISTS
package=$(cd .. && pwd)
{ cmake -G Ninja -S "$folder/host" -B "$folder/host/build" -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
  -DKTS_WINDOWS_PREFIX="$prefix" -DCMAKE_BUILD_TYPE=Release -Dktshttpagent_DIR="$package/lib/cmake/ktshttpagent" &&
  ninja -C "$folder/host/build"; } >"$folder/host/log.txt" 2>&1 || { cat "$folder/host/log.txt"; exit 1; }
cp "$folder/host/build/host.exe" .
"$here/wine.sh" host.exe "$port" 2>&1 | tr -d '\r' | tee "$folder/host.txt"
grep -q 'supported: "1.1.0"' "$folder/host.txt"
