#!/usr/bin/env bash
# Runs every fuzzer of the preset "fuzz", each for the given number of seconds (60 by default), starting from its stored
# corpus. New inputs that a fuzzer finds useful stay in the build folder. An input that breaks a rule is stored in
# build/fuzz/findings and makes this script fail; add it to corpus/ together with the fix.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

seconds=${1:-60}
build=../build/fuzz
mkdir -p "$build/findings"
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
failed=()

for corpus in corpus/*/; do
  name=$(basename "$corpus")
  options=(-max_total_time="$seconds" -timeout=20 -rss_limit_mb=4096 -print_final_stats=1
    -artifact_prefix="$build/findings/$name-")
  case $name in decoders | envelope | query) options+=(-dict=replies.dict) ;; esac
  mkdir -p "$build/learned/$name"
  printf '\n== fuzz: %s\n' "$name"
  "$build/bin/fuzz_$name" "${options[@]}" "$build/learned/$name" "$corpus" 2>"$build/$name.log" || failed+=("$name")
  grep -E '^#[0-9]+.*(INITED|DONE)|^stat::|^broken|ERROR|SUMMARY|Test unit written' "$build/$name.log" || true
done

[ ${#failed[@]} -eq 0 ] || { echo "fuzz: broken: ${failed[*]}; see $build/NAME.log and $build/findings" >&2; exit 1; }
