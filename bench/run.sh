#!/usr/bin/env bash
# Builds the benchmarks, runs each in turns with its baselines, and prints one table.
# Needs nginx, valgrind and wrk, which ./dev bench installs. RUNS (5) is how often each one runs.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

runs=${RUNS:-5}
bin=build/release/bin
folder=$(mktemp -d)
outbox=$PWD/build/release/outbox-of-bench
lab_data=$PWD/build/release/lab-of-bench
nginx_pid=
lab_pid=
trap 'stop_nginx; stop_lab; rm -rf "$folder" "$outbox" "$lab_data"' EXIT
export CLOG_DIR=$folder/log KTSHTTPAGENT_SETTINGS_ROOT=$folder/settings
export QT_LOGGING_RULES="ktshttpagent.*=false"
unset KTSHTTPAGENT_OUTBOX http_proxy https_proxy HTTP_PROXY HTTPS_PROXY all_proxy ALL_PROXY

# 10,000 connections need as many descriptors.
ulimit -n "$(ulimit -Hn)"

stop_nginx() { [ -z "$nginx_pid" ] || { kill "$nginx_pid"; wait "$nginx_pid" || true; } 2>/dev/null; }

answers() { (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }

# Starts Debian's nginx in the temporary folder on a free port: nginx ends at once if the port is already in use.
start_nginx() {
  PATH=$PATH:/usr/sbin
  for _ in {1..5}; do
    port=$((20000 + RANDOM % 10000))
    sed "s|FOLDER|$folder|; s|PORT|$port|" bench/nginx.conf.in >"$folder/nginx.conf"
    nginx -p "$folder" -c "$folder/nginx.conf" -e "$folder/error.log" 2>>"$folder/nginx.out" &
    nginx_pid=$!
    for _ in {1..50}; do
      kill -0 "$nginx_pid" 2>/dev/null || break
      ! answers "$port" || { kill -0 "$nginx_pid" && return 0; }
      sleep 0.1
    done
  done
  nginx_pid=
  cat "$folder/nginx.out" >&2
  exit 1
}

stop_lab() { [ -z "$lab_pid" ] || { kill "$lab_pid"; wait "$lab_pid" || true; } 2>/dev/null; }

# Starts the lab server, which stores on the disk of the build: a temporary folder may be in memory.
start_lab() {
  rm -rf "$lab_data"
  mkdir -p "$lab_data"
  "$bin/ktslabserver" --port 0 --data "$lab_data/lab.db" >"$folder/lab.out" &
  lab_pid=$!
  for _ in {1..50}; do
    lab=$(sed -n 's|.*listening on \(http://.*\)/$|\1|p' "$folder/lab.out")
    [ -z "$lab" ] || return 0
    sleep 0.1
  done
  echo "bench: the lab server does not start" >&2
  exit 1
}

# requests_a_second CONNECTIONS URL [OPTION...]: prints how many requests wrk gets answered with a success.
requests_a_second() {
  wrk --threads 1 --connections "$1" --duration 3s "${@:3}" "$2" >"$folder/wrk"
  if grep -E 'Non-2xx|Socket errors' "$folder/wrk" >&2; then
    exit 1
  fi
  sed -n 's|^Requests/sec: *||p' "$folder/wrk"
}

# figures NAME COMMAND...: runs the command once and appends each line of its output to the series NAME.1, NAME.2, ...
figures() {
  local name=$1 number=0 figure
  shift
  "$@" >"$folder/out"
  while read -r figure; do
    number=$((number + 1))
    echo "$figure" >>"$folder/$name.$number"
  done <"$folder/out"
}

# in_turns NAME=COMMAND...: runs all commands one after the other, and repeats that RUNS times, so that all of them run
# under the same conditions.
in_turns() {
  local turn entry
  for ((turn = 0; turn < runs; ++turn)); do
    for entry in "$@"; do
      # shellcheck disable=SC2086 # no argument of a command contains a blank
      figures "${entry%%=*}" ${entry#*=}
    done
  done
}

# instructions MEASUREMENT [PROGRAM]: prints the instructions of one request: a long run minus a short one, so that the
# start-up cancels out.
instructions() {
  local count sums=()
  for count in 500 2500; do
    valgrind --tool=callgrind --callgrind-out-file=/dev/null "${2:-$bin/ktsbench}" "$1" "$port" "$count" \
      >/dev/null 2>"$folder/valgrind"
    sums+=("$(sed -n 's/.*Collected : //p' "$folder/valgrind")")
  done
  echo $(((sums[1] - sums[0]) / 2000))
}

# Runs a command with an outbox in a new folder. That is on the disk of the build, not in a temporary folder, which may
# be in memory.
with_outbox() {
  rm -rf "$outbox"
  KTSHTTPAGENT_OUTBOX=$outbox "$@"
  sync # what the system has still to write would slow down the next measurement
}

median() { sort -g | awk '{ value[NR] = $1 } END { print (value[int((NR + 1) / 2)] + value[int(NR / 2) + 1]) / 2 }'; }

# short FIGURE: prints it with its significant digits only.
short() { awk -v figure="$1" 'BEGIN { printf figure < 100 ? "%.1f" : "%.0f", figure }'; }

# row WHAT UNIT OURS BASELINE RELATION REACH: prints a line of the table. The ratio is the median of the ratios of the
# pairs. REACH is the ratio that is aimed at, and RELATION says whether as a maximum (≤) or a minimum (≥); both are "-"
# if there is no aim.
row() {
  local ours base ratio verdict
  ours=$(median <"$folder/$3") base=$(median <"$folder/$4")
  ratio=$(paste "$folder/$3" "$folder/$4" | awk '{ print $1 / $2 }' | median)
  verdict=$(awk -v ratio="$ratio" -v relation="$5" -v reach="$6" 'BEGIN {
    if (relation == "-") print "-"
    else print ((relation == "≤" ? ratio <= reach : ratio >= reach) ? "yes" : "no") }')
  printf '| %s | %s | %s | %s | %.2f | %s | %s |\n' "$1" "$2" "$(short "$ours")" "$(short "$base")" "$ratio" \
    "$([ "$5" = - ] && echo - || echo "$5 $6")" "$verdict"
}

# figure WHAT UNIT OURS MOST: the same for a figure that has no baseline but a maximum.
figure() {
  local ours
  ours=$(median <"$folder/$3")
  printf '| %s | %s | %s | - | - | ≤ %s | %s |\n' "$1" "$2" "$(short "$ours")" "$4" \
    "$(awk -v ours="$ours" -v most="$4" 'BEGIN { print ours <= most ? "yes" : "no" }')"
}

measure() {
  local bench=$bin/ktsbench decode=$bin/ktsdecodebench
  in_turns "rate=$bench rate-agent $port 100000" "rate-direct=$bench rate-agent-direct $port 100000" \
    "rate-bare=$bench rate-bare $port 100000" "rate-qt=$bench rate-qt $port 20000"
  in_turns "rate-figures=$bench rate-agent $port 100000" \
    "rate-without-figures=${bench}_without_figures rate-agent $port 100000"
  in_turns "reports-off=$bench rate-reports $port 100000" \
    "reports-without=${bench}_without_outbox rate-reports $port 100000" \
    "reports-on=with_outbox $bench rate-reports $port 100000"
  in_turns "reports-off-instructions=instructions rate-reports" \
    "reports-without-instructions=instructions rate-reports ${bench}_without_outbox"
  in_turns "calls-off=$bench calls-reports $port 10000" "calls-on=with_outbox $bench calls-reports $port 10000"
  in_turns "sleeps-on=with_outbox $bench sleeps-reports $port 30"
  in_turns "latency=$bench latency-agent $port 10000" "latency-direct=$bench latency-agent-direct $port 10000" \
    "latency-hand-over=$bench latency-hand-over $port 10000" "latency-bare=$bench latency-bare $port 10000"
  in_turns "processor=$bench processor-agent $port 100" "processor-bare=$bench processor-bare $port 100"
  in_turns "instructions=instructions rate-agent" "instructions-bare=instructions rate-bare" \
    "instructions-qt=instructions rate-qt"
  in_turns "decode=$decode ours 1000" "decode-rapidjson=$decode rapidjson 1000" "decode-qt=$decode qt 1000"
  in_turns "decode-1k=$decode ours 5" "decode-10k=$decode ours 50" "decode-100k=$decode ours 500" \
    "decode-1M=$decode ours 5000" "decode-10M=$decode ours 50000" "decode-100M=$decode ours 500000" \
    "decode-100M-rapidjson=$decode rapidjson 500000"
  in_turns "sync=$bench sync-agent $port 500" "sync-qt=$bench sync-qt $port 500"
  in_turns "waiting=$bench in-flight-agent 10000 1 8"
  CHTTPCLIENT_HOST_CONNECTIONS=1000 in_turns "flying=$bench in-flight-agent 10000 10 10000" \
    "flying-bare=$bench in-flight-bare 10000 10 10000"
  in_turns "lab=requests_a_second 8 $lab/vomd/system/GetSupportVer.action?t=1.1.0" \
    "lab-nginx=requests_a_second 8 http://127.0.0.1:$port/vomd/system/GetSupportVer.action?t=1.1.0"
  local cycles=$lab/open/test-cabinet/add/kostrel/cycle
  in_turns "lab-reports=requests_a_second 64 $cycles --script bench/report.lua" \
    "lab-reports-1=requests_a_second 1 $cycles --script bench/report.lua"
  in_turns "start=$bench start-up $bin/host_with_agent" "start-without=$bench start-up $bin/host_without_agent"
}

table() {
  echo '| what | unit | ours | baseline | ratio | reach | reached |'
  echo '|---|---|---|---|---|---|---|'
  row 'rate, host thread, against the bare loop' requests/s rate.1 rate-bare.1 ≥ 0.9
  row 'rate, direct receiver, against the bare loop' requests/s rate-direct.1 rate-bare.1 ≥ 0.9
  row 'rate, host thread, against Qt' requests/s rate.1 rate-qt.1 ≥ 5.5
  row 'rate, host thread, against the library without the figures' requests/s rate-figures.1 rate-without-figures.1 ≥ 0.98
  row 'rate of reports, outbox off, against the library without it' reports/s reports-off.1 reports-without.1 ≥ 0.99
  row 'instructions a report, outbox off, against the library without it' instructions reports-off-instructions.1 reports-without-instructions.1 ≤ 1.01
  row 'rate of reports, outbox on, against off' reports/s reports-on.1 reports-off.1 ≥ 0.9
  row 'call of a sender of reports, outbox on, against off, median' µs calls-on.1 calls-off.1 - -
  row 'the same, 99.9th percentile' µs calls-on.2 calls-off.2 - -
  figure 'call of a sender of reports, outbox on, 99.9th percentile' µs calls-on.2 100
  figure 'threads that go to sleep in 30 idle seconds, outbox on' - sleeps-on.1 1
  row 'latency, host thread, median' µs latency.1 latency-bare.1 ≤ 1.6
  row 'latency, host thread, 99th percentile' µs latency.2 latency-bare.2 ≤ 2
  row 'latency, direct receiver, median' µs latency-direct.1 latency-bare.1 ≤ 1.35
  row 'latency, direct receiver, 99th percentile' µs latency-direct.2 latency-bare.2 ≤ 2
  row 'latency, direct receiver, against bare libcurl on another thread, median' µs latency-direct.1 latency-hand-over.1 - -
  row 'processor time a request at 20 a second, against the bare loop' µs processor.1 processor-bare.1 ≤ 1.3
  row 'instructions a request, against the bare loop' instructions instructions.1 instructions-bare.1 ≤ 1.37
  row 'instructions a request, against Qt' instructions instructions.1 instructions-qt.1 - -
  row 'decoding 1,000 projects, against the bare parse' MB/s decode.1 decode-rapidjson.1 ≥ 0.7
  row 'decoding 1,000 projects, against Qt' MB/s decode.1 decode-qt.1 ≥ 3
  local size
  for size in 10k 100k 1M 10M 100M; do
    row "decoding $size bytes, against 1k" MB/s "decode-$size.1" decode-1k.1 - -
  done
  row 'decoding 100M bytes, against the bare parse' MB/s decode-100M.1 decode-100M-rapidjson.1 - -
  row 'blocking call, median, against a one-shot manager' µs sync.1 sync-qt.1 ≤ 1.05
  row '10,000 in flight over 10,000 connections, against bare handles' bytes/request flying.1 flying-bare.1 - -
  row '10,000 in flight over 8 connections, against 10,000 connections' bytes/request waiting.1 flying.1 - -
  row 'lab server, questions over 8 connections, against nginx' requests/s lab.1 lab-nginx.1 - -
  row 'lab server, stored reports over 64 connections, against 1' reports/s lab-reports.1 lab-reports-1.1 - -
  row 'start-up until both objects are there, against an empty host' ms start.1 start-without.1 - -
  row 'resident then, against an empty host' bytes start.2 start-without.2 - -
}

[ -f build/release/build.ninja ] || cmake --preset release >"$folder/configure" 2>&1 || { cat "$folder/configure"; exit 1; }
cmake --build --preset release --target bench >&2
start_nginx
start_lab
echo "$(date -u +%F), $(nproc) × $(sed -n 's/^model name.*: //p' /proc/cpuinfo | head -n 1), load $(cut -d ' ' -f 1 /proc/loadavg); $runs runs in turns, medians"
measure
table
