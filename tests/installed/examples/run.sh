#!/usr/bin/env bash
# run.sh PREFIX FOLDER EXAMPLES TUTORIAL EXAMPLE: runs one example, and checks what it prints and does. EXAMPLES is the
# folder in which build.sh has built them, TUTORIAL that of steps.sh. The picture of window_host goes to the file that
# the environment variable WINDOW_HOST_PICTURE names.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tests/installed/common.sh
. "$here/../common.sh"
prefix=$1 built=$3/all/examples driver=$3/all/libwindow_driver.so window_host=$4/build/window_host example=$5
sources=$here/../../../examples/$example
lab='' others=()
trap 'end $lab "${others[@]}"' EXIT

end() { # end PROCESS...
  local process
  for process; do
    kill "$process" 2>/dev/null || true
    wait "$process" 2>/dev/null || true
  done
}

await() { # await COMMAND...: until it succeeds
  local tries
  for ((tries = 0; tries < 1200; ++tries)); do
    ! "$@" || return 0
    sleep 0.05
  done
  head -50 ./*.txt
  fail "waits in vain for: $*"
}

start_lab() { # start_lab [PORT]: sets lab and port
  rm -f lab.txt # that of an earlier one, which says "listening" too
  "$prefix/bin/ktslabserver" --port "${1:-0}" >lab.txt &
  lab=$!
  await grep -qs listening lab.txt
  port=$(sed -nE 's/.*:([0-9]+)\/$/\1/p' lab.txt)
}

stop_lab() { end "$lab"; lab=''; }

fault() { # fault JSON: of the next request to the path in it
  curl -sSf -H 'Content-Type: application/json' -d "$1" "http://127.0.0.1:$port/lab/faults" >/dev/null
}

expect() { # expect STATUS TEXT COMMAND...: it ends with this status and prints a line with this text
  local wanted=$1 text=$2 status=0
  shift 2
  timeout 60 "$@" >output.txt 2>&1 || status=$?
  cat output.txt
  [ "$status" = "$wanted" ] || fail "the exit status is $status, not $wanted"
  grep -qF -- "$text" output.txt || fail "prints no '$text'"
}

stored() { # stored KIND: how many reports of this kind the lab server has
  curl -sSf "http://127.0.0.1:$port/lab/reports/$1" | sed -nE 's/^\{"count":([0-9]+).*/\1/p'
}

same() { # same WHAT ONE OTHER
  [ "$2" = "$3" ] || fail "$1: $2, not $3"
}

run_minimal_host() {
  start_lab
  expect 0 'supported: "1.1.0"' "$built/minimal_host/minimal_host" "$port"
  stop_lab
  expect 1 'not supported, or no answer' "$built/minimal_host/minimal_host" "$port"
}

run_blocking_host() {
  local host=$built/blocking_host/blocking_host
  start_lab
  expect 0 'channel 1 may start: No restriction' "$host" 127.0.0.1 "$port" 1
  grep -qF 'the server has the report' output.txt
  same 'reports of cycles' "$(stored cycle-data)" 1
  expect 1 'channel 8 must not start: Channel 8 waits for calibration' "$host" 127.0.0.1 "$port" 8
  fault '{"path": "vomd/system/channelCheckData.action", "count": 1, "silence": true}'
  expect 3 'no answer came within 300 ms' "$host" 127.0.0.1 "$port" 1 300
  fault '{"path": "open/test-cabinet/add/kostrel/cycle", "count": 1, "status": 500}'
  expect 4 'no answer after' "$host" 127.0.0.1 "$port" 1
  same 'reports of cycles' "$(stored cycle-data)" 1
  stop_lab
  expect 3 'Connection refused' "$host" 127.0.0.1 "$port" 1
  expect 2 usage "$host"
}

run_outbox_host() {
  local host=$built/outbox_host/outbox_host
  start_lab
  stop_lab # so there is a port at which nobody listens
  "$host" outbox 127.0.0.1 "$port" 3 >first.txt 2>&1 &
  others=($!)
  await grep -q 'waiting: 3' first.txt
  await same_count safe 3 first.txt
  kill -KILL "${others[0]}"
  wait "${others[0]}" 2>/dev/null || true
  start_lab "$port"
  "$host" outbox 127.0.0.1 "$port" 0 >second.txt 2>&1 &
  others=($!)
  await same_count arrived: 3 second.txt
  same 'stored reports' "$(stored incubator-status)" 3
  head first.txt second.txt
  : >file
  expect 1 'no outbox: ' "$host" file 127.0.0.1 "$port" 0
}
same_count() { [ "$(grep -c "^$1" "$3")" = "$2" ]; } # same_count WORD NUMBER FILE

run_own_transport() {
  local own=$built/own_transport
  echo "-- what every transport must do: this one, and the library's own"
  expect 0 'in the child of a fork' "$own/transport_check"
  LD_LIBRARY_PATH=$prefix/lib expect 0 'in the child of a fork' "$own/transport_check"
  echo "-- a host and the command-line host with this transport, without any server"
  export LD_LIBRARY_PATH=$own OWN_TRANSPORT_FOLDER=answers
  cp -r "$sources/answers" answers
  expect 0 'supported: "1.1.0"' "$built/minimal_host/minimal_host" 1
  expect 0 'bSucc: true' "$prefix/bin/ktsagent" report-incubator --server 127.0.0.1:1 --name INC-7 --status idle
  grep -qF '"name":"INC-7"' answers/3102.sent
  rm answers/3104.json
  expect 1 'not supported, or no answer' "$built/minimal_host/minimal_host" 1
  grep -qF 'failed: request of type 3104, outcome 404' "$CLOG_DIR/ktshttpagent.log"
}

run_own_log() {
  LD_LIBRARY_PATH=$built/own_log expect 1 '<4>' "$built/minimal_host/minimal_host" 1
  grep -qE '^<4>.*failed: GET http://127\.0\.0\.1:1/.*Failed to connect' output.txt
  [ ! -e "$CLOG_DIR" ] || fail "the library's own log writes too"
}

run_window_host() {
  local picture=${WINDOW_HOST_PICTURE:-window_host.png}
  start_lab
  Xvfb -displayfd 1 -screen 0 1024x768x24 -nolisten tcp >display.txt 2>xvfb.txt &
  others=($!)
  await test -s display.txt
  export DISPLAY XDG_RUNTIME_DIR=$PWD LC_ALL=C.UTF-8 QT_QPA_PLATFORM=xcb
  DISPLAY=:$(cat display.txt)
  # Preloaded into the program alone: no other program here would know its libraries.
  LD_PRELOAD=$driver WINDOW_DRIVER_LAB=http://127.0.0.1:$port WINDOW_DRIVER_PICTURE=$picture \
    "$window_host" 127.0.0.1 "$port"
}

"run_$example"
