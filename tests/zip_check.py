"""Reads the archive that test_ziptools leaves behind, with Python's own zip reader."""
import sys
import time
import zipfile

path = sys.argv[1]
expected = {
    ".hidden": b"h",
    "Gr\u00fc\u00df\u20ac.txt": b"utf8",
    "sub/deeper/low.bin": b"\x00\x01\x02\xff",
    "sub/mid.log": b"m" * 5000,
    "top.txt": b"top\r\n",
}
failures = []
with zipfile.ZipFile(path) as archive:
    bad = archive.testzip()
    if bad:
        failures.append(f"CRC error in {bad}")
    names = {info.filename: info for info in archive.infolist()}
    if set(names) != set(expected):
        failures.append(f"names {sorted(names)} != {sorted(expected)}")
    for name, data in expected.items():
        info = names.get(name)
        if info is None:
            continue
        # Only entries that deflating cannot shrink may be stored.
        if info.compress_type != zipfile.ZIP_DEFLATED and len(data) >= 16:
            failures.append(f"{name}: method {info.compress_type}")
        if info.is_dir():
            failures.append(f"{name}: folder entry")
        if archive.read(name) != data:
            failures.append(f"{name}: content differs")
        year = info.date_time[0]
        if year != time.localtime().tm_year:
            failures.append(f"{name}: stamped {info.date_time}, not the packing time")
for failure in failures:
    print("FAIL:", failure)
print(f"{len(expected) - len(failures)} passed, {len(failures)} failed")
sys.exit(1 if failures else 0)
