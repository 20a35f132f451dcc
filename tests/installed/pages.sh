#!/usr/bin/env bash
# pages.sh PREFIX FOLDER: the manual pages are formatted without a complaint, and they and the completions know each
# command and option that the programs' own help names.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tests/installed/common.sh
. "$here/common.sh"
prefix=$1
export MANPATH=$prefix/share/man MANWIDTH=100 LC_ALL=C.UTF-8

commands_of() { # commands_of COMMAND...: the names below it
  "$@" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z-]*\) .*/\1/p'
}

options_of() { # options_of COMMAND...
  "$@" --help | sed -nE 's/^  ((-.,)?--[A-Za-z_-]+(,--[A-Za-z_-]+)*).*/\1/p' | tr , '\n'
}

# What each of the three files says about one command. PATH is the program's name and the command's.
section_of_page() { # section_of_page PAGE PATH
  case $2 in
    *' '*) awk -v head="   $2" '$0 == head { on = 1; next } /^   [a-z]/ || /^[A-Z]/ { on = 0 } on' "$1" ;;
    *) sed -n '/^OPTIONS/,/^[A-Z]/p' "$1" ;;
  esac
}
row_of_bash() { sed -n "/^        '${1#"$program"}')/,/;;/p" "$bash_file"; }
function_of_zsh() { sed -n "/^_${1// /_}()/,/^}/p" "$zsh_file"; }

count=0
check() { # check PATH COMMAND...: this command, and those below it
  local path=$1 page row function option below=''
  shift
  row=$(row_of_bash "$path")
  function=$(function_of_zsh "$path")
  page=$(section_of_page "$program.txt" "$path")
  for below in $(commands_of "$@"); do
    count=$((count + 1))
    grep -qE "commands='(.* )?${below}[ ']" <<<"$row" || fail "bash does not complete: $path $below"
    grep -qF "'$below:" <<<"$function" || fail "zsh does not complete: $path $below"
    check "$path $below" "$@" "$below"
  done
  [[ $path != *' '* || -z $below ]] || return 0 # the page describes only the commands below
  for option in $(options_of "$@"); do
    count=$((count + 1))
    grep -qE -- "^ +(-.*, )?${option}($|[ ,])" <<<"$page" || fail "the page does not describe: $path $option"
    grep -qE -- "options='(.* )?${option}[ ']" <<<"$row" || fail "bash does not complete: $path $option"
    grep -qE -- "'(\([^)]*\)|\*)${option}[+=[]" <<<"$function" ||
      fail "zsh does not complete: $path $option"
  done
}

for program in ktsagent ktslabserver; do
  source=$prefix/share/man/man1/$program.1
  bash_file=$prefix/share/bash-completion/completions/$program
  zsh_file=$prefix/share/zsh/site-functions/_$program
  mandoc -T lint -W warning "$source" || fail "mandoc complains about $source"
  man --warnings -l "$source" 2>complaints.txt | col -b >"$program.txt"
  [ ! -s complaints.txt ] || { cat complaints.txt; fail "man complains about $source"; }
  man -w "$program" >/dev/null || fail "man does not find $program"
  check "$program" "$prefix/bin/$program"
done
printf -- '-- %s commands and options\n' "$count"
[ "$count" -gt 200 ] || fail "too few: the help was not understood"
