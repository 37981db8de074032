#!/usr/bin/env bash
# Runs the test build of the entry point with a planted VssApi.dll beside it, then checks the
# archive it left: the assertion is one error record, no window appeared, and the system's
# VssApi.dll was loaded, not the planted one.
#   entry_probe_check.sh BUILD_DIR
set -euo pipefail
build=$1
here=$(cd "$(dirname "$0")" && pwd)
probe="$build/probe"
rm -rf "$probe"
mkdir -p "$probe"
cp "$build/entry_probe.exe" "$probe/mpdiag.exe"
cp "$build/planted/VssApi.dll" "$probe/VssApi.dll"
"$build/wine-run.sh" "$probe/mpdiag.exe" </dev/null >"$probe/stdout.txt" 2>&1
python3 - "$probe/mpdiag.zip" <<'PY'
import re, sys, zipfile
log = zipfile.ZipFile(sys.argv[1]).read("mpdiag.log").decode("utf-8").split("\r\n")
body = [line[8:] for line in log if line]
failures = []
asserts = [l for l in body if "probe assertion during the collection" in l]
if len(asserts) != 1 or not re.fullmatch(
        r' ! Assertion "?.*"? failed in GetCRecoveryPath at .*entry_probe\.cpp\(\d+\): probe assertion during the collection',
        asserts[0]):
    failures.append(f"one error record of the assertion, found {asserts}")
if "   Windows created by the assertion: 0" not in body:
    failures.append("no window created")
loaded = [l for l in body if "VssApi.dll loaded from" in l]
if len(loaded) != 1 or not loaded[0].lower().endswith("\\system32\\vssapi.dll"):
    failures.append(f"VssApi.dll from the system folder, found {loaded}")
if not any(l.startswith("   Output for command") or "Can't" in l for l in body) and len(body) < 3:
    failures.append("the run went on after the assertion")
for f in failures:
    print("FAIL:", f)
print("\n".join(body[:10]))
sys.exit(1 if failures else 0)
PY
