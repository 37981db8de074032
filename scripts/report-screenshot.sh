#!/usr/bin/env bash
# The picture of the sample machine's report page in the README: the page of an archive, from its
# top to its third finding, as Debian's chromium shows it (headless).
#   report-screenshot.sh [ARCHIVE [PNG]]
# ARCHIVE defaults to the one "bash scripts/demo.sh -x" leaves (demo/tool/mpdiag.zip), else the
# collector's extended end-to-end run's (build/e2e/extended/tool/mpdiag.zip); PNG to
# report/doc/sample-machine-page.png.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
archive=${1:-}
if [ -z "$archive" ]; then
    for candidate in "$top/demo/tool/mpdiag.zip" "$top/build/e2e/extended/tool/mpdiag.zip"; do
        [ -f "$candidate" ] && archive=$candidate && break
    done
fi
if [ -z "$archive" ] || [ ! -f "$archive" ]; then
    echo "no archive: run \"bash scripts/demo.sh -x\" first, or name one" >&2
    exit 2
fi
png=${2:-$top/report/doc/sample-machine-page.png}
"$top/scripts/build-report.sh" >/dev/null
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# The page names its archive as given: "mpdiag.zip", as a desk that saved it would.
cp "$archive" "$work/mpdiag.zip"
(cd "$work" && "$top/build-report/mpdiag-report" --html page.html mpdiag.zip >/dev/null)
mkdir -p "$(dirname "$png")"
python3 "$top/report/tests/outputs/browser_probe.py" --screenshot "$png" "$work/page.html" >/dev/null
echo "$png"
