#!/usr/bin/env bash
# bash_completion.sh PREFIX FOLDER: what bash offers for a command line, with the completions that it loads itself from
# the prefix.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tests/installed/common.sh
. "$here/common.sh"
export XDG_DATA_DIRS=$1/share PATH=$1/bin:$PATH
touch report.json
mkdir folder

# The words that bash offers at the end of a command line, in one line. A new shell as a user's, without -eu.
offered() { # offered "COMMAND LINE"
  bash --norc -c '
    . /usr/share/bash-completion/bash_completion
    read -ra COMP_WORDS <<<"$1"
    [[ $1 != *" " ]] || COMP_WORDS+=("")
    COMP_LINE=$1 COMP_POINT=${#1} COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    compopt() { :; } # works only while bash itself completes
    _completion_loader "${COMP_WORDS[0]}"
    function=$(complete -p "${COMP_WORDS[0]}" | sed -nE "s/.*-F ([^ ]+).*/\1/p")
    "$function" "${COMP_WORDS[0]}" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
    printf "%s\n" "${COMPREPLY[@]}"' bash "$1" | sort | paste -sd ' '
}

offers() { # offers "COMMAND LINE" "WORDS"
  local words
  words=$(offered "$1")
  [ "$words" = "$2" ] || fail "offers '$words' for '$1', not '$2'"
  printf -- '-- %s: %s\n' "$1" "$words"
}

offers 'ktsagent su' 'support-ver'
offers 'ktsagent outbox dr' 'drain drop'
offers 'ktsagent support-ver --' '--help --json --server --t --timeout --verbose'
offers 'ktsagent support-ver ' '--help --json --server --t --timeout --verbose -h -v'
offers 'ktsagent support-ver --server ' ''
offers 'ktsagent support-ver --server lab:80 --j' '--json'
offers 'ktsagent support-ver --t demo --ver' '--verbose'
offers 'ktsagent report-cycle --data outbox --sy' '--sync'
offers 'ktsagent report-incubator --file rep' 'report.json'
offers 'ktsagent report-incubator --file=rep' 'report.json'
offers 'ktsagent outbox list --folder f' 'folder'
offers 'ktsagent outbox list --folder r' ''
offers 'ktsagent stats rep' 'report.json'
offers 'ktslabserver --po' '--port'
offers 'ktslabserver --data rep' 'report.json'
