#!/usr/bin/env bash
# Ends every program of a Wine prefix: end_prefix.sh FOLDER. There may be neither programs nor the folder.
[ ! -d "$1" ] || WINEPREFIX=$1 /usr/lib/wine/wineserver64 -k || true
