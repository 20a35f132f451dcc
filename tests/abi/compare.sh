#!/usr/bin/env bash
# compare.sh FOLDER_OF_LIBRARIES [accept]: compares the binary interface of the three libraries, and the layout of every
# public record and class, with what is stored in baseline/, or stores what there is now. The stored files were read from
# what Debian 12's g++ compiled. What a difference means is told in docs/compatibility.md.
set -euo pipefail
libraries=$(realpath "$1")
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
source tests/abi/binary_interface.sh
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

unnamed=$(unnamed_types include)
if [ -n "$unnamed" ]; then
  echo "abi: tests/abi/layouts.cpp has to name these too: ${unnamed//$'\n'/, }" >&2
  exit 1
fi
read_layouts include "$folder/layouts.abi"
for name in libktshttpagent libchttpclient libclog; do
  read_library "$libraries/$name.so.0" "$folder/$name.abi"
done

if [ "${2:-}" = accept ]; then
  for file in "$folder"/*.abi; do
    xz -9 "$file"
    mv "$file.xz" "$baseline"
  done
  echo "abi: stored in $baseline; docs/compatibility.md says what else a change needs"
  exit
fi

changed=()
for name in layouts libktshttpagent libchttpclient libclog; do
  if same_interface "$folder/$name.abi" >"$folder/report"; then
    echo "abi: $name is as stored"
  else
    changed+=("$name")
    cat "$folder/report"
  fi
done
if [ ${#changed[@]} -gt 0 ]; then
  echo "abi: the binary interface changed: ${changed[*]}. docs/compatibility.md says which changes are allowed; store" \
    "an allowed one with ./dev abi accept" >&2
  exit 1
fi
