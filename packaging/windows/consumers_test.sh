#!/usr/bin/env bash
# Builds the examples of the zip against the zip, and runs them with its DLLs:
#   consumers_test.sh ZIP TOOLCHAIN PREFIX
# KTS_NATIVE_LABSERVER is the path of a native lab server.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
zip=$1 toolchain=$2 prefix=$3
: "${KTS_NATIVE_LABSERVER:?the path of a native ktslabserver; ./dev windows builds it}"

folder=$(mktemp -d)
trap 'kill "${server:-}" 2>/dev/null || true; rm -rf "$folder"' EXIT
unzip -q "$zip" -d "$folder"
package=$(echo "$folder"/ktshttpagent-*)
replaced=$folder/replaced
unset WINEPATH # so that only DLLs from the zip are found
cd "$folder"

fail() { printf -- '-- FAILS: %s\n' "$*"; exit 1; }

# expect STATUS TEXT COMMAND...: the program ends with this status and prints a line with this text.
expect() {
  local wanted=$1 text=$2 status=0
  shift 2
  timeout 120 "$here/wine.sh" "$@" >output.txt 2>&1 || status=$?
  tr -d '\r' <output.txt | tee told.txt
  [ "$status" = "$wanted" ] || fail "the exit status of $1 is $status, not $wanted"
  grep -qF -- "$text" told.txt || fail "$1 prints no '$text'"
}

echo "-- the examples, built"
{ cmake -G Ninja -S "$here/consumers" -B build -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DKTS_WINDOWS_PREFIX="$prefix" \
  -DCMAKE_BUILD_TYPE=Release -Dktshttpagent_DIR="$package/lib/cmake/ktshttpagent" \
  -DPACKAGE="$package" -DREPLACED="$replaced" && ninja -C build; } >log.txt 2>&1 || { cat log.txt; exit 1; }

"$KTS_NATIVE_LABSERVER" >server.txt &
server=$!
until grep -q listening server.txt; do kill -0 "$server"; sleep 0.05; done
port=$(sed -nE 's/.*:([0-9]+)\/$/\1/p' server.txt)

echo "-- hosts, with the zip's DLLs"
expect 0 'supported: "1.1.0"' "$package/bin/minimal_host.exe" "$port"
expect 0 'channel 1 may start: No restriction' "$package/bin/blocking_host.exe" 127.0.0.1 "$port" 1 60000
grep -qF 'the server has the report' told.txt || fail 'blocking_host reports nothing'

kill "$server"

echo "-- a test suite with the test kit, and the zip's lab server"
# QtTest belongs to the Qt of the host's developer.
cp "$prefix/bin/Qt5Test.dll" "$package/bin/"
(cd build && ctest --verbose --no-tests=error) >tests.txt 2>&1 || { cat tests.txt; fail 'the tests of the example'; }
grep -E 'tests passed|PASSED|Totals' tests.txt

echo "-- the transport of the zip, and one in its place"
cp "$replaced/own_transport/transport_check.exe" "$package/bin/"
expect 0 'a receiver may send, and stop the transport' "$package/bin/transport_check.exe"
rm "$package/bin/transport_check.exe"
cp -n "$package"/bin/* "$replaced/own_transport/"
OWN_TRANSPORT_FOLDER=$package/share/doc/ktshttpagent/examples/own_transport/answers
export OWN_TRANSPORT_FOLDER
expect 0 'a receiver may send, and stop the transport' "$replaced/own_transport/transport_check.exe"
expect 0 'supported: "1.1.0"' "$replaced/own_transport/minimal_host.exe" 1

echo "-- a log in place of the zip's"
cp -n "$package"/bin/* "$replaced/own_log/"
expect 1 '<4>' "$replaced/own_log/minimal_host.exe" 1
