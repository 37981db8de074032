#!/usr/bin/env bash
# Builds everything (set-up included) and runs every test under Wine.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/build.sh"
cd "$top/build"
ctest --output-on-failure
