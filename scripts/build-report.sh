#!/usr/bin/env bash
# Set-up (packages) and the native build of mpdiag-report and its tests into build-report/, then
# its Debian package, build-report/mpdiag-report_<version>_amd64.deb.
# --sanitize: the build with AddressSanitizer and UndefinedBehaviorSanitizer, and the fuzz targets,
# with clang into build-report-sanitize/ instead.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/setup.sh" >/dev/null
if [ "${1:-}" = --sanitize ]; then
    CC=clang CXX=clang++ cmake -S "$top/report" -B "$top/build-report-sanitize" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DMPDIAG_REPORT_FUZZ=ON >/dev/null
    cmake --build "$top/build-report-sanitize" -j"$(nproc)"
    exit 0
fi
cmake -S "$top/report" -B "$top/build-report" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$top/build-report" -j"$(nproc)"
# cpack speaks on standard error even when all goes well: its words are shown only when it fails.
(cd "$top/build-report" && { cpack >cpack.log 2>&1 || { cat cpack.log >&2; exit 1; }; } && ls "$PWD"/mpdiag-report_*_amd64.deb)
