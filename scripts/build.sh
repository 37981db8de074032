#!/usr/bin/env bash
# Set-up (packages, wxWidgets) and the cross-build of mpdiag.exe and its tests into build/.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/setup.sh"
cmake -S "$top" -B "$top/build" -DCMAKE_TOOLCHAIN_FILE="$top/cmake/mingw-w64-x86_64.cmake" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$top/build" -j"$(nproc)"
