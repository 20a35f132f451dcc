#!/usr/bin/env bash
# debian_source.sh FOLDER PACKAGE...: downloads the sources of Debian packages to a folder: the files that their .dsc
# lists, not unpacked. PACKAGE is the name of a source package, or NAME=VERSION. Needs no root and does not change the
# machine's own source lists: apt-get uses separate lists, made from those of the binary packages.
# A file gets into the folder only if its checksum is in the index that Debian's archive signed, whatever other keys
# this machine trusts. KTS_ARCHIVE_KEYRING names another keyring, for a mirror with its own signature.
set -euo pipefail
folder=$1
shift
keyring=${KTS_ARCHIVE_KEYRING:-/usr/share/keyrings/debian-archive-keyring.gpg}
mkdir -p "$folder"
folder=$(cd "$folder" && pwd)
# shellcheck source=SCRIPTDIR/apt.sh
. "$(dirname "${BASH_SOURCE[0]}")/apt.sh"

# with_sources COMMAND OPTIONS...: runs one of apt's commands with these lists of sources.
with_sources() {
  "$@" "${apt_protections[@]}" -o Dir::Etc::SourceList="$apt_folder/sources.list" -o Dir::Etc::SourceParts=/dev/null \
    -o Dir::State::Lists="$apt_folder/lists" -o Dir::Cache="$apt_folder"
}

# shellcheck disable=SC2016 # apt's own placeholders
apt-get indextargets --format 'deb-src $(REPO_URI) $(RELEASE) $(COMPONENT)|$(ORIGIN)' 'Created-By: Packages' |
  sed -n "s/|Debian\$//; T; s|^deb-src |&[signed-by=$keyring] |p" | sort -u >"$apt_folder/sources.list"
with_sources apt-get update
(cd "$apt_folder/files" && with_sources apt-get source --download-only "$@")
with_sources apt-cache showsrc --only-source "${@%%=*}" |
  awk '/^[^ ]/ { sums = /^Checksums-Sha256:/ } sums && /^ / { print $1 "  " $3 }' | hand_over "$folder"
