#!/usr/bin/env bash
# Archives past 4 GiB, checked with Python's zip reader and `unzip -t`. Run by hand (about half an
# hour and up to 15 GB of free space; not part of the tests):
#   scripts/stress.sh [CASE...]    cases: entries, image, bound (default: all three)
#   entries  ZipAdd of two files of 2.4 GB of random data: an archive past 4 GiB made of
#            smaller entries
#   image    an extended run of mpdiag.exe on the sample machine whose recovery image is
#            4,700,000,000 bytes of random data
#   bound    ZipAdd of one file of 4,294,000,000 random bytes: under 4 GiB itself, but more once
#            deflated
# Prints each case's time, sizes and the peak memory of the Wine process, and removes its files.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
cases=("$@")
[ ${#cases[@]} -gt 0 ] || cases=(entries image bound)
"$top/scripts/build.sh" >/dev/null
cmake --build "$top/build" --target zip_bench -j"$(nproc)" >/dev/null
work="$top/build/stress"
rm -rf "$work"
mkdir -p "$work"
export WINEPREFIX="$work/prefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
cleanup() {
    wineserver -k >/dev/null 2>&1 || true
    rm -rf "$work"
}
trap cleanup EXIT
wine_path() { echo 'Z:'"${1//\//\\}"; }

# Refuses to start a case without room for it and a margin of 2 GB.
need_gb() {
    local free_gb
    free_gb=$(df -BG --output=avail "$work" | tail -1 | tr -dc 0-9)
    if [ "$free_gb" -lt $(($1 + 2)) ]; then
        echo "only ${free_gb} GB free below $work, the case needs $1 GB: stopped" >&2
        exit 1
    fi
}

random_file() { head -c "$2" /dev/urandom >"$1"; }

# Runs a command and prints its time and the peak resident memory of its process tree.
measured() {
    python3 - "$@" <<'PY'
import os, subprocess, sys, time
start = time.monotonic()
process = subprocess.Popen(sys.argv[1:], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
_, status, usage = os.wait4(process.pid, 0)
print(f"  run: {time.monotonic() - start:.1f} s, peak memory {usage.ru_maxrss / 1024:.1f} MB, status {status >> 8}")
PY
}

# Python's reader (every CRC, the Zip64 fields of the large entries) and unzip -t.
check() {
    local archive=$1
    shift
    python3 - "$archive" "$@" <<'PY'
import os, struct, sys, time, zipfile
path, expected = sys.argv[1], sys.argv[2:]
start = time.monotonic()
with zipfile.ZipFile(path) as archive:
    infos = archive.infolist()
    names = [info.filename for info in infos]
    missing = [name for name in expected if name not in names]
    bad = archive.testzip()
    with open(path, "rb") as f:
        for info in infos:
            if info.file_size < 1 << 31 and info.compress_size < 1 << 31 and info.header_offset < 1 << 31:
                continue
            f.seek(info.header_offset)
            header = f.read(30)
            version, = struct.unpack("<H", header[4:6])
            name_len, extra_len = struct.unpack("<HH", header[26:30])
            zip64 = f.read(name_len + extra_len)[name_len:name_len + 2] == b"\x01\x00"
            print(f"  {info.filename}: {info.file_size:,} bytes, deflated {info.compress_size:,}, at offset "
                  f"{info.header_offset:,}; local header: version {version}, Zip64 field "
                  f"{'yes' if zip64 else 'no'}")
print(f"  archive: {os.path.getsize(path):,} bytes; Python zipfile: {len(infos)} entries, CRC errors: {bad or 'none'}, missing: {missing or 'none'} "
      f"({time.monotonic() - start:.0f} s)")
sys.exit(1 if bad or missing else 0)
PY
    if unzip -tq "$archive" >/dev/null; then echo "  unzip -t: no errors"; else echo "  unzip -t: FAILED"; exit 1; fi
}

zip_with_zipadd() {
    measured wine "$top/build/zip_bench.exe" "$(wine_path "$work/data")" "$(wine_path "$work/out.zip")"
}

wineboot -i </dev/null >/dev/null 2>&1
for case in "${cases[@]}"; do
    case $case in
    entries)
        echo "entries: two files of 2.4 GB of random data"
        need_gb 10
        mkdir -p "$work/data"
        random_file "$work/data/first.bin" 2400000000
        random_file "$work/data/second.bin" 2400000000
        zip_with_zipadd
        check "$work/out.zip" first.bin second.bin
        ;;
    bound)
        echo "bound: one file of 4,294,000,000 random bytes"
        need_gb 9
        mkdir -p "$work/data"
        random_file "$work/data/just-under.bin" 4294000000
        zip_with_zipadd
        check "$work/out.zip" just-under.bin
        ;;
    image)
        echo "image: mpdiag.exe -x on the sample machine with a recovery image of 4,700,000,000 random bytes"
        need_gb 15
        wine "$top/build/make_sample_machine.exe" "$(wine_path "$top/build")" </dev/null >/dev/null 2>&1
        random_file "$WINEPREFIX/drive_c/Recovery/WindowsRE/WinRE.wim" 4700000000
        mkdir -p "$work/tool"
        cp "$top/build/mpdiag.exe" "$work/tool/"
        measured wine "$work/tool/mpdiag.exe" -x
        check "$work/tool/mpdiag.zip" boot.wim mpdiag.log recovery_path.log devices.txt
        rm -rf "$WINEPREFIX/drive_c/Recovery/WindowsRE/WinRE.wim" "$work/tool"
        ;;
    *)
        echo "unknown case $case" >&2
        exit 2
        ;;
    esac
    rm -rf "$work/data" "$work/out.zip"
done
