"""Reads the archives that test_ziptools leaves behind, with Python's own zip reader.
   zip_check.py ARCHIVE           the sample tree
   zip_check.py --zip64 ARCHIVE   the tree with a file past 4 GiB"""
import struct
import sys
import time
import zipfile
import zlib


def check_sample(path):
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
    return len(expected), failures


def local_zip64_sizes(path, info):
    """The version needed and the sizes of a local header's Zip64 field (None without one)."""
    with open(path, "rb") as f:
        f.seek(info.header_offset)
        header = f.read(30)
        version, = struct.unpack("<H", header[4:6])
        name_len, extra_len = struct.unpack("<HH", header[26:30])
        f.seek(name_len, 1)
        extra = f.read(extra_len)
    at = 0
    while at + 4 <= len(extra):
        tag, size = struct.unpack("<HH", extra[at:at + 4])
        if tag == 1:
            return version, struct.unpack("<QQ", extra[at + 4:at + 20])
        at += 4 + size
    return version, None


def inflated_pieces(path, info, piece=1 << 20):
    """The entry's data, inflated straight from the archive, in pieces of at most `piece` bytes
    (zipfile's own reader takes minutes for gigabytes)."""
    with open(path, "rb") as f:
        f.seek(info.header_offset + 26)
        name_len, extra_len = struct.unpack("<HH", f.read(4))
        f.seek(name_len + extra_len, 1)
        inflater, left = zlib.decompressobj(-15), info.compress_size
        pending = b""
        while left or pending:
            if not pending:
                pending = f.read(min(left, 1 << 20))
                left -= len(pending)
            yield inflater.decompress(pending, piece)
            pending = inflater.unconsumed_tail


def check_zip64(path):
    big_size, tail = (4 << 30) + (64 << 10), b"t" * (64 << 10)
    failures = []
    with zipfile.ZipFile(path) as archive:
        names = {info.filename: info for info in archive.infolist()}
        if set(names) != {"a.txt", "big.bin", "z.txt"}:
            return 1, [f"names {sorted(names)}"]
        if archive.read("a.txt") != b"first" or archive.read("z.txt") != b"last":
            failures.append("small entries differ")
        big = names["big.bin"]
        if big.file_size != big_size or big.compress_type != zipfile.ZIP_DEFLATED:
            failures.append(f"big.bin: size {big.file_size}, method {big.compress_type}")
        version, sizes = local_zip64_sizes(path, big)
        if version != 45 or sizes != (big_size, big.compress_size):
            failures.append(f"big.bin local header: version {version}, Zip64 sizes {sizes}")
        # Read back whole: zeros, then the tail, and the CRC of the central directory.
        zeros, read, crc = memoryview(bytes(1 << 20)), 0, 0
        for piece in inflated_pieces(path, big):
            zero_part = max(0, min(len(piece), big_size - len(tail) - read))
            if piece[:zero_part] != zeros[:zero_part] or piece[zero_part:] != tail[:len(piece) - zero_part]:
                failures.append(f"big.bin differs near byte {read}")
                break
            crc = zlib.crc32(piece, crc)
            read += len(piece)
        if read != big_size or crc != big.CRC:
            failures.append(f"big.bin: {read} bytes read back, CRC {crc:08x} against {big.CRC:08x}")
    return 4, failures


zip64 = sys.argv[1] == "--zip64"
checks, failures = (check_zip64 if zip64 else check_sample)(sys.argv[-1])
for failure in failures:
    print("FAIL:", failure)
print(f"{checks - len(failures)} passed, {len(failures)} failed")
sys.exit(1 if failures else 0)
