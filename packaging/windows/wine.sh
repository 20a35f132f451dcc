#!/usr/bin/env bash
# Runs a Windows program under Wine, in the prefix that WINEPREFIX names, by default one beside the build.
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
export WINEPREFIX=${WINEPREFIX:-$here/../../build/windows-mingw/wine} WINEARCH=win64
export WINEDEBUG=${WINEDEBUG:--all}          # WINEDEBUG=+loaddll tells which DLL is missing
export WINEDLLOVERRIDES="mscoree,mshtml="    # no questions about add-ons
export LC_ALL=C.UTF-8                        # or names of files beyond ASCII are not seen
export WINEQT_FORCE_STDERR_LOGGING=1         # Wine hands over no QT_ variables but in this way
# Now and then Wine ends at once, without a word, before the program has begun. That is frequent where Wine replaces
# this shell (exec), so it does not; and where less time has passed than any Windows program needs to start, it is
# started again.
for _ in 1 2 3; do
  began=${EPOCHREALTIME/[.,]/}
  nice -n "${KTS_NICE:-0}" /usr/lib/wine/wine64 "$@"
  status=$?
  if [ "$status" = 0 ] || [ $((${EPOCHREALTIME/[.,]/} - began)) -ge 50000 ]; then break; fi
done
exit "$status"
