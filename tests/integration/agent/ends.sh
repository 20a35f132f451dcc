#!/usr/bin/env bash
# Ends a host in each of its ways, COUNT times each, at changing moments, and prints a table:
#   ends.sh HOST [COUNT [KIND...]]
# Exits with 1 when one of the ends was not clean.
set -euo pipefail
host=$1 count=${2:-100}
shift $(($# < 2 ? $# : 2))

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export CLOG_DIR=$folder KTSHTTPAGENT_SETTINGS_ROOT=$folder MALLOC_PERTURB_=165

# shellcheck disable=SC2317 # it is called by the shells that xargs starts
# Prints the exit status of an end that was not clean: for a crash 128 plus the signal, for a hang 124.
one_end() {
  local status=0
  timeout 60 "$1" "$2" "$3" >"$CLOG_DIR/$2-$3" 2>&1 || status=$?
  if [ "$status" = 0 ]; then rm "$CLOG_DIR/$2-$3"; else echo "$status"; fi
} 2>/dev/null
export -f one_end

kinds=("$@")
[ ${#kinds[@]} -gt 0 ] || mapfile -t kinds < <("$host" kinds)
printf '%-60s %7s %9s  %s\n' kind ends unclean 'statuses'
result=0
for kind in "${kinds[@]}"; do
  statuses=$(seq "$count" | xargs -P "$(($(nproc) * 3))" -I{} bash -c 'one_end "$@"' _ "$host" "$kind" {} 2>/dev/null | sort | uniq -c)
  unclean=$(awk '{ sum += $1 } END { print sum + 0 }' <<<"$statuses")
  printf '%-60s %7d %9d  %s\n' "$kind" "$count" "$unclean" "$(awk 'NF { printf "%s (%d) ", $2, $1 }' <<<"$statuses")"
  [ "$unclean" = 0 ] || result=1
done
exit "$result"
