#!/usr/bin/env bash
# build.sh SOURCES FOLDER NAME VARIABLE=VALUE...: makes the source package and the binary packages in FOLDER, from a copy
# of the sources in FOLDER/NAME, with no other environment variables than these, and without a network except loopback.
# The output of the build is in FOLDER/build.log.
set -euo pipefail
folder=$2 copy=$2/$3
mkdir -p "$folder"
cp -r --preserve=mode "$1" "$copy" # the source package contains the rights of the files
shift 3

offline=(unshare --net)
[ "$(id -u)" = 0 ] || offline=(unshare --map-root-user --net)
cd "$copy"
"${offline[@]}" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME="$copy" "DEB_BUILD_OPTIONS=parallel=$(nproc)" "$@" \
  sh -c 'ip link set lo up && exec dpkg-buildpackage --no-sign' >"$folder/build.log" 2>&1 ||
  { tail -60 "$folder/build.log" >&2; echo "whole output: $folder/build.log" >&2; exit 1; }
cd "$folder"
rm -rf "$copy"
ls ./*.deb
