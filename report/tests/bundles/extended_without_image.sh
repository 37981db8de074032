#!/usr/bin/env bash
# An extended run of the real mpdiag.exe on a sample machine without its recovery image (a case
# the collector's own end-to-end runs leave out), and the report of its archive.
#   extended_without_image.sh REPORT_EXE COLLECTOR_BUILD WORK_DIR
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
exe=$1 build=$2 work=$3
if [ ! -f "$build/mpdiag.exe" ] || [ ! -f "$build/make_sample_machine.exe" ]; then
    echo "no build of the collector in $build: skipped"
    exit 77
fi
rm -rf "$work"
"$here/../../../scripts/sample-machine.sh" "$build" "$work/extended_store" --without-recovery -x
python3 "$here/real_bundles.py" "$exe" "$work"
