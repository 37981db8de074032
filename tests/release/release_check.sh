#!/usr/bin/env bash
# Builds the release package twice, in two build folders of its own, and checks that both give
# the same bytes: the executable has no link time stamp and no signature, the archive's entries
# a fixed date, and SHA256SUMS names the digests of the files beside it. The release tests that
# follow reuse the first build.
#   release_check.sh SOURCE_DIR WORK_DIR
set -euo pipefail
top=$1 work=$2
unset MPDIAG_SIGN_PKCS12 MPDIAG_SIGN_PASSWORD MPDIAG_SIGN_TIMESTAMP_URL
rm -rf "$work"
a=$("$top/scripts/release.sh" "$work/build-a" "$work/out-a")
b=$("$top/scripts/release.sh" "$work/build-b" "$work/out-b")
cmp "$work/build-a/mpdiag.exe" "$work/build-b/mpdiag.exe"
cmp "$a" "$b"
python3 - "$a" "$work/build-a/mpdiag.exe" <<'PY'
import hashlib, struct, sys, zipfile
z = zipfile.ZipFile(sys.argv[1])
names = sorted(z.namelist())
expected = ["ADMINISTRATORS.txt", "SHA256SUMS", "THIRD-PARTY-NOTICES.txt", "mpdiag.exe"]
assert names == expected, f"entries {names}, expected {expected}"
assert all(i.date_time == (1980, 1, 1, 0, 0, 0) for i in z.infolist()), "entries carry a fixed date"
exe = z.read("mpdiag.exe")
assert exe == open(sys.argv[2], "rb").read(), "the package holds the executable as linked"
pe = struct.unpack_from("<I", exe, 0x3C)[0]
assert exe[pe:pe + 4] == b"PE\0\0"
stamp = struct.unpack_from("<I", exe, pe + 8)[0]
assert stamp == 0, f"link time stamp {stamp:#x}"
# PE32+ optional header: the certificate table is data directory 4.
optional = pe + 24
assert struct.unpack_from("<H", exe, optional)[0] == 0x20B
certificates = struct.unpack_from("<II", exe, optional + 112 + 4 * 8)
assert certificates == (0, 0), f"an unsigned build carries a certificate table {certificates}"
for name in ("ADMINISTRATORS.txt", "THIRD-PARTY-NOTICES.txt"):
    text = z.read(name)
    assert text.count(b"\n") > 10 and text.count(b"\n") == text.count(b"\r\n"), f"{name}: CR LF line ends"
sums = dict(reversed(line.split("  ")) for line in z.read("SHA256SUMS").decode().splitlines())
assert sorted(sums) == [n for n in expected if n != "SHA256SUMS"], sorted(sums)
for name in sums:
    assert sums[name] == hashlib.sha256(z.read(name)).hexdigest(), name
print(f"{sys.argv[1]}: reproducible, {len(exe)} bytes of executable")
PY
