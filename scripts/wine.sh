#!/bin/sh
# Runs a Windows program in a Wine prefix that belongs to this checkout alone: build/wine, or WINEPREFIX when set.
set -eu
here=$(cd "$(dirname "$0")/.." && pwd)
export WINEPREFIX="${WINEPREFIX:-$here/build/wine}"
export WINEARCH=win64 WINEDEBUG="${WINEDEBUG:--all}" WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
unset DISPLAY
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)

if [ ! -f "$WINEPREFIX/.ready" ]; then
    mkdir -p "$WINEPREFIX"
    (
        flock 9
        [ -f "$WINEPREFIX/.ready" ] || { "$wine" wineboot -i && touch "$WINEPREFIX/.ready"; }
    ) 9>"$WINEPREFIX.lock" >&2
fi
exec "$wine" "$@"
