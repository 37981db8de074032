#!/usr/bin/env bash
# Builds everything (set-up included) and runs every test under Wine.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/build.sh"
cd "$top/build"
status=0
ctest --output-on-failure || status=$?
# mpdiag-report, natively; its end-to-end tests read the archives the tests above left in build/e2e.
"$top/scripts/build-report.sh"
ctest --test-dir "$top/build-report" --output-on-failure || status=$?
# The reader again, built with AddressSanitizer and UndefinedBehaviorSanitizer: its tests, and
# each fuzz target replaying its whole corpus once (the extended run without an image is left
# out: it runs the collector under Wine again, and its archive is read above).
"$top/scripts/build-report.sh" --sanitize
ctest --test-dir "$top/build-report-sanitize" --output-on-failure -E report_extended_without_image || status=$?
exit $status
