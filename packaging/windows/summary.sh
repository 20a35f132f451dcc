#!/usr/bin/env bash
# What a test run of Windows came to: summary.sh CTEST-LOG WHAT-THE-TESTS-PRINTED LIST-OF-WHAT-WAS-NOT-BUILT
set -euo pipefail
log=$1 printed=$2 notBuilt=$3
reason() { # of a skipped test
  awk -v name="$1" 'index($0, "[ RUN      ] " name) { on = 1; next } on && /Skipped\r?$/ { getline; print; exit }' \
    "$printed" | tr -d '\r'
}

echo "-- failed"
sed -nE 's/^[^#]*#[0-9]+: (.*) \.+\*\*\*(Failed|Timeout|Exception.*|Not Run).*/   \1: \2/p' "$log"
echo "-- skipped when it ran"
sed -nE 's/^[^#]*#[0-9]+: ([^ ]+) \.+\*\*\*Skipped.*/\1/p' "$log" | while read -r name; do
  printf '   %s: %s\n' "$name" "$(reason "$name")"
done
echo "-- not there on Windows"
sed 's/^/   /' "$notBuilt"
echo "-- in all"
grep -E 'tests passed|Total Test time' "$log"
printf '%s passed\n' "$(grep -cE ' Passed +[0-9.]+ sec$' "$log")"
