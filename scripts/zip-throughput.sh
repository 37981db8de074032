#!/usr/bin/env bash
# Zip throughput of ZipAdd under Wine against raw zlib level 9 under Wine (zlib_bench.exe) and
# a native "zip -9 -r", on the same folder of SIZE_MB megabytes (default 200), half text-like and
# half random data.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
size=${1:-200}
"$top/scripts/build.sh" >/dev/null
cmake --build "$top/build" --target zip_bench zlib_bench -j"$(nproc)" >/dev/null
work="$top/build/zipbench"
rm -rf "$work" && mkdir -p "$work/data/text" "$work/data/random"
half=$((size / 2))
python3 - "$work/data/text" "$half" <<'PY'
import random, sys
folder, mb = sys.argv[1], int(sys.argv[2])
words = "boot loader volume partition driver setup device registry error warning offset signature".split()
rng = random.Random(1)
for i in range(mb):
    lines = []
    while sum(len(l) for l in lines) < 1 << 20:
        lines.append(f"{i:04d}:{len(lines):06d} " + " ".join(rng.choice(words) for _ in range(12)) + "\r\n")
    open(f"{folder}/log{i:04d}.log", "w", newline="").write("".join(lines)[: 1 << 20])
PY
for i in $(seq 1 "$half"); do head -c 1048576 /dev/urandom >"$work/data/random/blob$i.bin"; done
export WINEPREFIX="$top/build/wineprefix" WINEDEBUG=-all
"$top/build/wine-run.sh" --start
wine_dir='Z:'"${work//\//\\}"
ours=$(wine "$top/build/zip_bench.exe" "$wine_dir\\data" "$wine_dir\\ours.zip" </dev/null | tr -d '\r')
zlib=$(wine "$top/build/zlib_bench.exe" "$wine_dir\\data" "$wine_dir\\zlib.out" </dev/null | tr -d '\r')
"$top/build/wine-run.sh" --stop
start=$(date +%s.%N)
(cd "$work/data" && zip -q -9 -r "$work/native.zip" .)
native=$(python3 -c "print($(date +%s.%N) - $start)")
echo "data: $size MB"
for run in "ZipAdd under Wine:$ours:ours.zip" "raw zlib 9 under Wine:$zlib:zlib.out" "native zip -9 -r:$native:native.zip"; do
    IFS=: read -r what seconds file <<<"$run"
    python3 -c "print(f'{\"$what\":22} {$seconds:7.2f} s {$size / $seconds:7.1f} MB/s  archive {$(stat -c %s "$work/$file")} bytes')"
done
