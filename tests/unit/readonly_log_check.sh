#!/usr/bin/env bash
# Runs the logger's read-only test on a log file that even an administrator cannot write: a
# small tmpfs, remounted read-only. The mount is made in the host's namespace, where Wine's
# wineserver (which opens files for its programs) sees it. Standard error must stay empty.
#   readonly_log_check.sh BUILD_DIR
set -euo pipefail
build=$1
[ "$(id -u)" = 0 ] || { echo "SKIP: mounting needs root"; exit 77; }
mnt="$build/readonly-mount"
mkdir -p "$mnt"
if mountpoint -q "$mnt"; then umount "$mnt"; fi
mount -t tmpfs -o size=64k,mode=0755 tmpfs "$mnt"
trap 'umount "$mnt"' EXIT
printf 'an earlier run\r\n' >"$mnt/mpdiag.log"
mount -o remount,ro "$mnt"
if (printf x >>"$mnt/mpdiag.log") 2>/dev/null; then echo "FAIL: the mount is writable"; exit 1; fi

errors="$build/readonly-stderr.txt"
MPDIAG_READONLY_LOG="Z:$(printf '%s' "$mnt/mpdiag.log" | tr / '\\')" \
    "$build/wine-run.sh" "$build/test_CFileLogger.exe" --gtest_filter='CFileLoggerOnReadOnlyMount.*' \
    2>"$errors" | tee "$build/readonly-stdout.txt"
grep -q '^\[  PASSED  \] 1 test' "$build/readonly-stdout.txt" || { echo "FAIL: the test did not run and pass"; exit 1; }
if [ -s "$errors" ]; then echo "FAIL: standard error was not empty:"; cat "$errors"; exit 1; fi
[ "$(cat "$mnt/mpdiag.log")" = $'an earlier run\r' ] || { echo "FAIL: the log file changed"; exit 1; }
echo "read-only log file: untouched, nothing on standard error"
