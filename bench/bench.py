"""Fills the sample machine with log data, then times mpdiag.exe -x and the native floor."""
import os
import random
import resource
import shutil
import subprocess
import sys
import time

work, size_mb = sys.argv[1], int(sys.argv[2])
windows = os.path.join(work, "prefix", "drive_c", "windows")
recovery = os.path.join(work, "prefix", "drive_c", "Recovery", "WindowsRE", "WinRE.wim")
MB = 1 << 20


def on_disk(relative):
    """The item's path as the host spells it (Wine's own folders are lower-case there)."""
    path = windows
    for part in relative.split("/"):
        path = os.path.join(path, next(n for n in os.listdir(path) if n.lower() == part.lower()))
    return os.path.relpath(path, windows)


# Half text-like logs below Logs\Bench, half barely compressible data below debug\Bench.
rng = random.Random(20261122)
words = ["info", "warning", "error", "volume", "disk", "partition", "driver", "service", "boot",
         "loader", "recovery", "snapshot", "copied", "skipped", "offset", "signature", "status"]
for folder, kind in (("Logs", "text"), ("debug", "data")):
    target = os.path.join(windows, on_disk(folder), "Bench")
    os.makedirs(target, exist_ok=True)
    per_file, files = 10 * MB, max(1, size_mb // 2 // 10)
    for i in range(files):
        with open(os.path.join(target, f"{kind}{i:03}.log"), "wb") as f:
            if kind == "data":
                f.write(os.urandom(per_file))
                continue
            written = 0
            while written < per_file:
                line = (f"2026-11-{rng.randrange(1, 29):02} {rng.randrange(24):02}:{rng.randrange(60):02}:"
                        f"{rng.randrange(60):02} [{rng.randrange(9999):04}] " +
                        " ".join(rng.choice(words) for _ in range(rng.randrange(4, 14))) +
                        f" 0x{rng.getrandbits(32):08x}\r\n").encode()
                f.write(line)
                written += len(line)

# The tool, extended run.
start = time.monotonic()
subprocess.run(["wine", os.path.join(work, "tool", "mpdiag.exe"), "-x"], stdin=subprocess.DEVNULL,
               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
tool_time = time.monotonic() - start
peak_kb = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss
tool_zip = os.path.getsize(os.path.join(work, "tool", "mpdiag.zip"))

# The native floor: the same items copied, then zipped at level 9.
items = ["Inf/setupapi.dev.log", "Inf/setupapi.app.log", "Inf/setupapi.offline.log", "setupact.log",
         "setuperr.log", "WindowsUpdate.log", "DtcInstall.log", "debug", "Logs", "System32/WinEvt",
         "System32/wpeinit.log", "System32/winpeshl.log"]


items = [on_disk(item) for item in items]
native = os.path.join(work, "native")
shutil.rmtree(native, ignore_errors=True)
os.makedirs(native)
start = time.monotonic()
subprocess.run(["cp", "-r", "--parents"] + items + [native], cwd=windows, check=True)
subprocess.run(["cp", recovery, os.path.join(native, "boot.wim")], check=True)
subprocess.run(["zip", "-q", "-9", "-r", os.path.join(work, "native.zip"), "."], cwd=native, check=True)
native_time = time.monotonic() - start
native_zip = os.path.getsize(os.path.join(work, "native.zip"))

print(f"log data:            {size_mb} MB (half text-like, half barely compressible)")
print(f"mpdiag.exe -x:       {tool_time:7.2f} s, archive {tool_zip:,} bytes")
print(f"native cp + zip -9:  {native_time:7.2f} s, archive {native_zip:,} bytes")
print(f"time ratio:          {tool_time / native_time:7.3f}")
print(f"size ratio:          {tool_zip / native_zip:7.4f}")
print(f"peak memory (Wine):  {peak_kb / 1024:7.1f} MB")
