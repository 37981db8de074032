"""The reader's rooms keep their order: no include climbs from a lower layer to a higher one.

    layers.py REPORT_DIR

Sources: read/ (1) < facts/ (2) < check/ (3) < show/ (4) < the program's main.cpp (5); a file may
include its own room and those below it. Tests: every room may include the sources and the
shared support in fixtures/, never another test room. Exits 1 naming each include that breaks
this. Before it looks at the tree it checks itself on a made tree that breaks both rules.
"""
import os
import re
import sys
import tempfile

SOURCE_RANKS = {"read": 1, "facts": 2, "check": 3, "show": 4}
TOP = 5  # src/main.cpp
SHARED_TEST_ROOM = "fixtures"
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"')


def source_rank(relative):
    """The rank of a path below src/ ("read/text.h"), or TOP for a file at src/ itself."""
    room = relative.split("/")[0] if "/" in relative else None
    return SOURCE_RANKS.get(room, TOP if room is None else None)


def includes(path):
    with open(path, encoding="utf-8", errors="replace") as source:
        for number, line in enumerate(source, 1):
            match = INCLUDE.match(line)
            if match:
                yield number, match.group(1)


def problems(report_dir):
    found = []
    src = os.path.join(report_dir, "src")
    tests = os.path.join(report_dir, "tests")
    test_rooms = {name for name in os.listdir(tests) if os.path.isdir(os.path.join(tests, name))} if os.path.isdir(tests) else set()
    for top, root in (("src", src), ("tests", tests)):
        for folder, _, names in os.walk(root):
            for name in sorted(names):
                if not name.endswith((".h", ".cpp", ".inc")):
                    continue
                path = os.path.join(folder, name)
                relative = os.path.relpath(path, root).replace(os.sep, "/")
                for number, target in includes(path):
                    where = f"{top}/{relative}:{number}: includes \"{target}\""
                    room = target.split("/")[0] if "/" in target else None
                    if top == "src":
                        mine, theirs = source_rank(relative), source_rank(target)
                        if theirs is None:
                            found.append(f"{where}, which is no room of the sources")
                        elif mine is not None and theirs > mine:
                            found.append(f"{where}, a higher layer")
                    else:
                        mine = relative.split("/")[0] if "/" in relative else None
                        if room in test_rooms and room not in (mine, SHARED_TEST_ROOM):
                            found.append(f"{where}, another test room's own file")
                        elif room is None and target != os.path.basename(target):
                            found.append(f"{where}, a path that names no room")
    return found


def self_test():
    """The check must see an upward include and a reach into another test room."""
    with tempfile.TemporaryDirectory() as made:
        files = {
            "src/read/text.h": '#include "check/findings.h"\n',
            "src/check/findings.h": '#include "read/text.h"\n',
            "tests/readers/test_text.cpp": '#include "findings/helpers.h"\n#include "fixtures/support.h"\n',
            "tests/findings/helpers.h": "\n",
            "tests/fixtures/support.h": '#include "check/findings.h"\n',
        }
        for name, text in files.items():
            path = os.path.join(made, name)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "w", encoding="utf-8") as out:
                out.write(text)
        found = problems(made)
        expected = ['src/read/text.h:1: includes "check/findings.h", a higher layer',
                    'tests/readers/test_text.cpp:1: includes "findings/helpers.h", another test room\'s own file']
        if sorted(found) != sorted(expected):
            sys.exit(f"layers.py checks itself and fails: found {found}, expected {expected}")


def main():
    self_test()
    found = problems(sys.argv[1])
    for problem in found:
        print(problem)
    if found:
        sys.exit(1)
    print("layers: every include keeps to its room or a lower one")


if __name__ == "__main__":
    main()
