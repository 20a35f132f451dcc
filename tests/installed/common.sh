# shellcheck shell=bash
# For the scripts of this folder, which source it.

fail() { printf -- '-- FAILS: %s\n' "$*"; exit 1; }

# Runs a command whose output is shown only if it fails.
quietly() {
  "$@" >output.txt 2>&1 || { cat output.txt; fail "$*"; }
}

# Runs a command that must fail and print a text.
refused() { # refused TEXT COMMAND...
  local text=$1
  shift
  ! "$@" >output.txt 2>&1 || fail "succeeds: $*"
  # CMake breaks its lines, so blanks may be line feeds.
  tr -s '[:space:]' ' ' <output.txt | grep -qF -- "$text" || { cat output.txt; fail "does not say '$text': $*"; }
  printf -- '-- refused: %s\n' "$text"
}

# Starts the lab server of a prefix and lets a host get its first signal from it.
first_signal() { # first_signal PREFIX HOST
  "$1/bin/ktslabserver" --port 0 >lab.txt &
  local lab=$! status=0
  # shellcheck disable=SC2064 # this server
  trap "kill $lab 2>/dev/null || true" EXIT
  until grep -q listening lab.txt; do
    kill -0 "$lab" || fail "the lab server ended"
    sleep 0.05
  done
  timeout 60 "$2" "$(sed -nE 's/.*:([0-9]+)\/$/\1/p' lab.txt)" >signal.txt 2>&1 || status=$?
  kill "$lab"
  wait "$lab" || true
  sed 's/^/-- /' signal.txt
  [ "$status" = 0 ] || fail "the host ended with $status"
  grep -q '^supported: 1.1.0$' signal.txt || fail "the host got no signal"
}

# Checks that a program finds each of the three libraries in a folder, and nothing is missing.
finds_libraries() { # finds_libraries FOLDER PROGRAM
  ldd "$2" >ldd.txt
  ! grep 'not found' ldd.txt || fail "$2 lacks libraries"
  local name found
  for name in libktshttpagent libchttpclient libclog; do
    found=$(sed -nE "s/^\s*$name\.so\.0 => (.*) \(.*/\1/p" ldd.txt)
    [ "$(realpath -m "$found")" = "$(realpath -m "$1/$name.so.0")" ] || fail "$2 finds $name.so.0 as '$found', not in $1"
  done
}
