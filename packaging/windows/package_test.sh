#!/usr/bin/env bash
# package_test.sh ZIP: unpacks the zip into an empty folder and runs its two programs there.
# KTS_NATIVE_LABSERVER is the path of a native lab server.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
zip=$1
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
