"""Faults and scale: the real mpdiag.exe on the sample machine, one scenario at a time.

    e2e_faults.py BUILD_DIR MACHINE_DIR setup       make the sample machine, keep its wineserver
    e2e_faults.py BUILD_DIR MACHINE_DIR SCENARIO    run one scenario on it (the functions below)
    e2e_faults.py BUILD_DIR MACHINE_DIR teardown    end the machine's wineserver

Each scenario checks what an administrator gets: exit status 0, nothing printed, mpdiag.zip beside
the executable with every entry's CRC valid (where an archive can be made at all), no working
folder left in the temporary folder, nothing else left beside the executable, and the record that
mpdiag.log keeps of the fault. Each scenario gets a tool folder of its own and undoes what it did
to the machine. The mounts need root.
"""
import contextlib
import os
import re
import shutil
import subprocess
import sys
import time
import zipfile

build, machine, scenario = sys.argv[1:4]
here = os.path.dirname(os.path.abspath(__file__))
prefix = os.path.join(machine, "prefix")
WINE_ENV = dict(os.environ, WINEPREFIX=prefix, WINEDEBUG="-all", WINEDLLOVERRIDES="mscoree,mshtml=")
RECORD = re.compile(r"^\d\d:\d\d:\d\d( !!! | ! | - |   )")


def on_disk(base, relative):
    """The host path of `relative` below `base`, matching existing names without regard to case
    as Windows does (Wine keeps its own folders in lower case)."""
    path = base
    for part in relative.replace("\\", "/").split("/"):
        found = [n for n in os.listdir(path) if n.lower() == part.lower()] if os.path.isdir(path) else []
        path = os.path.join(path, found[0] if found else part)
    return path


drive_c = os.path.join(prefix, "drive_c")
windows = on_disk(drive_c, "windows")
system32 = on_disk(windows, "system32")
logs = on_disk(windows, "Logs")


def win(host_path):
    """A host path as Wine's programs see it."""
    host_path = os.path.abspath(host_path)
    if host_path.startswith(drive_c + os.sep):
        return "C:\\" + os.path.relpath(host_path, drive_c).replace("/", "\\")
    return "Z:" + host_path.replace("/", "\\")


def temp_folder():
    users = os.path.join(drive_c, "users")
    return next(os.path.join(d, n) for d, ns, _ in os.walk(users) for n in ns if n.lower() == "temp")


def leftovers(folder):
    return sorted(n for n in os.listdir(folder) if n.lower().startswith("mpdiag")) if os.path.isdir(folder) else []


def wine(*args, **kwargs):
    return subprocess.run(["wine", *args], env=kwargs.pop("env", WINE_ENV), stdin=subprocess.DEVNULL,
                          capture_output=True, **kwargs)


class Failures:
    def __init__(self):
        self.items, self.count = [], 0

    def check(self, condition, what):
        self.count += 1
        if not condition:
            self.items.append(what)
        return condition

    def done(self):
        for item in self.items:
            print("FAIL:", item)
        print(f"{scenario}: {self.count - len(self.items)} passed, {len(self.items)} failed")
        sys.exit(1 if self.items else 0)


checks = Failures()
check = checks.check


def expect_quiet_end(code, printed):
    """What every run must give, whether it can write its archive or not."""
    check(code == 0, f"exit status 0 (got {code})")
    check(printed == b"", f"nothing printed (got {printed[:300]!r})")


class Tool:
    """mpdiag.exe in a folder of its own, with the archive it leaves there."""

    def __init__(self, name, folder=None):
        """A fresh folder for `name`; or `folder`, made by the caller with mpdiag.exe in it."""
        self.folder = folder or os.path.join(machine, "tools", name)
        if not folder:
            shutil.rmtree(self.folder, ignore_errors=True)
            os.makedirs(self.folder)
            shutil.copy(os.path.join(build, "mpdiag.exe"), self.folder)
        self.zip = os.path.join(self.folder, "mpdiag.zip")

    def run(self, *args, temp=None, cwd=None, env=None, timeout=1800):
        """Runs the tool to its end; `temp` (a Windows path) becomes its TEMP and TMP. Returns the
        exit status and everything it printed."""
        exe = win(os.path.join(self.folder, "mpdiag.exe"))
        if temp:
            # Wine sets TEMP from the registry over the caller's environment; the shell sets it last.
            # Wine's shell takes no quoted program after "&&", so the path must hold no space.
            assert " " not in exe, exe
            command = ["cmd", "/c", f"set TEMP={temp}&& set TMP={temp}&& {' '.join([exe, *args])}"]
        else:
            command = [exe, *args]
        started = time.monotonic()
        done = wine(*command, cwd=cwd or self.folder, env=env or WINE_ENV, timeout=timeout)
        print(f"run took {time.monotonic() - started:.1f} s")
        return done.returncode, done.stdout + done.stderr

    def archive(self):
        return zipfile.ZipFile(self.zip)

    def log(self):
        """The records of the archived mpdiag.log, without their time."""
        text = self.archive().read("mpdiag.log").decode("utf-8")
        return [line[8:] for line in text.split("\r\n") if line]

    def expect_clean_run(self, code, printed, extra=(), left_before=()):
        """What every run that can write its archive must give; `left_before` are working folders that
        an earlier, ended run left."""
        expect_quiet_end(code, printed)
        left = sorted(set(leftovers(temp_folder())) - set(left_before))
        check(not left, f"no working folder left (found {left})")
        names = sorted(os.listdir(self.folder))
        check(names == sorted(["mpdiag.exe", "mpdiag.zip", *extra]), f"nothing else beside the tool ({names})")
        if check(os.path.isfile(self.zip), "mpdiag.zip written"):
            with self.archive() as z:
                bad = z.testzip()
                check(bad is None, f"every entry's CRC is valid (bad: {bad})")


@contextlib.contextmanager
def files_below(folder, files):
    """Files made below a collected folder for one scenario; `files` maps relative names to bytes."""
    os.makedirs(folder, exist_ok=True)
    try:
        for relative, data in files.items():
            path = os.path.join(folder, relative)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "wb") as f:
                f.write(data)
        yield folder
    finally:
        shutil.rmtree(folder, ignore_errors=True)


@contextlib.contextmanager
def tmpfs(folder, size, read_only=False, fill=None):
    """A small file system of its own at `folder`, filled by `fill(folder)`, then read-only if asked."""
    os.makedirs(folder, exist_ok=True)
    subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={size}", "tmpfs", folder], check=True)
    try:
        if fill:
            fill(folder)
        if read_only:
            subprocess.run(["mount", "-o", "remount,ro", folder], check=True)
        yield folder
    finally:
        subprocess.run(["umount", "-l", folder], check=False)
        shutil.rmtree(folder, ignore_errors=True)


# ---- the scenarios ---------------------------------------------------------------------------

SCENARIOS = {}


def scenario_(function):
    SCENARIOS[function.__name__] = function
    return function


# Windows takes these from the system folder whatever lies beside an executable (its KnownDLLs,
# kernel32 and the C runtime among them); Wine keeps no such list and would take any of them from
# the executable's folder if told to prefer native libraries, which Windows never does. Every other
# library the tool imports or loads at run time, or that a system library may load for it, is
# planted with a native-first override, which is how Windows treats it.
PLANTED = ["version", "cfgmgr32", "vssapi", "ucrtbase", "win32u", "dbghelp", "userenv", "wtsapi32", "secur32",
           "uxtheme", "profapi"]


@scenario_
def planted_dlls():
    tool = Tool("planted_dlls")
    for name in PLANTED:
        shutil.copy(os.path.join(build, "planted", "marker.dll"), os.path.join(tool.folder, name + ".dll"))
    env = dict(WINE_ENV, WINEDLLOVERRIDES="mscoree,mshtml=;" + ",".join(PLANTED) + "=n,b")
    code, printed = tool.run(env=env)
    markers = [n for n in os.listdir(tool.folder) if n.endswith(".marker")]
    check(not markers, f"no planted library was loaded (markers: {markers})")
    tool.expect_clean_run(code, printed, extra=[n + ".dll" for n in PLANTED])
    if os.path.isfile(tool.zip):
        devices = tool.archive().read("devices.txt")
        check(devices.startswith(b"Device 0:\r\n"), "the configuration manager came from the system folder")


@scenario_
def many_files():
    count = 100_000
    files = {f"d{i // 1000:02}/s{i // 100 % 10}/f{i:06}.log": b"%d\r\n" % i for i in range(count)}
    with files_below(os.path.join(logs, "Many"), files):
        tool = Tool("many_files")
        code, printed = tool.run()
        tool.expect_clean_run(code, printed)
        with tool.archive() as z:
            names = {n.lower() for n in z.namelist()}
        missing = [n for n in files if f"logs/many/{n}" not in names]
        check(not missing, f"every file in the archive ({len(missing)} missing, e.g. {missing[:3]})")


LONG = "L" * 120
NAMES = {
    f"Long/{LONG}/{LONG}/{'M' * 40}/beyond-the-limit.log": b"long path\r\n",
    "/".join(["N" * 60] * 6) + "/nested-past-the-limit.log": b"nested\r\n",
    "\u041a\u0438\u0440\u0438\u043b\u043b\u0438\u0446\u0430/\u0444\u0430\u0439\u043b.log": b"cyrillic\r\n",
    "\u6f22\u5b57/\u30d5\u30a1\u30a4\u30eb.log": b"cjk\r\n",
    "emoji-\U0001F600.log": b"emoji\r\n",
}


@scenario_
def long_and_foreign_names():
    with files_below(os.path.join(logs, "Names"), {k: v for k, v in NAMES.items()}):
        check(len(win(os.path.join(logs, "Names", next(iter(NAMES))))) > 260, "a path past 260 characters")
        tool = Tool("long_and_foreign_names")
        code, printed = tool.run()
        tool.expect_clean_run(code, printed)
        with tool.archive() as z:
            infos = {i.filename.lower(): i for i in z.infolist()}
            for relative, data in NAMES.items():
                info = infos.get(f"logs/names/{relative}".lower())
                if check(info is not None, f"archive holds {relative}"):
                    check(z.read(info) == data, f"{relative} intact")
                    if not relative.isascii():
                        check(info.flag_bits & 0x800, f"{relative} carries the UTF-8 flag")


@scenario_
def unreadable_and_locked_files():
    with files_below(os.path.join(logs, "Faults"), {"held.log": b"held\r\n", "fine.log": b"fine\r\n"}) as folder:
        # Reads of this one fail with an I/O error, as on a bad sector: offset 0 of a process's
        # memory is never mapped.
        os.symlink("/proc/self/mem", os.path.join(folder, "bad.log"))
        holder = subprocess.Popen(["wine", os.path.join(build, "hold_file.exe"), win(os.path.join(folder, "held.log"))],
                                  env=WINE_ENV, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        try:
            check(holder.stdout.readline().strip() == b"held", "a program holds held.log without sharing")
            tool = Tool("unreadable_and_locked_files")
            code, printed = tool.run()
        finally:
            holder.stdin.close()
            holder.wait(timeout=60)
        tool.expect_clean_run(code, printed)
        with tool.archive() as z:
            entries = {n.lower(): n for n in z.namelist()}
            check("logs/faults/fine.log" in entries, "the readable file of that folder is collected")
            check("logs/cbs/cbs.log" in entries, "the rest of the archive is intact")
            log = tool.log()

            def not_copied(name):
                return any(re.fullmatch(rf" - Item not copied: \\logs\\faults\\{name}", r, re.I) for r in log)

            check("logs/faults/held.log" not in entries and not_copied("held.log"),
                  'the held file is left out, with "Item not copied" in mpdiag.log')
            # Windows' copy fails on the read error; Wine's reports success with an empty copy.
            bad = entries.get("logs/faults/bad.log")
            check(not_copied("bad.log") if bad is None else z.read(bad) == b"",
                  'the unreadable file is left out with "Item not copied", or is empty')


OLD_ARCHIVE = b"an archive of an earlier run"


@scenario_
def read_only_tool_folder():
    def fill(folder):
        shutil.copy(os.path.join(build, "mpdiag.exe"), folder)
        with open(os.path.join(folder, "mpdiag.zip"), "wb") as f:
            f.write(OLD_ARCHIVE)

    with tmpfs(os.path.join(machine, "tools", "read_only_tool_folder"), "16m", read_only=True, fill=fill) as folder:
        tool = Tool("read_only_tool_folder", folder)
        code, printed = tool.run()
        expect_quiet_end(code, printed)
        check(open(tool.zip, "rb").read() == OLD_ARCHIVE, "the old archive stays as it was: nothing can be written")
        check(not leftovers(temp_folder()), "no working folder left")


@scenario_
def read_only_old_archive():
    tool = Tool("read_only_old_archive")
    with open(tool.zip, "wb") as f:
        f.write(OLD_ARCHIVE)
    os.chmod(tool.zip, 0o444)  # Wine shows a file without write permission as read-only
    shown = wine("cmd", "/c", "attrib", win(tool.zip)).stdout
    check(b"R" in shown.split(b":")[0], f"the old archive is read-only ({shown!r})")
    code, printed = tool.run()
    tool.expect_clean_run(code, printed)
    check(open(tool.zip, "rb").read() != OLD_ARCHIVE, "the old archive was replaced")


@scenario_
def folder_named_like_the_archive():
    tool = Tool("folder_named_like_the_archive")
    os.makedirs(tool.zip)
    with open(os.path.join(tool.zip, "inside.txt"), "wb") as f:
        f.write(b"kept")
    code, printed = tool.run()
    expect_quiet_end(code, printed)
    check(os.listdir(tool.zip) == ["inside.txt"], "the folder and what it holds stay untouched")
    check(not leftovers(temp_folder()), "no working folder left")


@scenario_
def temporary_folder_too_small():
    big = bytes(range(256)) * (30 * 4096)  # 30 MiB of log, more than the temporary folder holds
    with files_below(os.path.join(logs, "Big"), {"big.log": big}), \
            tmpfs(os.path.join(drive_c, "smalltemp"), "20m") as small:
        tool = Tool("temporary_folder_too_small")
        code, printed = tool.run(temp="C:\\smalltemp")
        check(not leftovers(small), f"no working folder left in the small folder ({leftovers(small)})")
        check(os.listdir(small) == [], f"the small folder is empty again ({os.listdir(small)})")
        tool.expect_clean_run(code, printed)
        with tool.archive() as z:
            check(len(z.read(next(n for n in z.namelist() if n.lower() == "logs/big/big.log"))) < len(big),
                  "the log that did not fit is cut")
            check(z.read("mpdiag.log") == b"", "mpdiag.log is empty: the full folder took its records too")


@scenario_
def temporary_folder_missing():
    """TEMP names a folder that does not exist: the working folder is made with its missing parents."""
    tool = Tool("temporary_folder_missing")
    missing = os.path.join(drive_c, "no-such-temp")
    shutil.rmtree(missing, ignore_errors=True)
    try:
        code, printed = tool.run(temp="C:\\no-such-temp\\sub")
        tool.expect_clean_run(code, printed)
        check(os.listdir(missing) == ["sub"] and os.listdir(os.path.join(missing, "sub")) == [],
              "the made temporary folder stays, empty")
        check("mp.log" in tool.archive().namelist(), "the collection ran")
    finally:
        shutil.rmtree(missing, ignore_errors=True)


@scenario_
def temporary_folder_unusable():
    """TEMP on a drive that does not exist: no working folder, so nothing can be collected."""
    tool = Tool("temporary_folder_unusable")
    with open(tool.zip, "wb") as f:
        f.write(OLD_ARCHIVE)
    current = os.path.join(machine, "tools", "temporary_folder_unusable-cwd")
    shutil.rmtree(current, ignore_errors=True)
    os.makedirs(current)
    code, printed = tool.run(temp="Q:\\Temp", cwd=current)
    expect_quiet_end(code, printed)
    check(os.listdir(tool.folder) == ["mpdiag.exe"], "the old archive is already deleted, and no new one is made")
    stray = os.path.join(current, "mpdiag.log")
    if check(os.listdir(current) == ["mpdiag.log"], "a stray mpdiag.log in the current folder"):
        text = open(stray, "rb").read().decode("utf-8")
        check(re.fullmatch(r"\d\d:\d\d:\d\d ! Error: !src->IsOk\(\) \|\| !dest->IsOk\(\)\n\r\n", text) is not None,
              f"it holds the copiers' error ({text!r})")


@scenario_
def folder_link_loop():
    with files_below(os.path.join(logs, "Loop"), {"a.log": b"a\r\n"}) as folder:
        os.symlink(".", os.path.join(folder, "again"))
        tool = Tool("folder_link_loop")
        code, printed = tool.run()
        tool.expect_clean_run(code, printed)
        names = [n.lower() for n in tool.archive().namelist() if n.lower().startswith("logs/loop/")]
        depth = max(n.count("again/") for n in names)
        check("logs/loop/a.log" in names and depth >= 1, f"the loop is followed as far as the system goes ({depth})")
        check(any(r.startswith(" - FIND failed (") for r in tool.log()), "where it stops is in mpdiag.log")


@scenario_
def killed_while_zipping_then_run_again():
    big = os.urandom(1 << 20) * 200
    with files_below(os.path.join(logs, "Kill"), {"big.bin": big}):
        tool = Tool("killed_while_zipping_then_run_again")
        before = set(leftovers(temp_folder()))
        run = subprocess.Popen(["wine", win(os.path.join(tool.folder, "mpdiag.exe"))], cwd=tool.folder, env=WINE_ENV,
                               stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        deadline = time.monotonic() + 600
        while time.monotonic() < deadline and run.poll() is None and not (
                os.path.exists(tool.zip) and os.path.getsize(tool.zip) > (8 << 20)):
            time.sleep(0.05)
        zipping = check(run.poll() is None, "the first run was still zipping when it was ended")
        wine("taskkill", "/f", "/im", "mpdiag.exe")
        run.wait(timeout=120)
        left = sorted(set(leftovers(temp_folder())) - before)
        check(len(left) == 1 or not zipping, f"the ended run leaves its working folder ({left})")
        code, printed = tool.run()
        tool.expect_clean_run(code, printed, left_before=left)
        with tool.archive() as z:
            check(z.read(next(n for n in z.namelist() if n.lower() == "logs/kill/big.bin")) == big,
                  "the second archive holds the big file whole")
        check(sorted(set(leftovers(temp_folder())) - before) == left, "the ended run's folder is still there")
        for name in left:
            shutil.rmtree(os.path.join(temp_folder(), name), ignore_errors=True)


def reg_file(key, name, kind, data):
    """A .reg file setting one value: kind "hex" (binary, `data` bytes), "dword" or "sz"."""
    if kind == "hex":
        pairs = [f"{b:02x}" for b in data]
        value = "hex:" + ",\\\r\n  ".join(",".join(pairs[i:i + 25]) for i in range(0, len(pairs), 25))
    elif kind == "dword":
        value = f"dword:{data:08x}"
    else:
        value = '"' + data + '"'
    return f'Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\{key}]\r\n"{name}"={value}\r\n'


PRODUCT_LOGS = "C:\\ProgramData\\Keldara\\Logs"
KELDARA_ER = "SOFTWARE\\Quorvel\\KeldaraER"


@scenario_
def product_values_of_the_wrong_kind():
    folder = PRODUCT_LOGS.encode("utf-16-le")
    cases = [
        # (key, value, kind, data, whether mpb.log is collected)
        ("SOFTWARE\\MendPoint", "MPVersion", "sz", "2", False),  # not a number: edition 1, other key
        (KELDARA_ER, "LogDir", "hex", b"", False),  # empty: the bare name, found nowhere
        (KELDARA_ER, "LogDir", "hex", folder + b"\0\0" + b"\x41", True),  # odd length: the text still reads
        (KELDARA_ER, "LogDir", "hex", b"\x43\x00" * (1 << 19), False),  # 1 MiB: no such folder can be made
        (KELDARA_ER, "LogDir", "dword", 1, False),  # a number: not a folder name
    ]
    for index, (key, name, kind, data, collected) in enumerate(cases):
        original = os.path.join(machine, "product-keys.reg")
        wine("reg", "export", "HKLM\\" + key, win(original), "/y")
        regfile = os.path.join(machine, "case.reg")
        with open(regfile, "w", encoding="utf-16", newline="") as f:
            f.write(reg_file(key, name, kind, data))
        try:
            wine("reg", "delete", "HKLM\\" + key, "/v", name, "/f")
            check(wine("reg", "import", win(regfile)).returncode == 0, f"case {index}: value set")
            tool = Tool(f"product_values_{index}")
            code, printed = tool.run(timeout=600)
            tool.expect_clean_run(code, printed)
            names = tool.archive().namelist()
            check(("mpb.log" in names) == collected, f"case {index}: mpb.log {'' if collected else 'not '}collected")
        finally:
            wine("reg", "delete", "HKLM\\" + key, "/v", name, "/f")
            wine("reg", "import", win(original))


@scenario_
def child_with_a_quarter_mebibyte_of_output():
    standin = os.path.join(system32, "systeminfo.exe")
    saved = standin + ".saved"
    shutil.move(standin, saved)
    try:
        shutil.copy(os.path.join(build, "loud_child.exe"), standin)
        tool = Tool("child_with_a_quarter_mebibyte_of_output")
        code, printed = tool.run()
        tool.expect_clean_run(code, printed)
        expected = b"".join(b"%d" % n + b"." * (62 - len(b"%d" % n)) + b"\r\r\n" for n in range(4096))
        check(tool.archive().read("systeminfo.log") == expected, "every byte of the output arrives")
    finally:
        shutil.move(saved, standin)


def detached(*command):
    """Runs a Wine start-up command whose background processes must not hold the caller's output."""
    subprocess.run(command, env=WINE_ENV, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL, check=True)


def setup():
    subprocess.run([os.path.join(here, "..", "..", "scripts", "sample-machine.sh"), build, machine], check=True)
    detached("wineserver", "-p")
    detached("wine", "wineboot")


def teardown():
    subprocess.run(["wineserver", "-k"], env=WINE_ENV, stdin=subprocess.DEVNULL, check=False)


if scenario == "setup":
    setup()
elif scenario == "teardown":
    teardown()
else:
    SCENARIOS[scenario]()
    checks.done()
