#!/usr/bin/env bash
# Times extended runs of mpdiag.exe under Wine on a sample machine against the native floor for
# the same items (`cp -r`, then `zip -9 -r`). Not a test: nothing passes or fails.
#   bench/run.sh [SIZE_MB...]    logs of each size (default 150 450: half text-like, half barely
#                                compressible); with two sizes or more also the per-megabyte
#                                ratio (the difference of mpdiag's times over the floor's), and
#                                the zip writer alone against raw zlib level 9 on the same data
#   bench/run.sh --many [COUNT]  COUNT small files in nested folders (default 100000)
# Each run prints its total and the time of each phase, both archive sizes, their ratios and the
# peak memory of the Wine process. BENCH_BIN=DIR takes mpdiag.exe, zip_bench.exe and
# zlib_bench.exe from DIR instead of this build (to measure another build on the same data).
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
if [ "${1:-}" = --many ]; then
    args=(many "${2:-100000}")
elif [ $# -gt 0 ]; then
    args=(sizes "$@")
else
    args=(sizes 150 450)
fi
"$top/scripts/build.sh" >/dev/null
cmake --build "$top/build" --target zip_bench zlib_bench -j"$(nproc)" >/dev/null
bin=${BENCH_BIN:-$top/build}
work="$top/build/bench"
rm -rf "$work"
mkdir -p "$work/tool"
export WINEPREFIX="$work/prefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
wineserver -k >/dev/null 2>&1 || true
trap 'wineserver -k >/dev/null 2>&1 || true' EXIT
wineboot -i </dev/null >/dev/null 2>&1
wine "$top/build/make_sample_machine.exe" 'Z:'"${top//\//\\}"'\build' </dev/null >/dev/null 2>&1
cp "$bin/mpdiag.exe" "$work/tool/"
python3 "$top/bench/bench.py" "$work" "$bin" "${args[@]}"
