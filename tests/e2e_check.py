"""Checks, from the outside, what mpdiag.exe left on a sample machine."""
import os
import re
import sys
import zipfile

# mode: normal or extended; or store: a normal run on a machine without C:\Recovery
machine, mode = sys.argv[1], sys.argv[2]
failures = []
checks = 0


def check(condition, what):
    global checks
    checks += 1
    if not condition:
        failures.append(what)


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
        bcd = read("bcdedit_all.log")
        check(b"\r\r\n" in bcd and b"\xc3\x9cbersicht" in bcd, "captured lines keep their CR, UTF-8 kept")
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
for failure in failures:
    print("FAIL:", failure)
print(f"{checks - len(failures)} passed, {len(failures)} failed")
sys.exit(1 if failures else 0)
