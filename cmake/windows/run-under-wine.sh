#!/bin/sh
# Runs a Windows program under Wine: headless, quiet, with a prefix of its own in the build folder.
set -eu
export WINEPREFIX="${KADOM_WINEPREFIX:-$(dirname "$1")/../wine}"
mkdir -p "$WINEPREFIX"
WINEPREFIX=$(cd "$WINEPREFIX" && pwd)
export WINEDEBUG="${WINEDEBUG:--all}"
export WINEDLLOVERRIDES="mscoree=;mshtml=;winemenubuilder.exe="
unset DISPLAY
# Wine keeps a closed file open as long as any lock on it is held.
ulimit -n "$(ulimit -H -n)"
exec wine "$@"
