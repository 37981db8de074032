"""Times extended runs of mpdiag.exe on a sample machine against the native floor (cp -r, then
zip -9 -r, of the same items). Not a test: nothing passes or fails.
   bench.py WORK BIN sizes SIZE_MB...   logs of each size in turn (ascending), then the zip
                                        writer against raw zlib level 9 on the same data
   bench.py WORK BIN many COUNT         COUNT small files in nested folders
WORK holds the sample machine (prefix/) and the tool's folder (tool/); BIN the Windows programs
(mpdiag.exe, zip_bench.exe, zlib_bench.exe)."""
import glob
import os
import random
import shutil
import struct
import subprocess
import sys
import threading
import time
import zipfile

work, bin_dir, mode = sys.argv[1], sys.argv[2], sys.argv[3]
windows = os.path.join(work, "prefix", "drive_c", "windows")
recovery = os.path.join(work, "prefix", "drive_c", "Recovery", "WindowsRE", "WinRE.wim")
tool = os.path.join(work, "tool")
archive = os.path.join(tool, "mpdiag.zip")
MB = 1 << 20
WORDS = ["info", "warning", "error", "volume", "disk", "partition", "driver", "service", "boot",
         "loader", "recovery", "snapshot", "copied", "skipped", "offset", "signature", "status"]


def on_disk(relative):
    """The item's path as the host spells it (Wine's own folders are lower-case there)."""
    path = windows
    for part in relative.split("/"):
        path = os.path.join(path, next(n for n in os.listdir(path) if n.lower() == part.lower()))
    return os.path.relpath(path, windows)


def log_line(rng):
    return (f"2026-11-{rng.randrange(1, 29):02} {rng.randrange(24):02}:{rng.randrange(60):02}:"
            f"{rng.randrange(60):02} [{rng.randrange(9999):04}] " +
            " ".join(rng.choice(WORDS) for _ in range(rng.randrange(4, 14))) +
            f" 0x{rng.getrandbits(32):08x}\r\n").encode()


def fill_logs(size_mb):
    """Half text-like logs below Logs\\Bench, half barely compressible data below debug\\Bench,
    in 10 MB files; files already there from a smaller size are kept."""
    for folder, kind in (("Logs", "text"), ("debug", "data")):
        target = os.path.join(windows, on_disk(folder), "Bench")
        os.makedirs(target, exist_ok=True)
        for i in range(max(1, size_mb // 2 // 10)):
            path = os.path.join(target, f"{kind}{i:03}.log")
            if os.path.exists(path):
                continue
            rng = random.Random(i)
            with open(path, "wb") as f:
                if kind == "data":
                    f.write(os.urandom(10 * MB))
                    continue
                written = 0
                while written < 10 * MB:
                    written += f.write(log_line(rng))


def fill_many(count):
    """`count` small log files (a few hundred bytes to some kilobytes) below Logs\\Many, 100 to a
    folder, three folders deep."""
    rng = random.Random(20261123)
    root = os.path.join(windows, on_disk("Logs"), "Many")
    for i in range(count):
        folder = os.path.join(root, f"a{i // 10000:02}", f"b{i // 1000 % 10}", f"c{i // 100 % 10}")
        if i % 100 == 0:
            os.makedirs(folder, exist_ok=True)
        size, data = int(rng.lognormvariate(6.8, 0.8)), b""
        while len(data) < size:
            data += log_line(rng)
        with open(os.path.join(folder, f"log{i:06}.txt"), "wb") as f:
            f.write(data[:size])


def temp_folders():
    users = os.path.join(work, "prefix", "drive_c", "users", "*")
    return glob.glob(os.path.join(users, "Temp", "MPDiag*")) + glob.glob(os.path.join(users, "AppData", "Local", "Temp", "MPDiag*"))


def archive_finished():
    """The end of central directory record is the last thing the writer puts into the archive."""
    try:
        with open(archive, "rb") as f:
            f.seek(-22, os.SEEK_END)
            return f.read(4) == b"PK\x05\x06"
    except OSError:
        return False


def run_tool():
    """Runs mpdiag.exe -x, watching from outside when each phase ends: the working folder
    appears, the system items are copied (mp.log follows them), the commands and the recovery
    locator are done (recovery_path.log), the recovery image is copied (the archive is created),
    the archive is finished, the working folder is gone. Returns the total time, the phase ends
    and the peak resident memory of the Wine process."""
    if os.path.exists(archive):
        os.remove(archive)
    marks, done = {}, threading.Event()

    def watch():
        folder = None
        while not done.is_set():
            now = time.monotonic()
            if folder is None:
                found = temp_folders()
                if found:
                    folder = found[0]
                    marks.setdefault("start-up", now)
            else:
                if os.path.exists(os.path.join(folder, "mp.log")):
                    marks.setdefault("copy of the system items", now)
                if os.path.exists(os.path.join(folder, "recovery_path.log")):
                    marks.setdefault("product logs, devices, commands, recovery locator", now)
                if os.path.exists(archive):
                    marks.setdefault("copy of the recovery image", now)
                if "zip" not in marks and archive_finished():
                    marks["zip"] = now
                if not os.path.exists(folder):
                    marks.setdefault("removal of the working folder", now)
            time.sleep(0.02)

    watcher = threading.Thread(target=watch)
    start = time.monotonic()
    process = subprocess.Popen(["wine", os.path.join(tool, "mpdiag.exe"), "-x"], stdin=subprocess.DEVNULL,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    watcher.start()
    _, _, usage = os.wait4(process.pid, 0)
    end = time.monotonic()
    done.set()
    watcher.join()
    marks.setdefault("removal of the working folder", end)
    phases, last = [], start
    for name, at in sorted(marks.items(), key=lambda item: item[1]):
        phases.append((name, at - last))
        last = at
    phases.append(("exit", end - last))
    return end - start, phases, usage.ru_maxrss / 1024


def native_floor():
    """cp -r of the same items (and the recovery image as boot.wim), then zip -9 -r: both times."""
    items = ["Inf/setupapi.dev.log", "Inf/setupapi.app.log", "Inf/setupapi.offline.log", "setupact.log",
             "setuperr.log", "WindowsUpdate.log", "DtcInstall.log", "debug", "Logs", "System32/WinEvt",
             "System32/wpeinit.log", "System32/winpeshl.log"]
    items = [on_disk(item) for item in items]
    native, native_zip = os.path.join(work, "native"), os.path.join(work, "native.zip")
    shutil.rmtree(native, ignore_errors=True)
    if os.path.exists(native_zip):
        os.remove(native_zip)
    os.makedirs(native)
    subprocess.run(["sync"], check=True)
    start = time.monotonic()
    subprocess.run(["cp", "-r", "--parents"] + items + [native], cwd=windows, check=True)
    subprocess.run(["cp", recovery, os.path.join(native, "boot.wim")], check=True)
    copied = time.monotonic()
    subprocess.run(["zip", "-q", "-9", "-r", native_zip, "."], cwd=native, check=True)
    zipped = time.monotonic()
    shutil.rmtree(native)
    return copied - start, zipped - copied, os.path.getsize(native_zip)


def checked_entries():
    """The number of entries of the tool's archive, after Python's reader found no CRC error."""
    with zipfile.ZipFile(archive) as z:
        bad = z.testzip()
        if bad:
            sys.exit(f"CRC error in {bad}")
        return len(z.infolist())


def measure(label):
    total, phases, peak = run_tool()
    entries, size = checked_entries(), os.path.getsize(archive)
    copy, zip_time, native_size = native_floor()
    print(f"{label}")
    print(f"  mpdiag.exe -x:        {total:8.2f} s, archive {size:,} bytes, {entries:,} entries, "
          f"peak memory {peak:.1f} MB")
    for name, seconds in phases:
        print(f"      {name:52} {seconds:7.2f} s")
    print(f"  native cp + zip -9:   {copy + zip_time:8.2f} s (cp {copy:.2f} s, zip {zip_time:.2f} s), "
          f"archive {native_size:,} bytes")
    print(f"  time ratio {total / (copy + zip_time):.3f}, size ratio {size / native_size:.4f}")
    sys.stdout.flush()
    return total, copy + zip_time


def wine_path(path):
    return "Z:" + path.replace("/", "\\")


def writer_against_zlib(folder, label):
    """ZipAdd (zip_bench.exe) against raw zlib level 9 (zlib_bench.exe) on the same folder,
    the least of three runs each (the machines are shared)."""
    times = {}
    for program in ["zlib_bench", "zip_bench"] * 3:
        out = subprocess.run(["wine", os.path.join(bin_dir, program + ".exe"), wine_path(folder),
                              wine_path(os.path.join(work, program + ".out"))],
                             stdin=subprocess.DEVNULL, capture_output=True, text=True, check=True)
        times[program] = min(times.get(program, 1e9), float(out.stdout.strip()))
    megabytes = sum(os.path.getsize(os.path.join(d, f)) for d, _, fs in os.walk(folder) for f in fs) / MB
    print(f"  {label} ({megabytes:.0f} MB): zip writer {times['zip_bench']:.2f} s, raw zlib level 9 "
          f"{times['zlib_bench']:.2f} s, ratio {times['zip_bench'] / times['zlib_bench']:.3f}")


if mode == "sizes":
    sizes = sorted(int(size) for size in sys.argv[4:])
    results = []
    for size in sizes:
        fill_logs(size)
        results.append(measure(f"log data {size} MB (half text-like, half barely compressible)"))
    if len(sizes) > 1:
        (t1, n1), (t2, n2) = results[0], results[-1]
        print(f"per-megabyte ratio {sizes[0]} -> {sizes[-1]} MB: mpdiag {t2 - t1:.2f} s against the floor's "
              f"{n2 - n1:.2f} s: {(t2 - t1) / (n2 - n1):.3f}")
    print("zip writer alone, under Wine:")
    writer_against_zlib(os.path.join(windows, on_disk("debug"), "Bench"), "barely compressible data")
    writer_against_zlib(os.path.join(windows, on_disk("Logs"), "Bench"), "text-like logs")
else:
    count = int(sys.argv[4])
    fill_many(count)
    measure(f"{count:,} small files in nested folders")
