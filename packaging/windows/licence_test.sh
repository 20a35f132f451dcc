#!/usr/bin/env bash
# licence_test.sh ZIP BUILD PREFIX: compares the parts of others that the zip holds with components.tsv and with the
# licences in the zip. The parts are the DLLs, and all files that the compiler and the linker read for this project's own
# DLLs and programs. Every part must belong to a component of the list, every component of the list must have a part,
# and the zip must hold the licence of each, in full. Every DLL that a file of the zip loads must be in the zip or be
# one of the system's.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
zip=$1 build=$(realpath "$2") prefix=$(realpath "$3")
project=$(realpath "$here/../..")
# DLLs of every Windows. Not those of Wine, which has some that Windows has not.
system=' advapi32 bcrypt crypt32 dnsapi iphlpapi kernel32 mpr msvcrt netapi32 ole32 secur32 shell32 user32 userenv
  version winmm ws2_32 '
own='^(ktshttpagent|chttpclient|libclog)\.dll$'
result=0
fail() { echo "-- $*"; result=1; }

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
unzip -q "$zip" -d "$folder"
top=$(echo "$folder"/*)

# Headers of all objects but those of programs that nobody is given.
headers() {
  ninja -C "$build" -t deps | awk '/^[^ ]/ { on = !/^(tests|fuzz|bench|examples)\// } on && /^ / { print $1 }'
}
libraries() { sed -n 's/^LOAD //p' "$build"/shipped/*.map; }
parts() {
  { headers; libraries; } | sort -u | (cd "$build" && xargs -d '\n' realpath --) | sort -u |
    grep -vE "^($project|$build)/" | sed "s|^$prefix/|PREFIX/|"
  (cd "$top" && printf '%s\n' bin/*.dll) | grep -vE "bin/${own#^}"
}

component_of() { # prints the package of the first row that matches a part
  local package dlls files patterns pattern
  while IFS=$'\t' read -r package dlls files; do
    read -ra patterns <<<"$dlls $files"
    for pattern in "${patterns[@]}"; do
      # shellcheck disable=SC2053 # a pattern
      if [[ $1 == $pattern ]]; then echo "$package"; return; fi
    done
  done <"$folder/rows"
  echo "-- belongs to no component of components.tsv: $1" >&2
  echo none
}

"$here/components.sh" >"$folder/rows"
parts >"$folder/parts"
while read -r part; do component_of "$part"; done <"$folder/parts" >"$folder/found" 2>"$folder/unknown"
echo "-- $(wc -l <"$folder/parts") parts"
[ "$(wc -l <"$folder/parts")" -ge 500 ] || fail "too few parts: at least 500 are expected"
[ ! -s "$folder/unknown" ] || { cat "$folder/unknown"; result=1; }
while IFS=$'\t' read -r package _; do
  count=$(grep -cxF "$package" "$folder/found" || true)
  source=$(dpkg-query -W -f='${source:Package}' "$package")
  echo "   $source: $count files"
  [ "$count" -gt 0 ] || fail "components.tsv: nothing is used of $package"
  cmp "/usr/share/doc/$package/copyright" "$top/licenses/$source.txt" || fail "no licence of $source"
  grep -qF "\"name\": \"$source\"" "$top/ktshttpagent.spdx.json" || fail "not in the bill of materials: $source"
  echo "$source.txt" >>"$folder/wanted"
done <"$folder/rows"
for file in "$top"/licenses/*.txt; do
  grep -qxF "${file##*/}" "$folder/wanted" || fail "the licence of no component: ${file##*/}"
done

# A copyright file of Debian names some licences by their place on a Debian system only.
while read -r licence; do
  cmp "$licence" "$top/licenses/common/${licence##*/}.txt" || fail "not in the zip: $licence"
done < <(grep -hoE '/usr/share/common-licenses/[A-Za-z0-9.-]*[A-Za-z0-9]' "$top"/licenses/*.txt | sort -u)

for file in "$top"/bin/*; do
  while read -r loaded; do
    [ -e "$top/bin/$loaded" ] || [[ ${loaded,,} == *.dll && " ${system//$'\n'/ } " == *" $(basename "${loaded,,}" .dll) "* ]] || fail "${file##*/} loads $loaded, which is nowhere"
  done < <(x86_64-w64-mingw32-objdump -p "$file" | sed -n 's/^\tDLL Name: //p')
done
exit "$result"
