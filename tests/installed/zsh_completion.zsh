#!/usr/bin/env -S zsh -f
# zsh_completion.zsh PREFIX FOLDER: what an interactive zsh on a terminal makes of a command line and the tab key.
zmodload zsh/zpty zsh/datetime
prefix=$1
touch report.json

fail() { print -r -- "-- FAILS: $*"; exit 1 }

# Reads the terminal until a text comes.
await() { # await TEXT
  local text=$1 part
  seen=''
  integer end=$((EPOCHSECONDS + 120))
  until [[ $seen = *$text* ]]; do
    ((EPOCHSECONDS < end)) || fail "waits in vain for '$text' in: ${(V)seen}"
    if zpty -rt terminal part; then seen+=$part; else sleep 0.02; fi
  done
}

zpty -b terminal "TERM=dumb COLUMNS=200 LINES=100 zsh -f -i"
zpty -w terminal "fpath=($prefix/share/zsh/site-functions \$fpath); autoload -U compinit; compinit -u -d $PWD/dump"
zpty -w terminal "unsetopt zle_bracketed_paste 2>/dev/null; bindkey '^I' complete-word; LISTMAX=0; zstyle ':completion:*' verbose yes"
zpty -w terminal "PS1='>'; stty -echo columns 200; print REA''DY"
await READY

# Completes a command line, which the key Ctrl+X then shows as it is.
zpty -w terminal "show() { zle -M '' ; print -r -- \"<\$BUFFER>\"; BUFFER= }; zle -N show; bindkey '^X' show; print REA''DY"
await READY
completed() { # completed "COMMAND LINE" "RESULT"
  zpty -w -n terminal "$1"$'\t\x18'
  await "<$2>"
  print -r -- "-- $1: $2"
}
lists() { # lists "COMMAND LINE" "A TEXT OF THE LIST"
  zpty -w -n terminal "$1"$'\t'
  await "$2"
  zpty -w -n terminal $'\x18'
  await '<'
  print -r -- "-- $1: lists '$2'"
}

completed 'ktsagent sup' 'ktsagent support-ver '
completed 'ktsagent outbox dra' 'ktsagent outbox drain '
completed 'ktsagent support-ver --serv' 'ktsagent support-ver --server='
completed 'ktsagent support-ver --server lab:80 --js' 'ktsagent support-ver --server lab:80 --json '
completed 'ktsagent report-incubator --file rep' 'ktsagent report-incubator --file report.json '
completed 'ktsagent stats rep' 'ktsagent stats report.json '
completed 'ktslabserver --por' 'ktslabserver --port='
lists 'ktsagent outbox dr' 'Removes dead letters for good'
lists 'ktsagent support-ver --' 'print one JSON object'
