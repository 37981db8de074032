#!/usr/bin/env bash
# A bounded fuzz campaign over all of mpdiag-report's fuzz targets (report/fuzz), one after the
# other, SECONDS each (default 60), in the sanitizer build (build-report-sanitize/, built first).
#   scripts/fuzz.sh [SECONDS]
# Each target starts from its seeds, its regressions and the real samples (report/fuzz/corpora.sh);
# what it finds new goes into build-report-sanitize/fuzz-work/<target>/corpus/ (never into the
# repository) and is kept there for the next campaign; crashes, timeouts and out-of-memory inputs
# are saved in build-report-sanitize/fuzz-work/<target>/crashes/. Prints per target: executions,
# coverage (libFuzzer's cov: and ft:), corpus size and what it found. Exits 1 when a target found
# anything.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
build="$top/build-report-sanitize"
"$top/scripts/build-report.sh" --sanitize >/dev/null
work="$build/fuzz-work"
shared=$(sed -n 's/^MPDIAG_SHARED_DIR:PATH=//p' "$build/CMakeCache.txt")
collector=$(sed -n 's/^MPDIAG_COLLECTOR_BUILD:PATH=//p' "$build/CMakeCache.txt")
targets=$(sed -n 's/^set(FUZZ_TARGETS \(.*\))$/\1/p' "$top/report/fuzz/CMakeLists.txt")
export LSAN_OPTIONS="suppressions=$top/report/fuzz/lsan.supp${LSAN_OPTIONS:+:$LSAN_OPTIONS}"
status=0
printf '%-16s %12s %8s %8s %8s  %s\n' target executions cov ft corpus found
for target in $targets; do
    dir="$work/$target"
    mkdir -p "$dir/corpus" "$dir/crashes"
    mapfile -t corpora < <("$top/report/fuzz/corpora.sh" "$target" "$build/fuzz-seeds" "$top/report/fuzz/regressions" \
                                                      "$shared" "$collector" "$dir/links")
    before=$(ls "$dir/crashes" | wc -l)
    "$build/fuzz/fuzz_$target" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
        -artifact_prefix="$dir/crashes/" "$dir/corpus" "${corpora[@]}" >"$dir/log.txt" 2>&1 || true
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$dir/log.txt" | tail -1)
    read -r cov ft < <(grep -o 'cov: [0-9]* ft: [0-9]*' "$dir/log.txt" | tail -1 | awk '{print $2, $4}')
    found=$(( $(ls "$dir/crashes" | wc -l) - before ))
    [ "$found" -gt 0 ] && status=1
    printf '%-16s %12s %8s %8s %8s  %s\n' "$target" "${executions:-?}" "${cov:-?}" "${ft:-?}" "$(ls "$dir/corpus" | wc -l)" \
        "$([ "$found" -gt 0 ] && echo "$found in $dir/crashes (log: $dir/log.txt)" || echo "nothing")"
done
exit $status
