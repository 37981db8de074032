#!/usr/bin/env bash
# Builds mpdiag.exe and runs it under Wine, in a prefix of its own, then shows what it left.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/build.sh" >/dev/null
demo="$top/demo"
export WINEPREFIX="$demo/wineprefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
mkdir -p "$demo/tool"
[ -f "$WINEPREFIX/system.reg" ] || wineboot -i </dev/null >/dev/null 2>&1
cp "$top/build/mpdiag.exe" "$demo/tool/"
rm -f "$demo/tool/mpdiag.zip"
temp=$(find "$WINEPREFIX/drive_c/users" -maxdepth 4 -iname temp -type d | head -1)
set +e
wine "$demo/tool/mpdiag.exe" </dev/null
status=$?
set -e
wineserver -w
echo "mpdiag.exe exit status: $status"
echo "working folders left in $temp: $(ls -a "$temp" 2>/dev/null | grep -ci '^mpdiag' || true)"
if [ -f "$demo/tool/mpdiag.zip" ]; then
    unzip -l "$demo/tool/mpdiag.zip"
else
    echo "no mpdiag.zip beside the executable (the collection is not built yet)"
fi
