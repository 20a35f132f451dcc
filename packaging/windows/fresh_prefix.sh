#!/usr/bin/env bash
# Makes a fresh Wine prefix: fresh_prefix.sh FOLDER, and keeps it running; "end_prefix.sh FOLDER" ends it.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
export WINEPREFIX=$1
"$here/end_prefix.sh" "$WINEPREFIX"
rm -rf "$WINEPREFIX"
mkdir -p "$WINEPREFIX"
# A server that stays: one that ends with its last program may just do so when the next one begins, which then
# comes to nothing without a word.
/usr/lib/wine/wineserver64 -p </dev/null >/dev/null 2>&1
# The first program of a prefix starts its services, and hands its output on to them: whoever reads that to the end
# would wait for them. They end soon after the last program, so one stays, and there is no first program any more.
"$here/wine.sh" wineboot -i </dev/null >/dev/null 2>&1
"$here/wine.sh" winecfg -v win10 </dev/null >/dev/null 2>&1 # a fresh one is Windows 7
nohup "$here/wine.sh" cmd /c "echo up & ping -n 100000 127.0.0.1" </dev/null >"$WINEPREFIX/up.txt" 2>/dev/null &
until [ -s "$WINEPREFIX/up.txt" ]; do sleep 0.05; done
