#!/usr/bin/env bash
# Prints the failed tests whose program printed nothing at all, each as a line: silent_failures.sh OUTPUT-OF-THE-TESTS
# Wine sometimes ends a program before it begins, and every test program of ours begins with a line of GoogleTest.
set -euo pipefail
tr -d '\r' <"$1" | awk '
  /^[0-9]+\/[0-9]+ Test: / { name = substr($0, index($0, "Test: ") + 6); inside = 0; lines = 0 }
  /^<end of output>$/ { inside = 0 }
  inside { ++lines }
  /^-+$/ && before == "Output:" { inside = 1 }
  /^Test Failed\.$/ && lines == 0 { print name }
  { before = $0 }'
