#!/usr/bin/env bash
# Set-up (packages) and the native build of mpdiag-report and its tests into build-report/, then
# its Debian package, build-report/mpdiag-report_<version>_amd64.deb.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/setup.sh" >/dev/null
cmake -S "$top/report" -B "$top/build-report" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$top/build-report" -j"$(nproc)"
(cd "$top/build-report" && cpack >/dev/null && ls "$PWD"/mpdiag-report_*_amd64.deb)
