#!/usr/bin/env bash
# Builds mpdiag.exe, runs it under Wine on the sample machine and shows the archive it made.
# Takes the options of sample-machine.sh (--without-recovery, --german, --utf8) and mpdiag.exe's
# arguments (-x).
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
log=$(unzip -p "$machine/tool/mpdiag.zip" mpdiag.log | head -20)
# Empty when no step failed in a way the tool records (with the recovery image in place).
echo "${log:-(empty: the run recorded nothing)}"
echo
echo "The command logs as a real machine gives them: wmic's UTF-16 read as UTF-8 (its mark two"
echo "U+FFFD, ef bf bd, its zero bytes kept), a code-page letter one U+FFFD. wmic_hotfix.log begins:"
unzip -p "$machine/tool/mpdiag.zip" wmic_hotfix.log | od -A d -t x1z -N 32
echo "The owner's line of systeminfo.log:"
unzip -p "$machine/tool/mpdiag.zip" systeminfo.log | grep -a -m1 -e 'Registered Owner' -e 'Registrierter Benutzer' \
    | od -A d -t x1z
echo
echo "The support engineer's report of that archive (mpdiag-report):"
"$top/scripts/build-report.sh" >/dev/null
"$top/build-report/mpdiag-report" "$machine/tool/mpdiag.zip"
