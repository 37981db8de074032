#!/usr/bin/env bash
# Replays the whole corpus of one fuzz target once (seeds, regressions, real samples), a CTest
# test: fails on any crash, sanitizer report, broken promise or input that runs past 60 s.
#   replay.sh EXE TARGET SEEDS REGRESSIONS SHARED COLLECTOR_BUILD WORK
set -euo pipefail
exe=$1 target=$2 seeds=$3 regressions=$4 shared=$5 collector=$6 work=$7/$target
here=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$work"
mapfile -t corpora < <("$here/corpora.sh" "$target" "$seeds" "$regressions" "$shared" "$collector" "$work/links")
if [ ${#corpora[@]} -eq 0 ]; then
    echo "no corpus for $target"
    exit 1
fi
printf 'replaying %s\n' "${corpora[@]}"
# -runs=0: each input of the corpora once, no mutation; inputs up to 64 MiB whole.
export LSAN_OPTIONS="suppressions=$here/lsan.supp${LSAN_OPTIONS:+:$LSAN_OPTIONS}"
exec "$exe" -runs=0 -max_len=67108864 -timeout=60 -artifact_prefix="$work/" "${corpora[@]}"
