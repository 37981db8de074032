"""Compares two archives byte for byte, except for the entries' time stamps (the packing time):
   zip_compare.py A.zip B.zip
For checking that a change to the zip writer leaves the archive's bytes alone."""
import struct
import sys
import zipfile


def without_times(path):
    """The archive's bytes with the time and date of every local and central header zeroed."""
    data = bytearray(open(path, "rb").read())
    with zipfile.ZipFile(path) as archive:
        for info in archive.infolist():
            assert data[info.header_offset:info.header_offset + 4] == b"PK\x03\x04"
            data[info.header_offset + 10:info.header_offset + 14] = bytes(4)
    # Central headers follow one another from the directory's start.
    end = data.rfind(b"PK\x05\x06")
    count, size, offset = struct.unpack("<HII", data[end + 10:end + 20])
    zip64 = data.rfind(b"PK\x06\x06", 0, end)
    if zip64 >= 0:
        count, size, offset = struct.unpack("<QQQ", data[zip64 + 32:zip64 + 56])
    at = offset
    for _ in range(count):
        assert data[at:at + 4] == b"PK\x01\x02"
        data[at + 12:at + 16] = bytes(4)
        name, extra, comment = struct.unpack("<HHH", data[at + 28:at + 34])
        at += 46 + name + extra + comment
    return bytes(data)


a, b = (without_times(path) for path in sys.argv[1:3])
if a == b:
    print(f"same bytes but for time stamps ({len(a):,} bytes)")
    sys.exit(0)
first = next(i for i in range(min(len(a), len(b))) if a[i] != b[i]) if a[:min(len(a), len(b))] != b[:min(len(a), len(b))] else min(len(a), len(b))
print(f"differ: sizes {len(a):,} and {len(b):,}, first difference at byte {first:,}")
sys.exit(1)
