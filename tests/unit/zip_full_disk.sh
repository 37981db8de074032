#!/usr/bin/env bash
# Runs the full-disk tests of test_ziptools with the archive on a small disk of its own: a
# 4 MiB tmpfs mounted in this (the host's) mount namespace, where Wine's server opens files.
#   zip_full_disk.sh BUILD_DIR
# Needs root for the mount; exits 77 (skipped) without it.
set -euo pipefail
build=$(cd "$1" && pwd)
disk="$build/full-disk"
mkdir -p "$disk"
mountpoint -q "$disk" && umount "$disk"
if ! mount -t tmpfs -o size=4m tmpfs "$disk" 2>/dev/null; then
    echo "cannot mount a tmpfs here (not root?): skipped"
    exit 77
fi
trap 'umount "$disk"' EXIT
MPDIAG_FULL_DISK='Z:'"${disk//\//\\}" "$build/wine-run.sh" "$build/test_ziptools.exe" --gtest_filter='ZipAddFullDisk.*'
