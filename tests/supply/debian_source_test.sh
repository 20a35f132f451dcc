#!/usr/bin/env bash
# Offers an archive to packaging/debian_source.sh, unchanged or tampered with in one way, and checks whether the script
# accepts the source, and why not if it refuses it:
#   debian_source_test.sh CASE
# The archive is in a folder, so no network is needed. Only the programs of this machine's apt are used; lists, keys and
# settings are the test's own. Exits with 77 (skipped) if there is no apt.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
case=$1
command -v apt-get >/dev/null || { echo "skipped: this machine has no apt"; exit 77; }

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
chmod 755 "$folder" # apt reads an archive as a separate user
archive=$folder/archive
cp -r "$here/archive" "$archive"
chmod -R u+w,a+rX "$archive"
if [ "$(id -u)" = 0 ] && id _apt >/dev/null 2>&1 && ! runuser -u _apt -- test -r "$archive/archive-key.asc"; then
  echo "skipped: apt's own user can't read $folder"
  exit 77
fi
release=$archive/dists/stable
index=$release/main/source/Sources
tarball=$archive/pool/sample_1.0.orig.tar.xz

mkdir -p "$folder"/{bin,lists/partial,cache/archives/partial,trusted,taken}
: >"$folder/status"
cp "$archive/archive-key.asc" "$folder/trusted/"
cat >"$folder/apt.conf" <<CONF
Dir::Etc::Main "/dev/null";
Dir::Etc::Parts "/dev/null";
Dir::Etc::SourceList "$folder/sources.list";
Dir::Etc::SourceParts "/dev/null";
Dir::Etc::Trusted "/dev/null";
Dir::Etc::TrustedParts "$folder/trusted";
Dir::State::Lists "$folder/lists";
Dir::State::Status "$folder/status";
Dir::Cache "$folder/cache";
CONF
# Records the options that apt is called with, and makes the changes that a case needs.
cat >"$folder/bin/apt-get" <<'SHIM'
#!/bin/sh
echo "$@" >>"${APT_CONFIG%/*}/calls"
/usr/bin/apt-get "$@" || exit
[ ! -e "${APT_CONFIG%/*}/change" ] || [ ! -e sample_1.0.orig.tar.xz ] || sed -i s/N/M/ sample_1.0.orig.tar.xz
SHIM
chmod +x "$folder/bin/apt-get"
export APT_CONFIG=$folder/apt.conf PATH=$folder/bin:$PATH LC_ALL=C KTS_ARCHIVE_KEYRING=$archive/archive-key.asc
# The machine knows the archive from before it was tampered with.
echo "deb [arch=amd64] copy:$archive stable main" >"$folder/sources.list"
apt-get update >"$folder/log" 2>&1 || { cat "$folder/log"; exit 1; }

# Changes bytes, but not the size.
tamper() { sed -i 's/N/M/' "$1"; }
sum() { sha256sum <"$1" | cut -d ' ' -f 1; }
# tamper_and_cover FILE LIST: also replaces the old checksum in the list by the new one.
tamper_and_cover() {
  local old
  old=$(sum "$1")
  tamper "$1"
  sed -i "s/$old/$(sum "$1")/" "$2"
}

refused_for=
case $case in
  AsItIs) ;;
  WithATarballThatWasChanged)
    refused_for='Hash Sum mismatch'
    tamper "$tarball" ;;
  WithADescriptionThatWasChanged)
    refused_for='Hash Sum mismatch'
    tamper "$archive/pool/sample_1.0-1.dsc" ;;
  WithATarballAndItsSumThatWereChanged)
    refused_for='Hash Sum mismatch'
    tamper_and_cover "$tarball" "$index" ;;
  WithATarballAndAllSumsThatWereChanged)
    refused_for='BADSIG'
    old=$(sum "$index")
    tamper_and_cover "$tarball" "$index"
    sed -i "s/$old/$(sum "$index")/" "$release/InRelease" ;;
  WithoutSignature)
    refused_for='is not signed'
    rm "$release"/InRelease* ;;
  WithoutSignatureWhereTheMachineTakesThat)
    refused_for='is not signed'
    rm "$release"/InRelease*
    echo 'Acquire::AllowInsecureRepositories "true"; APT::Get::AllowUnauthenticated "true";' >>"$APT_CONFIG" ;;
  SignedByAnotherKeyThatTheMachineTrusts)
    refused_for='NO_PUBKEY'
    mv "$release/InRelease.stranger" "$release/InRelease"
    cp "$archive/stranger-key.asc" "$folder/trusted/" ;;
  WithATarballThatIsChangedOnceItIsHere)
    refused_for='sample_1.0.orig.tar.xz: FAILED'
    touch "$folder/change" ;;
  *) echo "no such case: $case"; exit 2 ;;
esac

status=0
"$here/../../packaging/debian_source.sh" "$folder/taken" sample=1.0-1 >"$folder/log" 2>&1 || status=$?
cat "$folder/log"
fail() { echo "-- $*"; exit 1; }

! grep -iE 'Sandbox::User|unauthenticated=true|insecure[a-z]*=true' "$folder/calls" || fail "called apt without its protections"
! grep -q unsandboxed "$folder/log" || fail "apt gave up its sandbox"
if [ -z "$refused_for" ]; then
  [ "$status" = 0 ] || fail "refused"
  for file in "$archive"/pool/*; do
    cmp "$file" "$folder/taken/${file##*/}" || fail "not as it was"
  done
else
  [ "$status" != 0 ] || fail "taken"
  grep -qE "$refused_for" "$folder/log" || fail "refused, but not for: $refused_for"
  [ -z "$(find "$folder/taken" -name 'sample*')" ] || fail "refused, but left behind: $(ls "$folder/taken")"
fi
