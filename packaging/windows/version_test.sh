#!/usr/bin/env bash
# version_test.sh ZIP VERSION FILE...: checks that each of these files in the zip's folder bin tells the version, its
# own name and what it is.
set -euo pipefail
zip=$1 version=$2
shift 2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
unzip -q "$zip" -d "$folder"
result=0
for file in "$@"; do
  x86_64-w64-mingw32-windres --input-format=coff --output-format=rc "$folder"/*/bin/"$file" "$folder/told.rc"
  for line in " FILEVERSION ${version//./, }, 0" " PRODUCTVERSION ${version//./, }, 0" \
    "      VALUE \"FileVersion\", \"$version\"" "      VALUE \"ProductVersion\", \"$version\"" \
    "      VALUE \"OriginalFilename\", \"$file\""; do
    grep -qxF "$line" <<<"$(tr -d '\r' <"$folder/told.rc")" || { echo "-- $file does not tell: $line"; result=1; }
  done
  grep -o '"FileDescription", "..*"' "$folder/told.rc" || { echo "-- $file does not tell what it is"; result=1; }
done
exit "$result"
