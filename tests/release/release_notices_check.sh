#!/usr/bin/env bash
# Checks THIRD-PARTY-NOTICES.txt of the package that release_check.sh built against the link
# that made its executable: every file that put a section into mpdiag.exe is the project's own
# or has its component's section, version and copyright text. Then feeds the notices writer
# doctored link maps: a linked file of an unknown origin stops it, and one of another Debian
# package brings that package's section.
#   release_notices_check.sh SOURCE_DIR WORK_DIR
set -euo pipefail
top=$1 work=$2
build=$work/build-a
package=$(ls "$work"/out-a/mpdiag-*-win-x64.zip)
wxprefix=$(sed -n 's/^WX_PREFIX:PATH=//p' "$build/CMakeCache.txt")
scratch=$work/notices && rm -rf "$scratch" && mkdir -p "$scratch"

python3 - "$package" "$build/mpdiag.map" "$build" "$wxprefix" <<'PY'
import os, re, subprocess, sys, zipfile
package, map_path, build, wxprefix = sys.argv[1:]
notices = zipfile.ZipFile(package).read("THIRD-PARTY-NOTICES.txt").decode().replace("\r\n", "\n")
link_dir = os.path.join(build, "app")

# The memory map names, for each input section placed in the executable, the file it came from:
# "path/lib.a(member)" or "path/file.o". Read from there, apart from the writer's own reading of
# the map's list of archive members and loaded files.
layout = open(map_path).read().split("\nLinker script and memory map\n", 1)[1]
linked = set()
for line in layout.splitlines():
    # " .section address size file", the section name on a line of its own when long.
    found = re.match(r"^(?: \S+)?\s+0x[0-9a-f]+\s+0x[0-9a-f]+ (\S.*?)(\([^()]*\))?$", line)
    # Statements of the linker script ("LONG 0x0") and its "dll stuff" name no file.
    if found and os.path.isfile(os.path.join(link_dir, found.group(1))):
        linked.add(os.path.realpath(os.path.join(link_dir, found.group(1))))
assert len(linked) > 10, f"the map shows only {sorted(linked)}"

def owners(paths):
    out = subprocess.run(["dpkg-query", "-S", *paths], capture_output=True, text=True).stdout
    found = dict(reversed(line.split(": ", 1)) for line in out.splitlines())
    return {p: found.get(p) for p in paths}

def files_listed_after(heading):
    assert "\n" + heading + "\n" in notices, f"no line \"{heading}\" in the notices"
    start = notices.index("\n" + heading + "\n") + len(heading) + 2
    listed = []
    for line in notices[start:].splitlines():
        if not line.startswith("    "):
            break
        listed += [n for n in re.split(r",\s*", line.strip()) if n]
    return listed

def assert_holds(text, what):
    assert text.rstrip("\n") + "\n" in notices, f"{what}: its copyright text is missing"

own = [f for f in linked if f.startswith(os.path.realpath(build) + "/")]
wx = [f for f in linked if f.startswith(os.path.realpath(wxprefix) + "/")]
packages = {}
for f, name in sorted(owners(sorted(linked - set(own) - set(wx))).items()):
    packages.setdefault(name, []).append(os.path.basename(f))
assert None not in packages, f"linked files of no Debian package: {packages.get(None)}"
assert own and wx, f"own files {own}, wxWidgets files {wx}"

for name, files in sorted(packages.items()):
    version = subprocess.run(["dpkg-query", "-W", "-f=${Version}", name],
                             capture_output=True, text=True, check=True).stdout
    listed = files_listed_after(f"Linked from {name} {version}:")
    missing = sorted(set(files) - set(listed))
    assert not missing, f"{name} {version}: linked {missing}, the notices list {listed}"
    assert_holds(open(f"/usr/share/doc/{name}/copyright", encoding="utf-8", errors="replace").read(), name)
    print(f"{name} {version}: {', '.join(sorted(set(files)))}")

wx_version = open(os.path.join(wxprefix, "debian", "version")).read().strip()
assert f"\nwxwidgets3.2 {wx_version}\n" in notices, f"no section of wxwidgets3.2 {wx_version}"
wx_linked = re.search(r"Linked from the wxWidgets [^:]*:\n((?:    .*\n)+)", notices).group(1)
for f in wx:
    assert os.path.basename(f) in wx_linked, f"{f} missing from {wx_linked!r}"
assert_holds(open(os.path.join(wxprefix, "debian", "copyright"), encoding="utf-8").read(), "wxwidgets3.2")
print(f"wxwidgets3.2 {wx_version}: {', '.join(sorted(os.path.basename(f) for f in wx))}")

# The components every build of mpdiag.exe links, so that a map read as empty cannot pass.
for name in ("g++-mingw-w64-x86-64-posix", "gcc-mingw-w64-x86-64-posix", "mingw-w64-x86-64-dev",
             "libz-mingw-w64-dev"):
    assert name in packages, f"{name} is not among the linked packages {sorted(packages)}"

for cited in sorted(set(re.findall(r"/usr/share/common-licenses/([A-Za-z0-9.+-]*[A-Za-z0-9])", notices))):
    path = os.path.realpath("/usr/share/common-licenses/" + cited)
    if os.path.isfile(path):
        assert f"Licence text {path}\n" in notices, f"cited licence {cited} has no text"
        assert_holds(open(path, encoding="utf-8", errors="replace").read(), path)
PY

# Doctored maps: one more archive member taken, or one more object loaded.
write_notices() { python3 "$top/packaging/third_party_notices.py" "$1" "$build/app" "$build" "$wxprefix"; }
expect_line() { grep -qxF -- "$1" "$2" || { echo "FAIL: no line \"$1\" in $2" >&2; exit 1; }; }
touch "$scratch/libunknown.a"
sed "0,/^\$/s||$scratch/libunknown.a(unknown.o)\n                              main.cpp.obj (unknown)\n|" \
    "$build/mpdiag.map" >"$scratch/unknown.map"
expect_line "$scratch/libunknown.a(unknown.o)" "$scratch/unknown.map"
if write_notices "$scratch/unknown.map" >"$scratch/unknown.txt" 2>"$scratch/unknown.err"; then
    echo "FAIL: a linked file of unknown origin gave notices without it" >&2
    exit 1
fi
expect_line "  $scratch/libunknown.a" "$scratch/unknown.err"

# A file of the googletest package, as if the test framework were linked into the executable.
extra=/usr/src/googletest/googletest/src/gtest-all.cc
sed "s|^LOAD CMakeFiles/mpdiag.dir/objects.a\$|LOAD $extra\n&|" "$build/mpdiag.map" >"$scratch/extra.map"
write_notices "$scratch/extra.map" >"$scratch/extra.txt"
version=$(dpkg-query -W -f='${Version}' googletest)
expect_line "Linked from googletest $version:" "$scratch/extra.txt"
expect_line "    gtest-all.cc" "$scratch/extra.txt"
python3 -c 'import sys; assert open(sys.argv[1]).read().rstrip("\n") in open(sys.argv[2]).read(), "no copyright text"' \
    /usr/share/doc/googletest/copyright "$scratch/extra.txt"
echo "notices follow the link: an unknown file stops the release, googletest $version gets its section"
