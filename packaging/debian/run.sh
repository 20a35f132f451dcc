#!/usr/bin/env bash
# Implements the Debian part of ./dev package: makes the packages twice, in different folders and environments, and
# compares them; examines them with lintian; checks their bills of materials; and tries them in an empty Debian 12. The
# packages are in build/package then.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
scripts=packaging/debian
first=$PWD/build/package
second=$PWD/build/package/again
version=$(dpkg-parsechangelog -S Version)

say() { printf '\n== package: %s\n' "$*"; }

# The one place of the version is the header.
check_version() {
  local header
  header=$(sed -nE 's/^#define KTSHTTPAGENT_VERSION_(MAJOR|MINOR|PATCH) +([0-9]+).*/\2/p' \
    include/ktshttpagent/KtsVersion.h | paste -sd .)
  [ "$header" = "$version" ] ||
    { echo "package: debian/changelog says $version, KtsVersion.h says ${header:-nothing}" >&2; exit 1; }
}

# Copies the files that git knows and that exist, or that it does not ignore, with the same rights for every umask.
copy_sources() {
  local file
  mkdir -p "$1"
  git ls-files -z --cached --others --exclude-standard | while IFS= read -r -d '' file; do
    [ ! -e "$file" ] || printf '%s\0' "$file"
  done | xargs -0 cp --parents -t "$1"
  chmod -R u=rwX,go=rX "$1"
}

# compare: fails, and shows the differences, unless both builds made the same files.
compare() {
  local status=0 file name
  for file in "$first"/*.deb "$first"/*.tar.xz "$first"/*.dsc; do
    name=${file##*/}
    printf '%s  %s\n%s  again/%s\n' "$(sha256sum <"$file" | cut -d' ' -f1)" "$name" \
      "$(sha256sum <"$second/$name" | cut -d' ' -f1)" "$name"
    cmp -s "$file" "$second/$name" || { status=1; diffoscope "$file" "$second/$name" | head -200 || true; }
  done
  [ "$status" = 0 ] || echo "package: the second build made other bytes" >&2
  return "$status"
}

# Checks the bill of materials of each package, and that the check notices a changed file.
check_bills() {
  local package folder bill library
  for package in libktshttpagent0 libktshttpagent-dev ktshttpagent-tools; do
    folder=$first/unpacked/$package
    mkdir -p "$folder"
    dpkg-deb --extract "$first/${package}_${version}"_*.deb "$folder"
    bill=$(echo "$folder/usr/share/doc/$package/$package"_*.spdx.json)
    packaging/sbom/sbom_check.py "$bill" "$folder"
    jq -r '"\(.name): \(.files | length) files; " + ([.packages[1:][] | "\(.name) \(.versionInfo)"] | join(", "))' "$bill"
  done
  library=$(find "$first/unpacked/libktshttpagent0" -name 'libktshttpagent.so.0.*')
  printf x >>"$library"
  ! packaging/sbom/sbom_check.py "$first"/unpacked/libktshttpagent0/usr/share/doc/*/*.spdx.json \
    "$first/unpacked/libktshttpagent0" 2>/dev/null || { echo "package: a changed library went unnoticed" >&2; return 1; }
}

# The build fails if a symbol of the list debian/libktshttpagent0.symbols vanished: shown with a list of one more.
check_symbols() {
  local list=debian/libktshttpagent0.symbols
  { cat "$list"; echo ' (c++)"CUIAgentReq::Vanished()@Base" 0.2.0~'; } >"$first/symbols"
  compare_symbols "$list" >/dev/null
  ! compare_symbols "$first/symbols" >"$first/symbols.log" 2>&1 ||
    { echo "package: a vanished symbol went unnoticed" >&2; return 1; }
  grep 'MISSING.*Vanished' "$first/symbols.log"
}
compare_symbols() {
  dpkg-gensymbols -c4 -plibktshttpagent0 -v"$version" -P"$first/unpacked/libktshttpagent0" -I"$1" -O/dev/null
}

check_version
rm -rf "$first"
copy_sources "$first/sources"
say "first build"
begin=$EPOCHSECONDS
"$scripts/build.sh" "$first/sources" "$first" "ktshttpagent-$version" LC_ALL=C.UTF-8 TZ=UTC
echo "$((EPOCHSECONDS - begin)) s"
say "second build"
(umask 0077 && "$scripts/build.sh" "$first/sources" "$second" "ktshttpagent-$version" LC_ALL=C TZ=Asia/Shanghai)

say "both builds compared"
compare
say lintian
lintian --fail-on error,warning --no-tag-display-limit "$first"/*.changes
echo "no error, no warning"
say "bills of materials"
check_bills
say "symbols"
check_symbols
say "an empty Debian 12"
"$scripts/empty_root.sh" "$first"
