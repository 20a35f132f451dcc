#!/usr/bin/env bash
# Prints the path of the program hardening-check: this machine's, or one in the cache. Only this one file of Debian's
# package devscripts is extracted; installing the package would add some fifty others. apt uses separate lists, because
# those of the machine may be missing or out of date.
#   --where  prints the path whether the program exists or not
set -euo pipefail
program=$(command -v hardening-check) || program=${KTS_CACHE:-${XDG_CACHE_HOME:-~/.cache}/ktshttpagent}/hardening-check

fetch() {
  # shellcheck source=SCRIPTDIR/apt.sh
  . "$(dirname "${BASH_SOURCE[0]}")/apt.sh"
  printf -- '-- hardening-check: fetching into %s\n' "$program" >&2
  local own_lists=("${apt_protections[@]}" -o Dir::State::Lists="$apt_folder/lists" -o Dir::Cache="$apt_folder")
  { apt-get "${own_lists[@]}" update &&
    (cd "$apt_folder/files" && apt-get "${own_lists[@]}" download devscripts); } >"$apt_folder/log" 2>&1 ||
    { cat "$apt_folder/log" >&2; exit 1; }
  mkdir "$apt_folder/package"
  apt-cache "${own_lists[@]}" show devscripts | awk '/^Filename:/ { sub(".*/", ""); name = $NF } /^SHA256:/ { print $2 "  " name }' |
    hand_over "$apt_folder/package"
  dpkg-deb --fsys-tarfile "$apt_folder"/package/devscripts_*.deb |
    tar -xO ./usr/bin/hardening-check >"$apt_folder/hardening-check"
  chmod 755 "$apt_folder/hardening-check"
  mkdir -p "$(dirname "$program")"
  mv "$apt_folder/hardening-check" "$program"
}

[ "${1:-}" = --where ] || [ -x "$program" ] || fetch
printf '%s\n' "$program"
