#!/usr/bin/env bash
# scripts_test.sh FOLDER: checks that no script of the project switches off a protection of apt or a check of fetched
# files, and that none writes to a temporary file whose name another user can guess.
set -euo pipefail
cd "$1"
files() { # prints the files of the project, without those of builds and editors
  if [ -e .git ] && git ls-files --error-unmatch dev >/dev/null 2>&1; then
    git ls-files -z --cached --others --exclude-standard -- . ':!tests/supply'
  else
    find . \( -name .git -o -path ./build -o -path ./.cache -o -path ./tests/supply \) -prune -o -type f -print0
  fi
}
mapfile -t scripts < <(files |
  xargs -0 awk 'FNR == 1 && (/^#!.*sh$/ || /^# shellcheck shell=/) { print FILENAME } { nextfile }')
[ ${#scripts[@]} -ge 15 ] || { echo "found no more than ${#scripts[@]} scripts"; exit 1; }
result=0
never() { # never WHY PATTERN: fails if a script contains the pattern
  ! grep -nEi -e "$2" "${scripts[@]}" || { printf -- '-- %s\n' "$1"; result=1; }
}
never 'apt without its protections' 'sandbox.*=|allow-?unauthenticated(=(true|1|yes))?( |$)|trusted=yes|insecure[a-z]*=(true|1|yes)|force-yes'
never 'unpacks or fetches without verification' '--no-check|--insecure|(curl|wget) .*-k '
never 'a predictable name' '/tmp/|TMPDIR[^}]*}?/[^ ]*\$\$'
exit "$result"
