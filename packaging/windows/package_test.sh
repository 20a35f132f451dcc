#!/usr/bin/env bash
# Unpacks the zip into an empty folder, runs ktsagent.exe there, and builds a host against it:
#   package_test.sh ZIP HOST-SOURCE TOOLCHAIN PREFIX
# KTS_NATIVE_LABSERVER is the path of a native lab server.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
zip=$1 source=$2 toolchain=$3 prefix=$4
: "${KTS_NATIVE_LABSERVER:?the path of a native ktslabserver; ./dev windows builds it}"

folder=$(mktemp -d)
trap 'kill "${server:-}" 2>/dev/null || true; rm -rf "$folder"' EXIT
unzip -q "$zip" -d "$folder"
cd "$folder"/*/bin
unset WINEPATH # so that only DLLs from the zip are found

echo "-- demo"
"$here/wine.sh" ktsagent.exe demo | tr -d '\r' >"$folder/demo.txt" || { cat "$folder/demo.txt"; exit 1; }
tail -1 "$folder/demo.txt"

echo "-- one asynchronous and one blocking request to the native lab server"
"$KTS_NATIVE_LABSERVER" >"$folder/server.txt" &
server=$!
until grep -q listening "$folder/server.txt"; do kill -0 "$server"; sleep 0.05; done
port=$(sed -nE 's/.*:([0-9]+)\/$/\1/p' "$folder/server.txt")
"$here/wine.sh" ktsagent.exe support-ver --server "127.0.0.1:$port" --t 1.1.0 | tr -d '\r' | tee "$folder/async.txt"
grep -q 'bSucc: true' "$folder/async.txt"
"$here/wine.sh" ktsagent.exe in-common --sync --server "127.0.0.1:$port" --dxtm CELL-0099 | tr -d '\r' | tee "$folder/sync.txt"
grep -q 'bCommon: true' "$folder/sync.txt"

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
# The host from the README connects to port 8080, where most likely nothing listens; it prints "supported" or "not
# supported" either way.
"$here/wine.sh" host.exe 2>&1 | tr -d '\r' | tee "$folder/host.txt"
grep -q 'supported' "$folder/host.txt"
