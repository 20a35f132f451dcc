#!/usr/bin/env bash
# fresh_prefix.sh FOLDER: creates a fresh Wine prefix and keeps it running; "end_prefix.sh FOLDER" ends it.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
export WINEPREFIX=$1
"$here/end_prefix.sh" "$WINEPREFIX"
rm -rf "$WINEPREFIX"
mkdir -p "$WINEPREFIX"
# A permanent server (-p). By default the server ends with the last program; if that happens just as the next program
# starts, that program ends at once, without a message.
/usr/lib/wine/wineserver64 -p </dev/null >/dev/null 2>&1
# The first program of a prefix starts Wine's services, and they inherit its output: a process that reads that output to
# its end would wait for the services too. They end soon after the last program. So one program is kept running here,
# and no later program is the first one.
"$here/wine.sh" wineboot -i </dev/null >/dev/null 2>&1
"$here/wine.sh" winecfg -v win10 </dev/null >/dev/null 2>&1 # a fresh prefix imitates Windows 7
nohup "$here/wine.sh" cmd /c "echo up & ping -n 100000 127.0.0.1" </dev/null >"$WINEPREFIX/up.txt" 2>/dev/null &
until [ -s "$WINEPREFIX/up.txt" ]; do sleep 0.05; done
