#!/usr/bin/env bash
# Times mpdiag-report on hostile archives (bench/hostile_shapes.py): for each shape and each
# program, the exit status, the elapsed time and the peak memory (GNU time's maximum resident set
# size) of the whole report, and how many notes on files it made. Not a test: nothing
# passes or fails. A run is stopped after HOSTILE_TIMEOUT seconds (default 120), and its address
# space is limited to HOSTILE_LIMIT_MB (default 8192: the machine is shared), so a run that needs
# more ends there.
#   bench/hostile.sh [EXE...]    default: build-report/mpdiag-report (built first)
# To compare with another build, name both: bench/hostile.sh /tmp/before/mpdiag-report build-report/mpdiag-report
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
if [ $# -eq 0 ]; then
    "$top/scripts/build-report.sh" >/dev/null
    set -- "$top/build-report/mpdiag-report"
fi
work="$top/build-report/bench-hostile"
mkdir -p "$work"
mapfile -t shapes < <(python3 "$top/bench/hostile_shapes.py" "$work")
limit=${HOSTILE_TIMEOUT:-120}
printf '%-34s %-44s %6s %9s %9s  %s\n' shape program exit seconds "peak MB" "notes"
for shape in "${shapes[@]}"; do
    for exe in "$@"; do
        out="$work/$shape.out"
        status=0
        (ulimit -v $(( ${HOSTILE_LIMIT_MB:-8192} * 1024 ))
         /usr/bin/time -f '%e %M' -o "$work/time.txt" timeout "$limit" "$exe" "$work/$shape.zip") >"$out" 2>"$work/err.txt" || status=$?
        read -r seconds kilobytes < <(tail -1 "$work/time.txt" | sed 's/^Command.*//;s/^$/- -/')
        [ "$status" = 124 ] && status="timeout"
        notes=$(sed -n '/^Files read with a remark/,/^$/p' "$out" | grep -c '^  ' || true)
        name=$exe
        [ ${#name} -le 44 ] || name="...${name: -41}"
        printf '%-34s %-44s %6s %9s %9s  %s\n' "$shape" "$name" "$status" "$seconds" \
            "$(( ${kilobytes:-0} / 1024 ))" "$notes note(s)$(grep -m1 -o 'mpdiag-report: .*' "$work/err.txt" | sed 's/^/; stderr: /' || true)"
    done
done
