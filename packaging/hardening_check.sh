#!/usr/bin/env bash
# Prints the program hardening-check: this machine's, or one in the cache. Of Debian's package devscripts that one file
# is wanted; the package itself would bring half a hundred others.
#   --where  prints it, there or not
set -euo pipefail
program=$(command -v hardening-check) || program=${KTS_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/ktshttpagent}/hardening-check

fetch() {
  # shellcheck source=SCRIPTDIR/apt.sh
  . "$(dirname "${BASH_SOURCE[0]}")/apt.sh"
  printf -- '-- hardening-check: fetching into %s\n' "$program" >&2
  (cd "$apt_folder/files" && apt-get "${apt_protections[@]}" download devscripts) >"$apt_folder/log" 2>&1 ||
    { cat "$apt_folder/log" >&2; exit 1; }
  mkdir "$apt_folder/package"
  apt-cache show devscripts | awk '/^Filename:/ { sub(".*/", ""); name = $NF } /^SHA256:/ { print $2 "  " name }' |
    hand_over "$apt_folder/package"
  dpkg-deb --fsys-tarfile "$apt_folder"/package/devscripts_*.deb |
    tar -xO ./usr/bin/hardening-check >"$apt_folder/hardening-check"
  chmod 755 "$apt_folder/hardening-check"
  mkdir -p "$(dirname "$program")"
  mv "$apt_folder/hardening-check" "$program"
}

[ "${1:-}" = --where ] || [ -x "$program" ] || fetch
printf '%s\n' "$program"
