#!/usr/bin/env bash
# Times an extended run of mpdiag.exe under Wine on a sample machine carrying SIZE_MB megabytes
# of logs (default 300: half text-like, half barely compressible), against the native floor for
# the same items: `cp -r` of them, then `zip -9 -r`. Prints both times, both archive sizes,
# their ratios and the peak memory of the Wine process. Not a test: nothing passes or fails.
#   bench/run.sh [SIZE_MB]
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
size=${1:-300}
"$top/scripts/build.sh" >/dev/null
work="$top/build/bench"
rm -rf "$work"
mkdir -p "$work/tool"
export WINEPREFIX="$work/prefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
wineserver -k >/dev/null 2>&1 || true
wineboot -i </dev/null >/dev/null 2>&1
wine "$top/build/make_sample_machine.exe" 'Z:'"${top//\//\\}"'\build' </dev/null >/dev/null 2>&1
cp "$top/build/mpdiag.exe" "$work/tool/"
python3 "$top/bench/bench.py" "$work" "$size"
wineserver -k >/dev/null 2>&1 || true
