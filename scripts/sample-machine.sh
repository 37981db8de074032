#!/usr/bin/env bash
# Builds the sample machine: a fresh Wine prefix made into a Windows installation with setup
# logs, log folders, the product's logs and registry keys, PCI controllers (two of them without
# a driver), a boot configuration store, a recovery image below C:\Recovery (unless
# --without-recovery) and stand-ins for bcdedit, wmic, systeminfo and the configuration
# manager's device status; then runs mpdiag.exe in it.
#   sample-machine.sh BUILD_DIR MACHINE_DIR [options] [mpdiag.exe arguments]
# Options (anywhere among the arguments; every other argument goes to mpdiag.exe, so -x makes it
# an extended run):
#   --without-recovery  no C:\Recovery\WindowsRE\WinRE.wim: the tool looks the image up in the
#                       boot configuration store
#   --german            bcdedit and systeminfo of a German Windows (titles, labels, Ja/Nein,
#                       dates and numbers), and German boot entries (locale de-DE)
#   --utf8              the stand-ins write UTF-8 instead of what Windows writes into a pipe
#                       (UTF-16LE with a byte-order mark from wmic, code page 850 from bcdedit and
#                       systeminfo): the same machine's text without the collector's losses
# Leaves MACHINE_DIR/tool/mpdiag.zip, MACHINE_DIR/run.txt (the exit status) and
# MACHINE_DIR/standin-record.txt (the working folder's attributes, as each stand-in saw them).
set -euo pipefail
build=$(cd "$1" && pwd)
machine=$(realpath -m "$2")
shift 2
unset MPDIAG_STANDIN_TEXT MPDIAG_STANDIN_LANGUAGE MPDIAG_STANDIN_LINE_FEEDS MPDIAG_STANDIN_BLANK_LINES
options=()
arguments=()
for argument in "$@"; do
    case $argument in
        --without-recovery) options+=(--without-recovery) ;;
        --german) export MPDIAG_STANDIN_LANGUAGE=de ;;
        --utf8) export MPDIAG_STANDIN_TEXT=utf8 ;;
        *) arguments+=("$argument") ;;
    esac
done
export MPDIAG_STANDIN_RECORD='Z:'"${machine//\//\\}"'\standin-record.txt'
export WINEPREFIX="$machine/prefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
wineserver -k >/dev/null 2>&1 || true
rm -rf "$machine"
mkdir -p "$machine/tool"
wineboot -i </dev/null >/dev/null 2>&1
wine "$build/make_sample_machine.exe" 'Z:'"${build//\//\\}" "${options[@]}" </dev/null >/dev/null 2>&1
cp "$build/mpdiag.exe" "$machine/tool/"
set +e
wine "$machine/tool/mpdiag.exe" "${arguments[@]}" </dev/null >"$machine/stdout.txt" 2>&1
echo $? >"$machine/run.txt"
set -e
wineserver -w
wineserver -k >/dev/null 2>&1 || true
