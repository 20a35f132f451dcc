#!/usr/bin/env bash
# Summarises a test run for Windows: summary.sh CTEST-LOG OUTPUT-OF-THE-TESTS LIST-OF-TESTS-NOT-BUILT
set -euo pipefail
log=$1 printed=$2 notBuilt=$3
output() { # prints the last 40 lines that a test printed
  awk -v name="$1" '/^[0-9]+\/[0-9]+ Test: / { on = (substr($0, index($0, "Test: ") + 6) == name) } on' "$printed" |
    tr -d '\r' | sed '/^<end of output>/,$d' | tail -n 40
}
reason() { # prints why a test was skipped
  awk -v name="$1" 'index($0, "[ RUN      ] " name) { on = 1; next } on && /Skipped\r?$/ { getline; print; exit }' \
    "$printed" | tr -d '\r'
}

echo "-- failed"
sed -nE 's/^[^#]*#[0-9]+: (.*) \.+\*\*\*(Failed|Timeout|Exception.*|Not Run).*/\1: \2/p' "$log" | while read -r failed; do
  printf '   %s\n' "$failed"
  output "${failed%: *}" | sed 's/^/      /'
done
echo "-- skipped at run time"
tr -d '\r' <"$printed" | sed -nE 's/^\[  SKIPPED \] (.*) \([0-9]+ ms\)$/\1/p' | while read -r name; do
  printf '   %s: %s\n' "$name" "$(reason "$name")"
done
echo "-- not built for Windows"
sed 's/^/   /' "$notBuilt"
echo "-- total"
grep -E 'tests passed|Total Test time' "$log"
printf '%s passed\n' "$(grep -cE ' Passed +[0-9.]+ sec$' "$log")"
