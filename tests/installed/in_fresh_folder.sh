#!/usr/bin/env bash
# in_fresh_folder.sh FOLDER COMMAND...: makes an empty folder and runs a test there, without the user's settings.
set -euo pipefail
folder=$1
shift
rm -rf "$folder"
mkdir -p "$folder"
cd "$folder"
unset "${!KTSHTTPAGENT_@}" "${!CHTTPCLIENT_@}" "${!CLOG_@}" "${!CMAKE_PREFIX_@}" CMAKE_CXX_COMPILER_LAUNCHER \
  LD_LIBRARY_PATH PKG_CONFIG_PATH DESTDIR
export CLOG_DIR=$folder/log
exec "$@"
