#!/usr/bin/env bash
# Mutation check, run by hand (not in CI): does a test notice when a named behaviour changes?
# Applies each one-line change of a list (scripts/mutants/collector.txt for mpdiag.exe,
# scripts/mutants/reader.txt for mpdiag-report) to the sources, one at a time, rebuilds
# incrementally (the one changed file and the programs that link it), runs the program's suite,
# and prints KILLED (with the failing tests) or SURVIVED. Ends with "killed K of N".
#
#   bash scripts/mutants.sh [--reader]              every change, after a baseline run of the unchanged suite
#   bash scripts/mutants.sh [--reader] --list       the changes, numbered; checks that each still matches
#   bash scripts/mutants.sh [--reader] --only 3,17  those changes only (the figure then counts them alone)
#
# Each change must match its file exactly once; the script stops before changing anything when
# one does not. Every file is restored after its change, also on Ctrl-C or a failed build.
# Needs a configured build/ (bash scripts/build.sh), or build-report/ for --reader
# (bash scripts/build-report.sh). Per change: one compile, the relinks, and the suite up to its
# first failing test; a survivor runs all of it.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
if [ "${1-}" = --reader ]; then
    shift
    program=reader
    build="$top/build-report"
    # The collector's run on a sample machine under Wine sees no change to the reader's sources
    # that its other tests do not, and costs half a minute; the package test compares the package
    # that the last full build made with the changed program, so it would fail on any change.
    suite_exclude='^(report_extended_without_image|report_package)$'
else
    program=collector
    build="$top/build"
    # The release package is built from the sources twice, in folders of its own, and the two are
    # compared with each other: a changed source reaches both alike, so that test cannot notice a
    # change and would only add its own two full builds to every run.
    suite_exclude='^release_reproducible$'
fi
list="$top/scripts/mutants/$program.txt"

# The lists, one change to a block: a header line "FILE: the behaviour it breaks", the text as it
# stands ("- "), and its replacement ("+ "). A header "FILE: (equivalent) reason" marks a change
# that no test can observe; it is checked to match, but not run and not counted.
changes() { cat "$list"; }

# ---- the list, read --------------------------------------------------------------------------

files=() whats=() froms=() tos=() kinds=()
parse() {
    local line n=-1
    while IFS= read -r line; do
        case "$line" in
        '- '*) froms[n]=${line:2} ;;
        '+ '*) tos[n]=${line:2} ;;
        *': '*)
            n=$((n + 1))
            files[n]=${line%%: *}
            whats[n]=${line#*: }
            kinds[n]=mutant
            if [[ ${whats[n]} == '(equivalent) '* ]]; then
                kinds[n]=equivalent
                whats[n]=${whats[n]#(equivalent) }
            fi
            ;;
        *) echo "mutants.sh: cannot read list line: $line" >&2; exit 2 ;;
        esac
    done < <(changes)
}

# Counts (count) or replaces (apply) the exact text; apply refuses anything but one match.
edit() {
    python3 - "$@" <<'PY'
import sys
mode, path, old, new = sys.argv[1:5]
with open(path, encoding="utf-8", newline="") as f:
    text = f.read()
n = text.count(old)
if mode == "count":
    print(n)
    sys.exit(0)
if n != 1:
    sys.exit(f"{path}: the text matches {n} times")
with open(path, "w", encoding="utf-8", newline="") as f:
    f.write(text.replace(old, new))
PY
}

check_list() {
    local i bad=0 n
    for i in "${!files[@]}"; do
        n=$(edit count "$top/${files[i]}" "${froms[i]-}" "")
        if [ -z "${froms[i]-}" ] || [ -z "${tos[i]-}" ] || [ "${froms[i]}" = "${tos[i]}" ]; then
            echo "CHANGE $((i + 1)) (${files[i]}: ${whats[i]}): needs a '- ' text and a different '+ ' text" >&2
            bad=1
        elif [ "$n" != 1 ]; then
            echo "CHANGE $((i + 1)) (${files[i]}: ${whats[i]}): matches $n times, not once: ${froms[i]}" >&2
            bad=1
        fi
    done
    [ $bad = 0 ] || { echo "mutants.sh: the list no longer fits the sources; nothing was changed" >&2; exit 2; }
}

# ---- restoring -------------------------------------------------------------------------------

saved=""   # the file under change, while it is changed
backup=$(mktemp)
restore() {
    if [ -n "$saved" ]; then
        # A fresh time stamp on purpose: the next build then recompiles the restored file.
        cat "$backup" >"$top/$saved"
        saved=""
    fi
}
trap 'restore; rm -f "$backup"' EXIT
trap 'echo; echo "mutants.sh: interrupted; sources restored" >&2; exit 130' INT TERM

# ---- building and testing --------------------------------------------------------------------

logs="$build/mutants"
failed_tests=""
# The baseline runs every test; a change is killed by its first failing test, and only a survivor
# costs the whole suite.
stop=""
# Runs the suite; fills failed_tests with the failing CTest tests and their failing cases.
run_suite() {
    local log=$1
    if (cd "$build" && ctest -E "$suite_exclude" --output-on-failure $stop) >"$log" 2>&1; then
        failed_tests=""
        return 0
    fi
    local tests cases
    tests=$(sed -n 's/^[[:space:]]*[0-9]* - \([^ ]*\) (.*)$/\1/p' "$log" | paste -sd, - | sed 's/,/, /g')
    cases=$(sed -n 's/^[0-9: ]*\[  FAILED  \] \([A-Za-z0-9_]*\.[A-Za-z0-9_/]*\)\( .*\)\{0,1\}$/\1/p' "$log" |
        sort -u | paste -sd, - | sed 's/,/, /g')
    failed_tests="${tests:-the suite}${cases:+ [$cases]}"
    return 1
}

build_all() { cmake --build "$build" -j"$(nproc)" >"$1" 2>&1; }

seconds() { date +%s; }

# ---- main ------------------------------------------------------------------------------------

parse
check_list

only=""
case "${1-}" in
--list)
    for i in "${!files[@]}"; do
        printf '%3d %-11s %s: %s\n' $((i + 1)) "${kinds[i]}" "${files[i]}" "${whats[i]}"
    done
    exit 0
    ;;
--only) only=",${2:?--only takes numbers like 3,17},";;
"") ;;
*) echo "usage: $0 [--reader] [--list | --only N[,N...]]" >&2; exit 2 ;;
esac

[ -f "$build/CMakeCache.txt" ] || { echo "mutants.sh: no $build yet: run bash scripts/build.sh (or build-report.sh) first" >&2; exit 2; }
mkdir -p "$logs"
start=$(seconds)

echo "baseline: building and running the unchanged suite"
build_all "$logs/baseline-build.log" || { echo "mutants.sh: the unchanged sources do not build, see $logs/baseline-build.log" >&2; exit 2; }
t0=$(seconds)
run_suite "$logs/baseline.log" || { echo "mutants.sh: the unchanged suite fails ($failed_tests), see $logs/baseline.log" >&2; exit 2; }
echo "baseline: all tests pass ($(($(seconds) - t0)) s)"
stop=--stop-on-failure

killed=0 total=0 survivors=()
for i in "${!files[@]}"; do
    number=$((i + 1))
    [ -z "$only" ] || [[ $only == *",$number,"* ]] || continue
    label=$(printf '#%02d %s: %s' "$number" "${files[i]}" "${whats[i]}")
    if [ "${kinds[i]}" = equivalent ]; then
        echo "EQUIVALENT $label"
        continue
    fi
    total=$((total + 1))
    t0=$(seconds)
    cp "$top/${files[i]}" "$backup"
    saved=${files[i]}
    edit apply "$top/${files[i]}" "${froms[i]}" "${tos[i]}"
    if ! build_all "$logs/$number-build.log"; then
        restore
        echo "mutants.sh: change $number does not build, see $logs/$number-build.log; fix the list" >&2
        exit 2
    fi
    t1=$(seconds)
    if run_suite "$logs/$number.log"; then
        result=SURVIVED
        survivors+=("$label")
    else
        result=KILLED
        killed=$((killed + 1))
    fi
    restore
    t2=$(seconds)
    echo "$result $label (build $((t1 - t0)) s, suite $((t2 - t1)) s)${failed_tests:+ by $failed_tests}"
done

echo "rebuilding the restored sources"
build_all "$logs/restored-build.log" || { echo "mutants.sh: the restored sources do not build" >&2; exit 2; }
elapsed=$(($(seconds) - start))
echo
for s in ${survivors[@]+"${survivors[@]}"}; do echo "survivor: $s"; done
echo "time: $((elapsed / 60)) min $((elapsed % 60)) s for $total changes (logs in $logs)"
echo "killed $killed of $total"
[ "$killed" = "$total" ]
