#!/usr/bin/env bash
# Creates archive/ again: a Debian archive with one source package, for debian_source_test.sh. It is signed with a key
# that is created here and thrown away; the same index is also signed with a second key, which the archive does not use.
# Everything is dated in the past, because apt refuses signatures from the future. Needs gpg.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
rm -rf archive
mkdir -p archive/pool archive/dists/stable/main/{source,binary-amd64}
cd archive

keys=$(mktemp -d)
trap 'gpgconf --homedir "$keys" --kill all; rm -rf "$keys"' EXIT
then=20240101T000000
gpg=(gpg --homedir "$keys" --batch --quiet --no-tty --faked-system-time "$then!" --passphrase '' --pinentry-mode loopback)
for name in archive stranger; do
  "${gpg[@]}" --quick-generate-key "Test $name" ed25519 sign never 2>/dev/null
  "${gpg[@]}" --armor --export "Test $name" >"$name-key.asc"
done

sums() { # prints the checksums of files in the format of a .dsc and a Release
  local file
  for file in "$@"; do
    printf ' %s %s %s\n' "$(sha256sum <"$file" | cut -d ' ' -f 1)" "$(stat -c %s "$file")" "$file"
  done
}

cd pool
echo "No tarball, which nobody minds who does not unpack it." >sample_1.0.orig.tar.xz
echo "Nor this." >sample_1.0-1.debian.tar.xz
{
  printf 'Format: 3.0 (quilt)\nSource: sample\nBinary: sample\nArchitecture: all\nVersion: 1.0-1\n'
  printf 'Maintainer: Nobody <nobody@example.invalid>\nChecksums-Sha256:\n'
  sums sample_1.0.orig.tar.xz sample_1.0-1.debian.tar.xz
} >sample_1.0-1.dsc
{
  printf 'Package: sample\nBinary: sample\nVersion: 1.0-1\nMaintainer: Nobody <nobody@example.invalid>\n'
  printf 'Architecture: all\nFormat: 3.0 (quilt)\nDirectory: pool\nChecksums-Sha256:\n'
  sums sample_1.0-1.dsc sample_1.0.orig.tar.xz sample_1.0-1.debian.tar.xz
} >../dists/stable/main/source/Sources
# apt ignores an empty index.
printf 'Package: sample\nVersion: 1.0-1\nArchitecture: all\nFilename: pool/sample_1.0-1_all.deb\nSize: 1\n' \
  >../dists/stable/main/binary-amd64/Packages

cd ../dists/stable
{
  printf 'Origin: Debian\nLabel: Test\nSuite: stable\nCodename: stable\nDate: Mon, 01 Jan 2024 00:00:00 UTC\n'
  printf 'Architectures: amd64\nComponents: main\nSHA256:\n'
  sums main/source/Sources main/binary-amd64/Packages
} >Release
"${gpg[@]}" --local-user "Test archive" --digest-algo SHA512 --clear-sign --output InRelease Release
"${gpg[@]}" --local-user "Test stranger" --digest-algo SHA512 --clear-sign --output InRelease.stranger Release
