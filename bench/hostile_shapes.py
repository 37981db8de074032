"""Writes the hostile archives that bench/hostile.sh times: each a small mpdiag archive of made
files with one file of a hostile shape (long lines, many lines, many continuation lines, wide
tables). Nothing here comes from a real machine.

    hostile_shapes.py FOLDER     writes FOLDER/<shape>.zip and prints the shapes' names
"""
import os
import sys
import zipfile

MIB = 1 << 20


def utf16(text):
    return b"\xff\xfe" + text.encode("utf-16-le")


def captured(text):
    """A command's output as the collector saves it: UTF-8, each line followed by CR LF."""
    return "".join(line + "\r\n" for line in text.split("\n")).encode()


BASE = {
    "mpdiag.log": b"09:00:00   made for a benchmark\r\n",
    "systeminfo.log": captured("Host Name:                 BENCH-PC\nOS Name:                   Microsoft Windows 10 Pro\n"
                               "OS Version:                10.0.19045 N/A Build 19045\nSystem Type:               x64-based PC\n"
                               "Windows Directory:         C:\\Windows"),
    "recovery_path.log": b"C:\\Recovery\\WindowsRE\\WinRE.wim\r\n",
}

EMPTY_LINES = b"\n" * (64 * MIB)
TEN_NAMES = ["setupact.log", "setuperr.log", "mp.log", "mpb.log", "mpdiag.log", "systeminfo.log", "bcdedit_all.log",
             "wmic_disks.log", "devices.txt", "enum.reg"]


def continuation_export(lines):
    head = "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\BCD00000000\\Description]\r\n"
    return utf16(head + "\"Long\"=hex:00,\\\r\n" + "  00,\\\r\n" * lines + "  00\r\n")


def devices(count):
    return captured("\n".join(f"Device {i}:\n\tPCI\\VEN_1000&DEV_{i % 65536:04X}&SUBSYS_92631000&REV_05\n"
                              f"\tPCI\\VEN_1000&DEV_{i % 65536:04X}\n\tPCI\\CC_010400" for i in range(count)))


def short_devices(count):
    """Two identifiers a device: a million of them stay under the 64 MiB that is read as text."""
    return captured("\n".join(f"Device {i}:\n\tPCI\\VEN_1000&DEV_{i % 65536:04X}\n\tPCI\\CC_010400" for i in range(count)))


def wmic(columns, rows):
    head = "".join(f"Column{i:05}  " for i in range(columns))
    row = "".join(f"value{i:06}  " for i in range(columns))
    return captured("\n".join([head] + [row] * rows))


SHAPES = {
    # one line of about 30,000 characters where each reader matches lines
    "setup-logs-long-line": {
        "setupact.log": b"2024-03-14 09:12:44, Error                 CSI    " + b"x" * 30000 + b"\r\n",
        "setuperr.log": b"2024-03-14 09:12:44, Error                 CSI    " + b"x" * 30000 + b"\r\n"},
    "product-logs-long-line": {
        "mp.log": b"2024-05-02 10:00:01 ERROR " + b"1" * 30000 + b"\r\n",
        "mpb.log": b"2024-05-02 " + b"1" * 30000 + b" failed\r\n"},
    # the working folder is looked for when all registry files are missing (the base has none)
    "diag-log-long-line": {"mpdiag.log": b"09:00:00 ! Item not copied: C:\\" + b"a" * 30000 + b"\\MPDiag1a2b\r\n"},
    "systeminfo-long-os-version": {"systeminfo.log": captured("Host Name:                 BENCH-PC\nOS Version:                10.0." + "1" * 30000)},
    "systeminfo-20000-digit-version": {"systeminfo.log": captured("Host Name:                 BENCH-PC\nOS Version:                " + "1" * 20000)},
    "reg-million-continuation-lines": {"BCD00000000.reg": continuation_export(1000000)},
    "one-entry-64mib-empty-lines": {"setupact.log": EMPTY_LINES},
    "ten-entries-64mib-empty-lines": {name: EMPTY_LINES for name in TEN_NAMES},
    # the most text decoding can make of 64 MiB: Windows-1252 bytes that each become three UTF-8
    # bytes, in lines of 100, every one an error line of a product log
    "ansi-64mib-error-lines": {"mp.log": (b"error " + b"\x80" * 93 + b"\n") * (64 * MIB // 100)},
    "devices-20000-controllers": {"devices.txt": devices(20000)},
    "devices-million-controllers": {"devices.txt": short_devices(1000000)},
    "wmic-2000-columns-2000-rows": {"wmic_disks.log": wmic(2000, 2000)},
}


def entries(shape):
    """The archive's files: the base, with the shape's own files in place of the base's."""
    files = dict(BASE)
    files.update(SHAPES[shape])
    return files


def write(path, files):
    """A zip archive of the files, deflated, the same bytes on every run."""
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        for entry, data in files.items():
            archive.writestr(zipfile.ZipInfo(entry, date_time=(2024, 1, 1, 0, 0, 0)), data, zipfile.ZIP_DEFLATED)


def main():
    folder = sys.argv[1]
    os.makedirs(folder, exist_ok=True)
    for shape in SHAPES:
        write(os.path.join(folder, shape + ".zip"), entries(shape))
        print(shape)


if __name__ == "__main__":
    main()
