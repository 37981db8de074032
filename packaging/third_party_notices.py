#!/usr/bin/env python3
"""Writes THIRD-PARTY-NOTICES.txt for mpdiag.exe from the linker's map of the link that made it.

Every input file that the link took (an object, or an archive a member was taken from) is either
the project's own (inside the build folder), part of the cross-built wxWidgets base library, or
owned by an installed Debian package. Each Debian source package gets one section: the binary
packages and files linked from it, with their versions, and the package's copyright file. A
linked file that is none of these stops the release, so that no dependency ships without its
notice. Licence texts that the copyright files cite from /usr/share/common-licenses follow at
the end, since a Windows reader cannot look there.

    third_party_notices.py LINK_MAP LINK_DIR BUILD_DIR WX_PREFIX

LINK_DIR is the folder the link ran in (relative paths of the map start there). WX_PREFIX holds
the library and, in debian/, the copyright file and the version of the source package it was
built from.
"""
import os
import re
import subprocess
import sys
import textwrap

RULE = "=" * 80
COMMON_LICENSES = "/usr/share/common-licenses"
WX_SOURCE = "wxwidgets3.2"


def linked_files(map_text, link_dir):
    """The input files the link took: archives that gave a member, and objects loaded whole."""
    included, _, rest = map_text.partition("\nDiscarded input sections")
    files = set()
    # "Archive member included to satisfy reference by file (symbol)": one "archive(member)"
    # line at the left margin for each member taken.
    for line in included.splitlines()[1:]:
        member = re.match(r"^(\S.*)\([^()]*\)$", line)
        if member:
            files.add(member.group(1))
    for load in re.findall(r"^LOAD (.+)$", rest, re.M):
        # Archives only count through their members; "LOAD dll stuff" and the like are the
        # linker's own.
        if not load.endswith(".a") and ("/" in load or os.path.isfile(os.path.join(link_dir, load))):
            files.add(load)
    return sorted({os.path.normpath(os.path.join(link_dir, f)) for f in files})


def inside(path, folder):
    return os.path.commonpath([os.path.realpath(path), os.path.realpath(folder)]) == os.path.realpath(folder)


def owners(paths):
    """{path: the Debian binary package that installed it, or None}, in one look-up per form of
    the paths (as written, then with symbolic links resolved)."""
    found = {}
    for form in (lambda p: p, os.path.realpath):
        wanted = {form(p): p for p in paths if p not in found}
        if not wanted:
            break
        out = subprocess.run(["dpkg-query", "-S", *wanted], capture_output=True, text=True).stdout
        for line in out.splitlines():
            packages, _, path = line.partition(": ")
            if path in wanted and not line.startswith("diversion by "):
                found[wanted[path]] = packages.split(", ")[0].split(":")[0]
    return {p: found.get(p) for p in paths}


def package_record(package):
    fields = ["${Version}", "${source:Package}", "${source:Version}"]
    out = subprocess.run(["dpkg-query", "-W", "-f=" + "\t".join(fields), package],
                         capture_output=True, text=True, check=True).stdout
    return dict(zip(["version", "source", "source_version"], out.split("\t")))


def read_text(path):
    with open(path, encoding="utf-8", errors="replace") as f:
        return f.read().rstrip("\n") + "\n"


def wx_section(wx_prefix, archives):
    debian = os.path.join(wx_prefix, "debian")
    try:
        version = read_text(os.path.join(debian, "version")).strip()
        copyright_text = read_text(os.path.join(debian, "copyright"))
    except OSError as e:
        sys.exit(f"third_party_notices: no copyright file of {WX_SOURCE} beside the library ({e})")
    header = read_text(os.path.join(wx_prefix, "include", "wx", "version.h"))
    numbers = [re.search(rf"#define {name}\s+(\d+)", header).group(1)
               for name in ("wxMAJOR_VERSION", "wxMINOR_VERSION", "wxRELEASE_NUMBER")]
    upstream = ".".join(numbers)
    if not re.match(rf"^(\d+:)?{re.escape(upstream)}([+~-]|$)", version):
        sys.exit(f"third_party_notices: the library is wxWidgets {upstream}, "
                 f"but its notice is of {WX_SOURCE} {version}")
    return {
        "title": f"{WX_SOURCE} {version}",
        "about": [f"Source: Debian source package {WX_SOURCE}, version {version}"]
                 + linked_lines(f"the wxWidgets {upstream} base library, cross-built for this release "
                                "from that source without Debian's patches", archives),
        "texts": [copyright_text],
    }


def linked_lines(origin, paths):
    """"Linked from ORIGIN:", then the names of the files taken from it."""
    wrap = dict(width=80, subsequent_indent="    ", break_on_hyphens=False, break_long_words=False)
    names = ", ".join(sorted(os.path.basename(p) for p in paths))
    return textwrap.wrap(f"Linked from {origin}:", **wrap) + textwrap.wrap(names, initial_indent="    ", **wrap)


def debian_sections(packages):
    """One section per Debian source package of the files, given as {file: binary package}."""
    by_package = {}
    for path, package in packages.items():
        by_package.setdefault(package, []).append(path)
    sources = {}
    for package in sorted(by_package):
        record = package_record(package)
        source = sources.setdefault(record["source"], {
            "title": f"{record['source']} {record['source_version']}",
            "about": [f"Source: Debian source package {record['source']}, version {record['source_version']}"],
            "texts": []})
        source["about"] += linked_lines(f"{package} {record['version']}", by_package[package])
        try:
            text = read_text(os.path.join("/usr/share/doc", package, "copyright"))
        except OSError as e:
            sys.exit(f"third_party_notices: no copyright file of {package} ({e})")
        if text not in source["texts"]:
            source["texts"].append(text)
    return list(sources.values())


def cited_licences(texts):
    """The common licence files the texts cite, as {file: [cited names]}."""
    cited = {}
    for text in texts:
        for name in re.findall(re.escape(COMMON_LICENSES) + r"/([A-Za-z0-9][A-Za-z0-9.+-]*[A-Za-z0-9])", text):
            path = os.path.join(COMMON_LICENSES, name)
            if os.path.isfile(path):
                names = cited.setdefault(os.path.realpath(path), [])
                if path not in names:
                    names.append(path)
    return cited


def render(sections):
    out = ["Third-party notices for mpdiag.exe",
           "",
           "mpdiag.exe is one statically linked program. Besides its own code it holds parts of the",
           "components below, each built by Debian or, for wxWidgets, from Debian's source package.",
           "Each section names the component's Debian source package and version, the library files",
           "the link took from it, and the package's copyright file with its licence terms. Licence",
           f"texts that those files cite from {COMMON_LICENSES} follow at the end.",
           ""]
    for section in sections:
        out += [RULE, section["title"], RULE] + section["about"] + [""]
        for text in section["texts"]:
            out += [text]
    cited = cited_licences([t for s in sections for t in s["texts"]])
    for path in sorted(cited):
        out += [RULE, "Licence text " + path, RULE]
        aliases = [name for name in cited[path] if name != path]
        if aliases:
            out += ["(cited also as " + ", ".join(aliases) + ")"]
        out += ["", read_text(path)]
    return "\n".join(out)


def main(map_path, link_dir, build_dir, wx_prefix):
    files = linked_files(read_text(map_path), link_dir)
    ours = [f for f in files if inside(f, build_dir)]
    wx = [f for f in files if f not in ours and inside(f, wx_prefix)]
    others = [f for f in files if f not in ours and f not in wx]
    if not ours or not wx:
        sys.exit(f"third_party_notices: {map_path} shows no link of mpdiag.exe with wxWidgets")
    packages = owners(others)
    unowned = [f for f in others if packages[f] is None]
    if unowned:
        sys.exit("third_party_notices: linked files of no Debian package and no known component:\n  "
                 + "\n  ".join(unowned))
    sections = [wx_section(wx_prefix, wx)] + debian_sections(packages)
    sys.stdout.write(render(sorted(sections, key=lambda s: s["title"])))


if __name__ == "__main__":
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    main(*sys.argv[1:])
