"""How many facts of the real field samples mpdiag-report gets right, wrong or leaves unknown.

    tally.py REPORT_EXE [SHARED_DIR] [--list]

Each sample of SHARED_DIR/field-samples (default: ../shared beside the checkout) goes into an
archive of its own, under the name the collector gives that program's output, in two forms:
"field" (the bytes as the collector stores them from a real machine: the console's code page,
or UTF-16 for wmic, read by the collector as UTF-8) and "utf8" (the same text printed as UTF-8).
The report's JSON is compared with the facts of field_facts.tsv (transcribed from the samples'
SOURCES.md). A fact is right when the report states it, unknown when the report says it does not
know it, wrong when the report states something else. A fact the sample does not hold (NA) is
right when the report leaves it unknown. It also counts false alarms: warnings and errors about
the boot configuration or the disks (the files these samples feed) that the sample's facts do not
support (the only one they support is boot.recovery-disabled where the sample says recovery is
disabled; boot.configuration-missing is right for an archive without the store, and not counted). --list prints every fact that is not right and every false alarm.

The script reads only the report's output, so the same run measures any build of the reader.
"""
import codecs
import json
import os
import re
import subprocess
import sys
import tempfile
import zipfile

HERE = os.path.dirname(os.path.abspath(__file__))

# The console's OEM code page by the language of the sample's name, as SOURCES.md gives them.
CODE_PAGES = {"en": "cp437", "de": "cp850", "fr": "cp850", "it": "cp850", "es": "cp850", "pt": "cp850",
              "nl": "cp850", "sv": "cp850", "pl": "cp852", "cs": "cp852", "hu": "cp852", "tr": "cp857",
              "ru": "cp866", "zhcn": "cp936", "zhtw": "cp950", "ja": "cp932", "ko": "cp949"}
# A letter the code page lacks: Windows' best-fit look-alike where SOURCES.md names one, else "?".
BEST_FIT = {"\u2019": "'"}


def best_fit(error):
    text = error.object[error.start:error.end]
    return "".join(BEST_FIT.get(c, "?") for c in text), error.end


codecs.register_error("windows_best_fit", best_fit)


def utf8_length(data, i):
    """Length of the well-formed UTF-8 sequence at data[i], 0 when there is none."""
    b = data[i]
    if b < 0x80:
        return 1
    if 0xC2 <= b <= 0xDF:
        need, low, high = 2, 0x80, 0xBF
    elif 0xE0 <= b <= 0xEF:
        need = 3
        low, high = (0xA0, 0xBF) if b == 0xE0 else (0x80, 0x9F) if b == 0xED else (0x80, 0xBF)
    elif 0xF0 <= b <= 0xF4:
        need = 4
        low, high = (0x90, 0xBF) if b == 0xF0 else (0x80, 0x8F) if b == 0xF4 else (0x80, 0xBF)
    else:
        return 0
    if i + need > len(data) or not low <= data[i + 1] <= high:
        return 0
    if any(not 0x80 <= data[k] <= 0xBF for k in range(i + 2, i + need)):
        return 0
    return need


def collector_saves(child):
    """The collector: the child's bytes read as UTF-8 (each byte of no well-formed sequence becoming
    U+FFFD), split at LF, empty pieces dropped, each piece written as UTF-8 and CR LF."""
    text, i = [], 0
    while i < len(child):
        n = utf8_length(child, i)
        text.append(child[i:i + n].decode("utf-8") if n else "\ufffd")
        i += n or 1
    return b"".join(piece.encode("utf-8") + b"\r\n" for piece in "".join(text).split("\n") if piece)


def child_output(sample, text, form):
    """What the program wrote into the collector's pipe."""
    lines = text.split("\n")
    if lines and lines[-1] == "":
        lines.pop()
    if sample.startswith("wmic-"):
        printed = "".join(line + "\r\r\n" for line in lines) + "\r\r\n"
        return printed.encode("utf-8") if form == "utf8" else b"\xff\xfe" + printed.encode("utf-16-le")
    printed = "".join(line + "\r\n" for line in lines)
    if form == "utf8":
        return printed.encode("utf-8")
    language = sample.split("-")[1]
    return printed.encode(CODE_PAGES[language], "windows_best_fit")


def archive_files(sample, text, form):
    kind = sample.split("-")[0] + ("-" + sample.split("-")[1] if sample.startswith("wmic-") else "")
    if kind in ("setupact", "setuperr"):
        # Windows writes these files itself; the collector copies them as they are.
        return {kind + ".log": "".join(line + "\r\n" for line in text.split("\n")[:-1]).encode("utf-8")}
    name = {"systeminfo": "systeminfo.log", "bcdedit": "bcdedit_all.log", "wmic-diskdrive": "wmic_disks.log",
            "wmic-qfe": "wmic_hotfix.log"}[kind]
    return {name: collector_saves(child_output(sample, text, form))}


def run_report(exe, files):
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "mpdiag.zip")
        with zipfile.ZipFile(path, "w") as archive:
            archive.writestr("mpdiag.log", b"")
            for name, data in files.items():
                archive.writestr(name, data)
        run = subprocess.run([exe, "--json", path], capture_output=True)
        if run.returncode != 0:
            raise RuntimeError(f"{exe} failed: {run.stderr.decode(errors='replace')}")
        return json.loads(run.stdout.decode("utf-8"))


def format_size(size):
    units = ["bytes", "KiB", "MiB", "GiB", "TiB"]
    value, unit = float(size), 0
    while value >= 1024 and unit < 4:
        value /= 1024
        unit += 1
    if unit == 0:
        return f"{size} bytes"
    return f"{value:.0f} {units[unit]}" if value == int(value) else f"{value:.1f} {units[unit]}"


DISK = re.compile(r"^disk (?P<index>[^:]*): (?P<model>.*?), (?P<style>MBR \(signature 0x[0-9A-F]+\)|"
                  r"GPT or not initialised \(no signature\)|partition style [a-z ]+), (?P<size>[^,]+)"
                  r"(?:, (?P<partitions>\S+) partitions?)?(?:, status (?P<status>.*))?$")
UNKNOWN_DISK_VALUES = {"?", "(no model)", "(model unknown)", "size unknown", "partition style not listed",
                       "partition style unknown"}


def disk_facts(result):
    facts = {}
    layout = [f for f in result["findings"] if f["id"] == "disks.layout"]
    for n, evidence in enumerate(layout[0]["evidence"] if layout else [], 1):
        match = DISK.match(evidence["text"])
        if not match:
            for fact in ("index", "model", "size", "partitions", "signature", "status"):
                facts[f"disk.{n}.{fact}"] = "(unparsed) " + evidence["text"]
            continue
        get = match.groupdict()
        facts.update({f"disk.{n}.index": get["index"], f"disk.{n}.model": get["model"], f"disk.{n}.size": get["size"],
                      f"disk.{n}.partitions": get["partitions"] or "", f"disk.{n}.signature": get["style"],
                      f"disk.{n}.status": get["status"] or ""})
    return {k: ("" if v in UNKNOWN_DISK_VALUES else v) for k, v in facts.items()}


def boot_facts(result):
    facts = {}
    boot = [f for f in result["findings"] if f["id"].startswith("boot.")]
    current = [f for f in boot if f["id"] == "boot.current-loader"]
    if current:
        match = re.search(r"through boot loader (\S+)(?: \(\"(.*)\"\)$)?", current[0]["title"])
        if match:
            facts["current_loader"], facts["description"] = match.group(1), match.group(2) or ""
        language = re.search(r"\(([A-Z][a-z]+) labels", current[0]["evidence"][0]["text"])
        facts["labels"] = language.group(1) if language else ""
        facts["recovery_enabled"] = "no" if any(f["id"] == "boot.recovery-disabled" for f in boot) else "yes"
    texts = [f["title"] for f in boot] + [e["text"] for f in boot for e in f["evidence"]]
    for text in texts:
        match = re.search(r"(?:recoverysequence\s+|recovery sequence points at )(\{[0-9a-fA-F-]+\})", text)
        if match:
            facts["recovery_sequence"] = match.group(1).lower()
            break
    return facts


def reported_facts(result, files):
    machine = result["machine"]
    facts = {"host": machine.get("host", ""), "os_name": machine.get("os_name", "").strip(),
             "os_version": machine.get("os_version", ""), "build": machine.get("build", ""),
             "architecture": machine.get("architecture", ""), "updates": machine.get("updates", "")}
    facts.update(boot_facts(result))
    facts.update(disk_facts(result))
    for name in files:
        if name.startswith("setup"):
            found = [f for f in result["findings"] if f["id"] == "logs.setup-errors" and f.get("subject") == name]
            facts["error_lines"] = re.match(r"(\d+)", found[0]["title"]).group(1) if found else "0"
    return facts


def false_alarms(result, facts):
    disabled = ("recovery_enabled", "no") in facts
    return [f"{f['severity']} {f['id']}" for f in result["findings"]
            if f["severity"] in ("error", "warning") and f["id"].startswith(("boot.", "disks."))
            and f["id"] != "boot.configuration-missing" and not (disabled and f["id"] == "boot.recovery-disabled")]


def expected_value(fact, value):
    if fact.endswith(".size"):
        return format_size(int(value))
    if fact.endswith(".signature"):
        return "GPT or not initialised (no signature)" if value == "none" else f"MBR (signature 0x{int(value):08X})"
    return value


def load_facts():
    facts = {}
    with open(os.path.join(HERE, "field_facts.tsv"), encoding="utf-8") as table:
        for line in table:
            if line.startswith("#") or not line.strip():
                continue
            sample, fact, value = line.rstrip("\n").split("\t")
            facts.setdefault(sample, []).append((fact, value))
    return facts


def main():
    args = [a for a in sys.argv[1:] if not a.startswith("--")]
    listing = "--list" in sys.argv
    if not args:
        sys.exit(__doc__)
    exe = os.path.abspath(args[0])
    shared = args[1] if len(args) > 1 else os.path.join(HERE, "..", "..", "..", "..", "shared")
    samples_dir = os.path.join(shared, "field-samples")
    if not os.path.isdir(samples_dir):
        print(f"{samples_dir} is absent: nothing to count")
        sys.exit(77)
    totals = {form: {"right": 0, "wrong": 0, "unknown": 0, "false alarms": 0} for form in ("field", "utf8")}
    for sample, facts in load_facts().items():
        text = open(os.path.join(samples_dir, sample + ".txt"), encoding="utf-8").read()
        for form in ("field", "utf8"):
            files = archive_files(sample, text, form)
            result = run_report(exe, files)
            reported = reported_facts(result, files)
            alarms = false_alarms(result, facts)
            counts = {"right": 0, "wrong": 0, "unknown": 0, "false alarms": len(alarms)}
            if listing:
                for alarm in alarms:
                    print(f"  {sample} [{form}] false alarm: {alarm}")
            for fact, value in facts:
                got = reported.get(fact, "")
                if value == "NA":
                    verdict = "right" if got == "" else "wrong"
                else:
                    expected = expected_value(fact, value)
                    verdict = "right" if got == expected else "unknown" if got == "" else "wrong"
                counts[verdict] += 1
                if listing and verdict != "right":
                    print(f"  {sample} [{form}] {fact}: {verdict} (report: {got!r}, sample: {value!r})")
            for verdict, n in counts.items():
                totals[form][verdict] += n
            print(f"{sample:32} {form:5}  right {counts['right']:2}  wrong {counts['wrong']:2}  unknown {counts['unknown']:2}"
                  f"  false alarms {counts['false alarms']}")
    for form, counts in totals.items():
        total = counts["right"] + counts["wrong"] + counts["unknown"]
        print(f"total {form:5}: {counts['right']} right, {counts['wrong']} wrong, {counts['unknown']} unknown (of {total});"
              f" {counts['false alarms']} false alarms")


if __name__ == "__main__":
    main()
