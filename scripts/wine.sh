#!/bin/sh
# Runs a Windows program in a Wine prefix that belongs to this checkout alone: build/wine, or WINEPREFIX when set.
# "--end-session" ends all programs of that prefix.
set -eu
here=$(cd "$(dirname "$0")/.." && pwd)
export WINEPREFIX="${WINEPREFIX:-$here/build/wine}"
export WINEARCH=win64 WINEDEBUG="${WINEDEBUG:--all}" WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
unset DISPLAY
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
server=$(command -v wineserver64 || echo /usr/lib/wine/wineserver64)

if [ ! -f "$WINEPREFIX/.ready" ]; then
    mkdir -p "$WINEPREFIX"
    (
        flock 9
        # The session in which a prefix is made may hold two service managers: its programs are not to meet them.
        [ -f "$WINEPREFIX/.ready" ] || { "$wine" wineboot -i && "$server" -w && touch "$WINEPREFIX/.ready"; }
    ) 9>"$WINEPREFIX.lock" >&2
fi
if [ "${1:-}" = --end-session ]; then
    "$server" -k || true
    exec "$server" -w
fi
exec "$wine" "$@"
