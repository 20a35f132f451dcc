#!/usr/bin/env bash
# Checks how a library or program was built:
#   hardening_test.sh ELF-FILE HARDENING-CHECK [landing-pads] OPTION...   with hardening-check and these options
#   hardening_test.sh PE-FILE [unguarded]                                 unguarded: without checking its stack
# Exits with 77 (skipped) without hardening-check.
set -euo pipefail
export LC_ALL=C
file=$1
shift
result=0
fail() { echo "$file: $*"; result=1; }

if [ "$(head -c 2 "$file")" = MZ ]; then
  headers=$(objdump -p "$file")
  for flag in HIGH_ENTROPY_VA DYNAMIC_BASE NX_COMPAT; do
    grep -q "$flag" <<<"$headers" || fail "not $flag"
  done
  ! grep -q 'relocations stripped' <<<"$headers" || fail "can't be loaded elsewhere: it has no relocations"
  [ "${1:-}" = unguarded ] || grep -qa 'stack smashing detected' "$file" || fail "its stack is not protected"
  exit "$result"
fi

checker=$1
shift
[ -x "$checker" ] || { echo "skipped: no hardening-check; packaging/hardening_check.sh, which ./dev test runs, fetches it"; exit 77; }
if [ "${1:-}" = landing-pads ]; then
  shift
  # Checked here, because hardening-check looks for marks in the file's header. The linker sets these only if all parts
  # have the instructions, and the C library's start files, which are part of every program, don't have them.
  grep -qaP '\xf3\x0f\x1e\xfa' "$file" || fail "has no landing pads for indirect jumps"
  set -- --nocfprotection "$@"
fi
"$checker" "$@" "$file" || result=1
readelf -lW "$file" | grep -q 'GNU_STACK.* RW ' || fail "its stack may be executed"
exit "$result"
