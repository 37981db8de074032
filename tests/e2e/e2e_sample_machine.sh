#!/usr/bin/env bash
# Runs the real mpdiag.exe on a fresh sample machine and checks what it left there.
#   e2e_sample_machine.sh BUILD_DIR NAME MODE VARIANT [sample-machine.sh options] [mpdiag.exe arguments]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$1 name=$2 mode=$3 variant=$4
shift 4
"$here/../../scripts/sample-machine.sh" "$build" "$build/e2e/$name" "$@"
python3 "$here/e2e_check.py" "$build/e2e/$name" "$mode" "$variant"
