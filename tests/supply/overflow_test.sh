#!/usr/bin/env bash
# overflow_test.sh STATUS PROGRAM WAY: checks that the program Overflows succeeds if it stays within its buffer, and ends
# with the status if it writes beyond it.
set -euo pipefail
expected=$1 way=${*: -1}
shift
ulimit -c 0
"$@" 10 || { echo "-- fails although it stays within its buffer"; exit 1; }
status=0
"$@" 200 || status=$?
[ "$status" = "$expected" ] || { echo "-- $way: ends with $status instead of $expected"; exit 1; }
