#!/usr/bin/env bash
# Ends every program of a Wine prefix, and its server: end_prefix.sh FOLDER. Does nothing if none runs, or if there is
# no such folder.
export WINEPREFIX=$1
[ ! -d "$WINEPREFIX" ] || ! /usr/lib/wine/wineserver64 -k || timeout 60 /usr/lib/wine/wineserver64 -w
