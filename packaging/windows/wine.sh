#!/usr/bin/env bash
# Runs a Windows program under Wine, in the prefix WINEPREFIX, by default one in the build folder.
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
export WINEPREFIX=${WINEPREFIX:-$here/../../build/windows-mingw/wine} WINEARCH=win64
export WINEDEBUG=${WINEDEBUG:--all}          # WINEDEBUG=+loaddll shows which DLL is missing
export WINEDLLOVERRIDES="mscoree,mshtml="    # no dialogs about add-ons
export LC_ALL=C.UTF-8                        # otherwise file names beyond ASCII are invisible
export WINEQT_FORCE_STDERR_LOGGING=1         # Wine passes QT_ variables on only under such a name
# Sometimes Wine ends at once, without a message, before the program has begun. This is frequent when Wine replaces this
# shell (exec), so it is started as a child; and if it fails in less time than any Windows program needs to start, it is
# started again.
for _ in 1 2 3; do
  began=${EPOCHREALTIME/[.,]/}
  nice -n "${KTS_NICE:-0}" /usr/lib/wine/wine64 "$@"
  status=$?
  if [ "$status" = 0 ] || [ $((${EPOCHREALTIME/[.,]/} - began)) -ge 50000 ]; then break; fi
done
exit "$status"
