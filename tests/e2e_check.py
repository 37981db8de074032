"""Checks, from the outside, what mpdiag.exe left on a sample machine."""
import os
import re
import sys
import zipfile

machine, mode = sys.argv[1], sys.argv[2]  # mode: normal or extended
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
                    "system32/wpeinit.log", "system32/winpeshl.log", "mp.log", "mpb.log", "enum.reg",
                    "services.reg", "bcdedit_all.log", "wmic_disks.log", "systeminfo.log", "mpdiag.log"}
        for name in sorted(expected):
            check(name in names, f"archive holds {name}")
        check("wmic_hotfix.log" not in names, "no wmic_hotfix.log (its output is line feeds only)")
        check(not any(n.endswith("/") for n in names), "no folder entries")
        evtx = "system32/winevt/logs/system.evtx" in names
        check(evtx == (mode == "extended"), f"event logs collected only in an extended run ({mode})")
        bcd = z.read(next(n for n in z.namelist() if n.lower() == "bcdedit_all.log"))
        check(b"\r\r\n" in bcd and b"\xc3\x9cbersicht" in bcd, "captured lines keep their CR, UTF-8 kept")
        log = z.read(next(n for n in z.namelist() if n.lower() == "mpdiag.log")).decode("utf-8")
        record = re.compile(r"^(\d\d:\d\d:\d\d( !!! | ! | - |   ).*)?$")
        lines = log.split("\r\n")
        check(lines[-1] == "", "mpdiag.log ends with CR LF")
        for line in lines[:-1]:
            check(record.match(line) is not None, f"well-formed log line: {line!r}")
for failure in failures:
    print("FAIL:", failure)
print(f"{checks - len(failures)} passed, {len(failures)} failed")
sys.exit(1 if failures else 0)
