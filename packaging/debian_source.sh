#!/usr/bin/env bash
# debian_source.sh FOLDER PACKAGE...: downloads the sources of Debian packages into a folder: what their .dsc names,
# not unpacked. PACKAGE is the source package's name, or NAME=VERSION. Needs no root and leaves the machine's own
# source lists as they are: apt-get gets lists of its own, made from those of the binary packages.
set -euo pipefail
folder=$1
shift

mkdir -p "$folder/apt/lists/partial" "$folder/apt/archives/partial"
folder=$(cd "$folder" && pwd)

apt_source() {
  apt-get -o Dir::Etc::SourceList="$folder/apt/sources.list" -o Dir::Etc::SourceParts=/dev/null \
    -o Dir::State::Lists="$folder/apt/lists" -o Dir::Cache="$folder/apt" -o APT::Sandbox::User= "$@"
}

apt-get indextargets --format 'deb-src $(REPO_URI) $(RELEASE) $(COMPONENT)|$(ORIGIN)' 'Created-By: Packages' |
  sed -n 's/|Debian$//p' | sort -u >"$folder/apt/sources.list"
apt_source update
cd "$folder"
apt_source source --download-only "$@"
