#!/usr/bin/env bash
# Set-up (packages) and the native build of mpdiag-report and its tests into build-report/.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/setup.sh" >/dev/null
cmake -S "$top/report" -B "$top/build-report" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$top/build-report" -j"$(nproc)"
