#!/usr/bin/env bash
# Prints the folder with the test data of curl's own test suite; tests of both HTTP interfaces send its replies. The
# data is extracted once from Debian's source package and kept in the cache, under the upstream version of the installed
# libcurl.
#   --where  prints the folder whether it exists or not
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

source_version=$(dpkg-query -W -f='${source:Version}' libcurl4-openssl-dev)
upstream=${source_version%-*}
folder=${KTS_CACHE:-${XDG_CACHE_HOME:-~/.cache}/ktshttpagent}/curl-$upstream-test-data

work=
fetch() {
  mkdir -p "$(dirname "$folder")"
  work=$(mktemp -d "$folder.XXXXXX")
  trap 'rm -rf "$work"' EXIT
  printf -- '-- curl test data: fetching into %s\n' "$folder" >&2
  # The installed version, or the latest one if the mirror no longer has the installed one.
  "$here/debian_source.sh" "$work" "curl=$source_version" >"$work/log" 2>&1 ||
    "$here/debian_source.sh" "$work" curl >>"$work/log" 2>&1 || { tail -20 "$work/log" >&2; exit 1; }
  mkdir "$work/unpacked"
  tar -xf "$work"/curl_*.orig.tar.[gx]z -C "$work/unpacked" --strip-components=3 --wildcards '*/tests/data/test[0-9]*' \
    2>"$work/log" || { tail -20 "$work/log" >&2; exit 1; }
  mv -T "$work/unpacked" "$folder" 2>/dev/null || [ -d "$folder" ] # another process may have been faster
}

[ "${1:-}" = --where ] || [ -d "$folder" ] || fetch
printf '%s\n' "$folder"
