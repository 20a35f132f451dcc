#!/usr/bin/env bash
# make_zip.sh BUILD: makes two zips from a finished build for Windows, and a file with the checksum of each. The first
# holds what hosts and their developers need; unpacked over it, the second adds the debug files of this project's and
# the compiler's. The same sources give the same bytes, whoever makes them and when: SOURCE_DATE_EPOCH, by default the
# time of the last commit, stands in place of all times.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=$(cd "$1" && pwd)
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$("$here/source_date.sh")}
export SOURCE_DATE_EPOCH # objcopy writes it into the programs
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:[A-Z]*=//p' "$build/CMakeCache.txt")
name=ktshttpagent-$version-windows-x86_64-mingw
whole=$build/zip/whole/$name debug=$build/zip/debug/$name
tool=x86_64-w64-mingw32-objcopy

# Moves the debug information of each file that has some to a file next to it, which debuggers find by its name, and
# removes the symbols of all.
split_debug_files() {
  local file base
  mkdir -p "$debug/bin"
  for file in "$whole"/bin/*; do
    base=${file##*/}
    if x86_64-w64-mingw32-objdump -h "$file" | grep -q '\.debug_info'; then
      "$tool" --only-keep-debug "$file" "$debug/bin/$base.debug"
      (cd "$debug/bin" && "$tool" --strip-all --add-gnu-debuglink="$base.debug" "$file")
    else
      "$tool" --strip-all "$file"
    fi
  done
}

# Copies the copyright file of each component, and the licences whose text these leave to a file that all Debian systems
# have.
copy_licences() {
  local package source licence
  mkdir -p "$whole/licenses/common"
  while IFS=$'\t' read -r package _; do
    source=$(dpkg-query -W -f='${source:Package}' "$package")
    cp "/usr/share/doc/$package/copyright" "$whole/licenses/$source.txt"
  done < <("$here/components.sh")
  grep -hoE '/usr/share/common-licenses/[A-Za-z0-9.-]*[A-Za-z0-9]' "$whole"/licenses/*.txt | sort -u |
    while read -r licence; do cp -L "$licence" "$whole/licenses/common/${licence##*/}.txt"; done
}

# Lists the zip's files and the parts of others in it.
write_bill_of_materials() (
  cd "$whole"
  parts=()
  while IFS=$'\t' read -r package dlls _; do
    component=$(dpkg-query -W -f='${source:Package}=${source:Version}' "$package")
    # shellcheck disable=SC2206 # patterns
    if [ "$dlls" = - ]; then parts+=(--static "$component"); else parts+=(--contained "$component" $dlls); fi
  done < <("$here/components.sh")
  "$here/../sbom/sbom.py" --name ktshttpagent-windows --version "$version" --created "$SOURCE_DATE_EPOCH" \
    --folder . "${parts[@]}" >"$build/zip/bill.json"
  mv "$build/zip/bill.json" ktshttpagent.spdx.json
)

# pack FOLDER ZIP: packs the one folder in FOLDER, in the order of the names, with one time and two sets of rights.
pack() {
  find "$1" -type f -exec touch -d "@$SOURCE_DATE_EPOCH" {} +
  find "$1" -type f -exec chmod 644 {} +
  find "$1" -type f -path '*/bin/*' -exec chmod 755 {} +
  rm -f "$2"
  (cd "$1" && find . -type f -printf '%P\n' | LC_ALL=C sort | TZ=UTC zip -q -X -9 -@ "$2")
  (cd "$(dirname "$2")" && sha256sum "$(basename "$2")" >"$2.sha256")
}

rm -rf "$build/zip"
cmake --install "$build" --prefix "$whole" >/dev/null
cp "$here/README.md" "$whole/"
split_debug_files
copy_licences
write_bill_of_materials
pack "$build/zip/whole" "$build/$name.zip"
pack "$build/zip/debug" "$build/$name-debug.zip"
echo "$build/$name.zip"
