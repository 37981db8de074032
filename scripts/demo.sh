#!/usr/bin/env bash
# Builds mpdiag.exe, runs it under Wine on the sample machine and shows the archive it made.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/build.sh" >/dev/null
machine="$top/demo"
echo "Building the sample machine in $machine and running mpdiag.exe there..."
"$top/scripts/sample-machine.sh" "$top/build" "$machine" "$@"
echo "mpdiag.exe exit status: $(cat "$machine/run.txt")"
temp=$(find "$machine/prefix/drive_c/users" -maxdepth 4 -iname temp -type d | head -1)
echo "working folders left in the temporary folder: $(ls -a "$temp" | grep -ci '^mpdiag' || true)"
echo
unzip -l "$machine/tool/mpdiag.zip"
echo
echo "Head of mpdiag.log:"
unzip -p "$machine/tool/mpdiag.zip" mpdiag.log | head -20
echo
echo "The support engineer's report of that archive (mpdiag-report):"
"$top/scripts/build-report.sh" >/dev/null
"$top/build-report/mpdiag-report" "$machine/tool/mpdiag.zip"
