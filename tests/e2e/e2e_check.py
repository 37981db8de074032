"""Checks, from the outside, what mpdiag.exe left on a sample machine.

    e2e_check.py MACHINE MODE VARIANT

MODE: normal or extended; or store: a normal run on a machine without C:\\Recovery.
VARIANT: what the stand-ins wrote, and so which of the folders of archive_bytes/ holds the
command logs' exact bytes: field-en (English, as Windows writes into a pipe: wmic UTF-16LE with
a byte-order mark, bcdedit and systeminfo code page 850), field-de (the same, German) or utf8-en
(English, all UTF-8).
"""
import os
import re
import subprocess
import sys
import tempfile
import zipfile

machine, mode, variant = sys.argv[1], sys.argv[2], sys.argv[3]
here = os.path.dirname(os.path.abspath(__file__))
COMMAND_LOGS = ["bcdedit_all.log", "wmic_hotfix.log", "wmic_disks.log", "systeminfo.log"]
failures = []
checks = 0


def check(condition, what):
    global checks
    checks += 1
    if not condition:
        failures.append(what)


def collected(output):
    """A command's output as the collector saves it: read as UTF-8, each bad byte one U+FFFD and
    zero bytes kept, split at line feeds with empty pieces dropped, each line ended by CR LF."""
    lines = [line for line in output.decode("utf-8", errors="replace").split("\n") if line]
    return "".join(line + "\r\n" for line in lines).encode("utf-8")


def as_written(program, text, field):
    """The text as the stand-in for `program` writes it into the pipe."""
    if not field:
        return text.encode("utf-8")
    return b"\xff\xfe" + text.encode("utf-16-le") if program == "wmic" else text.encode("cp850")


def pinned(name, variant):
    with open(os.path.join(here, "archive_bytes", variant, name), "rb") as f:
        return f.read()


def first_difference(a, b):
    n = next((i for i in range(min(len(a), len(b))) if a[i] != b[i]), min(len(a), len(b)))
    return f"{len(a)} bytes, expected {len(b)}; first difference at byte {n}: {a[n:n + 16]!r} <> {b[n:n + 16]!r}"


# The kept bytes of the field bundle follow from the UTF-8 bundle's text (which loses nothing and
# whose lines all end in CR, so its text comes back whole) and from the collector's decoding.
for name in COMMAND_LOGS:
    text = "".join(line + "\n" for line in pinned(name, "utf8-en").decode("utf-8").split("\r\n")[:-1])
    derived = collected(as_written(name.split("_")[0], text, True))
    check(derived == pinned(name, "field-en"),
          f"archive_bytes/field-en/{name} is the UTF-8 bundle's text, field-encoded and collected: "
          + first_difference(pinned(name, "field-en"), derived))

check(open(os.path.join(machine, "run.txt")).read().strip() == "0", "exit status is 0")
users = os.path.join(machine, "prefix", "drive_c", "users")
temps = [os.path.join(d, n) for d, ns, _ in os.walk(users) for n in ns if n.lower() == "temp"]
left = [n for t in temps for n in os.listdir(t) if n.lower().startswith("mpdiag")]
check(not left, f"no working folder left behind (found {left})")

archive = os.path.join(machine, "tool", "mpdiag.zip")
check(os.path.exists(archive), "mpdiag.zip beside the executable")
if os.path.exists(archive):
    with zipfile.ZipFile(archive) as z:
        check(z.testzip() is None, "archive reads back without CRC errors")
        names = {n.lower() for n in z.namelist()}
        expected = {"inf/setupapi.dev.log", "setupact.log", "debug/netsetup.log", "logs/cbs/cbs.log",
                    "system32/wpeinit.log", "system32/winpeshl.log", "mp.log", "mpb.log", "devices.txt",
                    "enum.reg", "services.reg", "bcd00000000.reg", "bcdedit_all.log", "wmic_hotfix.log",
                    "wmic_disks.log", "systeminfo.log", "mpdiag.log"}
        if mode != "store":
            expected.add("recovery_path.log")
        for name in sorted(expected):
            check(name in names, f"archive holds {name}")
        check("bcd00000000.hiv" not in names, "no BCD00000000.hiv (Wine cannot save a hive)")
        check(("boot.wim" in names) == (mode == "extended"), f"boot.wim only in an extended run ({mode})")
        check(("recovery_path.log" in names) == (mode != "store"), "recovery_path.log only when an image was found")

        def read(name):
            return z.read(next(n for n in z.namelist() if n.lower() == name))

        image = os.path.join(machine, "prefix", "drive_c", "Recovery", "WindowsRE", "WinRE.wim")
        if mode != "store":
            check(read("recovery_path.log") == b"C:\\Recovery\\WindowsRE\\WinRE.wim\r\n",
                  "recovery_path.log holds the image's path and CR LF")
        if mode == "extended":
            check(read("boot.wim") == open(image, "rb").read(), "boot.wim is the recovery image")
            # The image as support's reader sees it: one x64 image of build 19041 with its drivers.
            with tempfile.TemporaryDirectory() as scratch:
                wim = os.path.join(scratch, "boot.wim")
                with open(wim, "wb") as f:
                    f.write(read("boot.wim"))
                info = subprocess.run(["wimlib-imagex", "info", wim, "1"], capture_output=True, text=True).stdout
                listing = subprocess.run(["wimlib-imagex", "dir", wim, "1"], capture_output=True, text=True).stdout
            check(re.search(r"^Architecture:\s+x86_64$", info, re.M) and re.search(r"^Build:\s+19041$", info, re.M),
                  f"boot.wim holds an x64 image of build 19041: {info}")
            infs = sorted(line.rsplit("/", 1)[1] for line in listing.splitlines() if line.endswith(".inf"))
            check(infs == ["megasas.inf"] * 2 + ["netrtl64.inf"] * 2 + ["storahci.inf"] * 2,
                  f"boot.wim holds each driver's INF in Windows/INF and in the driver store: {infs}")
        devices = (b"Device 0:\r\n"
                   b"\tPCI\\VEN_1000&DEV_0079&SUBSYS_92631000&REV_05\r\n\tPCI\\VEN_1000&DEV_0079\r\n"
                   b"\tPCI\\VEN_1000&CC_010400\r\n\tPCI\\CC_010400\r\n\tPCI\\CC_0104\r\n"
                   b"Device 1:\r\n"
                   b"\tPCI\\VEN_8086&DEV_10D3&SUBSYS_07D015AD&REV_00\r\n\tPCI\\VEN_8086&DEV_10D3\r\n"
                   b"\tPCI\\VEN_8086&CC_020000\r\n\tPCI\\CC_020000\r\n\tPCI\\CC_0200\r\n")
        check(read("devices.txt") == devices, "devices.txt lists the two controllers without a driver")
        check("{4f2c1a8e-7b3d-11ef-a1c4-0021cc6b2e10}" in read("bcd00000000.reg").decode("utf-16"),
              "BCD00000000.reg exports the boot store")
        check(not any(n.endswith("/") for n in names), "no folder entries")
        evtx = "system32/winevt/logs/system.evtx" in names
        check(evtx == (mode == "extended"), f"event logs collected only in an extended run ({mode})")
        for name in COMMAND_LOGS:
            check(read(name) == pinned(name, variant),
                  f"{name} holds the bytes of archive_bytes/{variant}/{name}: "
                  + first_difference(read(name), pinned(name, variant)))
        # The decoding's marks, whatever the fixture files say: in the field bundles wmic's
        # byte-order mark is two U+FFFD, its zero bytes stay (a line feed's high byte begins each
        # following line), and a code-page letter is one U+FFFD; the UTF-8 bundle keeps its letters.
        hotfix = read("wmic_hotfix.log")
        systeminfo = read("systeminfo.log")
        owner = "J\u00fcrgen Wei\u00df\r\r\n".encode("utf-8") if variant == "utf8-en" else \
            b"J\xef\xbf\xbdrgen Wei\xef\xbf\xbd\r\r\n"
        check(owner in systeminfo, f"systeminfo.log names the owner as {owner!r}")
        if variant.startswith("field"):
            check(hotfix.startswith(b"\xef\xbf\xbd\xef\xbf\xbd_\x00_\x00G\x00E\x00N\x00"),
                  f"wmic_hotfix.log begins with two U+FFFD and UTF-16 text: {hotfix[:16]!r}")
            check(all(line.startswith(b"\x00") for line in hotfix.split(b"\r\n")[1:-1]),
                  "each line of wmic_hotfix.log after the first begins with a zero byte")
            check(b"K\x00B\x005\x000\x003\x004\x004\x004\x001\x00" in hotfix, "the last hotfix is kept whole")
        else:
            check(hotfix.startswith(b"__GENUS  ") and b"\x00" not in hotfix, "wmic_hotfix.log is plain text")
        if variant == "field-de":
            check(b"Bezeichner              {current}\r\r\n" in read("bcdedit_all.log"), "German bcdedit labels")
            check(b"Wiederaufnahme aus dem Ruhezustand\r\r\n" in read("bcdedit_all.log"), "German section titles")
            check(b"recoveryenabled         Yes\r\r\n" in read("bcdedit_all.log"),
                  "Yes and No in English, as real German bcdedit prints them")
        log = read("mpdiag.log").decode("utf-8")
        record = re.compile(r"^(\d\d:\d\d:\d\d( !!! | ! | - |   ).*)?$")
        lines = log.split("\r\n")
        check(lines[-1] == "", "mpdiag.log ends with CR LF")
        for line in lines[:-1]:
            check(record.match(line) is not None, f"well-formed log line: {line!r}")
        # With the image below \Recovery nothing is logged; without it the store walk begins, and
        # ends where Wine lists no disks.
        walk = [line[8:] for line in lines[:-1]]
        if mode == "store":
            check(len(walk) == 2 and re.fullmatch(r"   System volume: \\\\\.\\C:; Device Number: \d+", walk[0])
                  is not None and walk[1] == " ! Can't get system drive", f"store walk logged: {walk}")
        else:
            check(walk == [], f"nothing logged: {walk}")
# The working folder while mpdiag ran, as each stand-in found it in the temporary folder: one
# folder, the same in every run. It was made hidden, but the copier sets the attributes of a
# folder it copies a file into to normal, the working folder too (setup*.* lands there), so the
# commands, which run after the copy, see it no longer hidden.
with open(os.path.join(machine, "standin-record.txt"), encoding="utf-8") as f:
    record = [line.rsplit(" ", 2) for line in f.read().splitlines()]
commands = ["bcdedit.exe /enum all", "wmic qfe list brief /format:texttablewsys", "wmic diskdrive list", "systeminfo"]
check([r[0] for r in record] == commands, f"each command ran once, in order: {record}")
check(len({r[1] for r in record}) == 1 and all(re.fullmatch(r"MPDiag[0-9a-f]{1,8}", r[1]) for r in record),
      f"one working folder while the commands ran: {record}")
for line in record:
    attributes = int(line[2], 16)
    check(attributes & 0x10, f"{line[1]} is a folder")
    check(not attributes & 0x2, f"{line[1]} is no longer hidden once files were copied into it: {line[2]}")
for failure in failures:
    print("FAIL:", failure)
print(f"{checks - len(failures)} passed, {len(failures)} failed")
sys.exit(1 if failures else 0)
