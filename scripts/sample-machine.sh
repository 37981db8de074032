#!/usr/bin/env bash
# Builds the sample machine: a fresh Wine prefix made into a Windows installation with setup
# logs, log folders, the product's logs and registry keys, PCI controllers (two of them without
# a driver), a boot configuration store, a recovery image below C:\Recovery (unless
# --without-recovery) and stand-ins for bcdedit, wmic, systeminfo and the configuration
# manager's device status; then runs mpdiag.exe in it.
#   sample-machine.sh BUILD_DIR MACHINE_DIR [--without-recovery] [mpdiag.exe arguments]
# Leaves MACHINE_DIR/tool/mpdiag.zip and MACHINE_DIR/run.txt (the exit status).
set -euo pipefail
build=$(cd "$1" && pwd)
machine=$2
shift 2
options=()
if [ "${1:-}" = --without-recovery ]; then
    options+=(--without-recovery)
    shift
fi
export WINEPREFIX="$machine/prefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
wineserver -k >/dev/null 2>&1 || true
rm -rf "$machine"
mkdir -p "$machine/tool"
wineboot -i </dev/null >/dev/null 2>&1
wine "$build/make_sample_machine.exe" 'Z:'"${build//\//\\}" "${options[@]}" </dev/null >/dev/null 2>&1
cp "$build/mpdiag.exe" "$machine/tool/"
set +e
wine "$machine/tool/mpdiag.exe" "$@" </dev/null >"$machine/stdout.txt" 2>&1
echo $? >"$machine/run.txt"
set -e
wineserver -w
wineserver -k >/dev/null 2>&1 || true
