#!/usr/bin/env bash
# Builds the release package twice, in two build folders of its own, and checks that both give
# the same bytes: the executable has no link time stamp, the archive's entries a fixed date,
# and SHA256SUMS names the digests of the files beside it.
#   release_check.sh SOURCE_DIR WORK_DIR
set -euo pipefail
top=$1 work=$2
rm -rf "$work"
a=$("$top/scripts/release.sh" "$work/build-a" "$work/out-a")
b=$("$top/scripts/release.sh" "$work/build-b" "$work/out-b")
cmp "$work/build-a/mpdiag.exe" "$work/build-b/mpdiag.exe"
cmp "$a" "$b"
python3 - "$a" <<'PY'
import hashlib, struct, sys, zipfile
z = zipfile.ZipFile(sys.argv[1])
names = sorted(z.namelist())
assert names == ["ADMINISTRATORS.txt", "SHA256SUMS", "mpdiag.exe"], names
assert all(i.date_time == (1980, 1, 1, 0, 0, 0) for i in z.infolist()), "entries carry a fixed date"
exe = z.read("mpdiag.exe")
pe = struct.unpack_from("<I", exe, 0x3C)[0]
assert exe[pe:pe + 4] == b"PE\0\0"
stamp = struct.unpack_from("<I", exe, pe + 8)[0]
assert stamp == 0, f"link time stamp {stamp:#x}"
sums = dict(reversed(line.split("  ")) for line in z.read("SHA256SUMS").decode().splitlines())
for name in ("ADMINISTRATORS.txt", "mpdiag.exe"):
    assert sums[name] == hashlib.sha256(z.read(name)).hexdigest(), name
print(f"{sys.argv[1]}: reproducible, {len(exe)} bytes of executable")
PY
