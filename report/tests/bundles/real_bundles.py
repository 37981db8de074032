"""mpdiag-report on archives that the real mpdiag.exe made on the sample machine.

    real_bundles.py REPORT_EXE E2E_DIR
        The collector's end-to-end runs (E2E_DIR/NAME/tool/mpdiag.zip): normal, extended, store
        (no image below C:\\Recovery), and, where the sample machine makes them, german and utf8
        (normal runs whose console programs speak German, or write UTF-8). When utf8, normal and
        german are all there they must give the same findings, also with their registry export
        of the boot store taken out (so that bcdedit's output is read in each form). Exits 77
        (skipped) when no archive is there.
    real_bundles.py REPORT_EXE --same ARCHIVE...
        Bundles of one machine (English UTF-8, field-encoded, German): the same findings, by id,
        severity and subject.
"""
import json
import os
import subprocess
import sys
import tempfile
import zipfile

failures = []
checks = 0


def check(condition, what):
    global checks
    checks += 1
    if not condition:
        failures.append(what)


def report(exe, archive):
    """The JSON report of an archive; the HTML page is written and checked on the way."""
    with tempfile.TemporaryDirectory() as folder:
        page = os.path.join(folder, "report.html")
        run = subprocess.run([exe, "--json", "--html", page, archive], capture_output=True, text=True)
        check(run.returncode == 0, f"{archive}: exit status 0 (got {run.returncode}: {run.stderr.strip()})")
        if run.returncode != 0:
            return None
        html = open(page, encoding="utf-8").read()
        check(html.startswith("<!DOCTYPE html>") and "<script" not in html and "src=" not in html,
              f"{archive}: one self-contained page")
    return json.loads(run.stdout)


def findings(result):
    return sorted((f["id"], f["severity"], f.get("subject", "")) for f in result["findings"])


def has(result, id_, severity=None, subject=None):
    return any(f["id"] == id_ and (severity is None or f["severity"] == severity) and
               (subject is None or f.get("subject") == subject) for f in result["findings"])


def check_run(name, result):
    machine = result["machine"]
    check(machine["host"] == "SAMPLE-PC", f"{name}: host SAMPLE-PC ({machine})")
    if machine["os_name"]:
        check((machine["os_name"], machine["build"], machine["architecture"]) ==
              ("Microsoft Windows 10 Pro", "19045", "x64"), f"{name}: the system ({machine})")
    for controller in ("PCI\\VEN_1000&DEV_0079", "PCI\\VEN_8086&DEV_10D3"):
        check(has(result, "drivers.no-driver-on-machine", "warning", controller),
              f"{name}: {controller} without a driver, from devices.txt")
    check(not has(result, "drivers.no-driver-on-machine", subject="PCI\\VEN_8086&DEV_2922"),
          f"{name}: the working SATA controller is no finding")
    check(has(result, "boot.current-loader", "info"), f"{name}: the system's boot loader is found")
    check(not has(result, "boot.recovery-disabled"), f"{name}: recovery is enabled")
    check(not has(result, "archive.unsafe-entries"), f"{name}: no unsafe names")
    without_image = name in ("store", "extended_store")
    if without_image:
        found = [f for f in result["findings"] if f["id"] == "recovery.image-not-found"]
        check(len(found) == 1 and found[0]["severity"] == "error", f"{name}: no recovery image")
        check(found and any(e["entry"] == "mpdiag.log" and e["text"] == "Can't get system drive"
                            for e in found[0]["evidence"]), f"{name}: the store walk's end is the evidence")
    else:
        check(not has(result, "recovery.image-not-found"), f"{name}: the recovery image is found")
    if name == "extended":
        check(result["run"] == "extended", f"{name}: an extended run")
        if has(result, "recovery.image"):
            # A real recovery image: drivers for the SATA and RAID controllers, none for the adapter.
            missing = [f.get("subject") for f in result["findings"] if f["id"] == "drivers.missing-in-recovery-image"]
            check(missing == ["PCI\\VEN_8086&DEV_10D3"], f"{name}: only the network adapter lacks a driver ({missing})")
        else:
            check(has(result, "recovery.image-invalid", "error"), f"{name}: boot.wim is checked")
    else:
        check(result["run"] == ("extended" if name == "extended_store" else "normal"), f"{name}: the kind of run")
        check(has(result, "drivers.not-checked", "info"), f"{name}: drivers not checked without boot.wim")
        check(not has(result, "recovery.image"), f"{name}: no image described")
    check(not has(result, "recovery.image-not-collected", "warning"),
          f"{name}: no copy failed (an image that was not found is not missing from the archive)")


def check_same(exe, archives):
    results = [(archive, report(exe, archive)) for archive in archives]
    first = results[0]
    for archive, result in results[1:]:
        if first[1] and result:
            check(findings(first[1]) == findings(result),
                  f"{archive} gives the findings of {first[0]}:\n  {findings(result)}\n  {findings(first[1])}")
    return first[1]


def without_store_export(archive, folder):
    """A copy of the archive without BCD00000000.reg: the report falls back to bcdedit_all.log."""
    copy = os.path.join(folder, os.path.basename(os.path.dirname(os.path.dirname(archive))) + "-bcdedit.zip")
    with zipfile.ZipFile(archive) as source, zipfile.ZipFile(copy, "w", zipfile.ZIP_DEFLATED) as target:
        for item in source.infolist():
            if item.filename.lower() != "bcd00000000.reg":
                target.writestr(item, source.read(item))
    return copy


def main():
    exe = sys.argv[1]
    if sys.argv[2] == "--same":
        check_same(exe, sys.argv[3:])
    else:
        runs = [(name, os.path.join(sys.argv[2], name, "tool", "mpdiag.zip"))
                for name in ("normal", "extended", "store", "german", "utf8", "extended_store")]
        runs = dict((name, archive) for name, archive in runs if os.path.exists(archive))
        if not runs:
            print(f"no archive of the collector's end-to-end runs in {sys.argv[2]}: skipped")
            sys.exit(77)
        for name, archive in runs.items():
            result = report(exe, archive)
            if result:
                check_run(name, result)
        forms = [runs[name] for name in ("utf8", "normal", "german") if name in runs]
        if len(forms) == 3:
            check_same(exe, forms)
            with tempfile.TemporaryDirectory() as folder:
                result = check_same(exe, [without_store_export(archive, folder) for archive in forms])
                check(result and has(result, "boot.recovery-loader", "info"),
                      "from bcdedit alone: the recovery loader is found in every form")
        else:
            print("the English UTF-8, field-encoded and German bundles are not all there: not compared")
    for failure in failures:
        print("FAIL:", failure)
    print(f"{checks - len(failures)} passed, {len(failures)} failed")
    sys.exit(1 if failures else 0)


main()
