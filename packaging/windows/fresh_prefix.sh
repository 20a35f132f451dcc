#!/usr/bin/env bash
# Makes a fresh Wine prefix: fresh_prefix.sh FOLDER, and keeps it running; "end_prefix.sh FOLDER" ends it.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
export WINEPREFIX=$1
"$here/end_prefix.sh" "$WINEPREFIX"
rm -rf "$WINEPREFIX"
mkdir -p "$WINEPREFIX"
# The first program of a prefix starts its services, and hands its output on to them: whoever reads that to the end
# would wait for them. They end soon after the last program, so one stays, and there is no first program any more.
"$here/wine.sh" wineboot -i </dev/null >/dev/null 2>&1
"$here/wine.sh" winecfg -v win10 </dev/null >/dev/null 2>&1 # a fresh one is Windows 7
nohup "$here/wine.sh" cmd /c "ping -n 100000 127.0.0.1" </dev/null >/dev/null 2>&1 &
