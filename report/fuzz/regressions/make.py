"""Writes the regression corpus: inputs that made the reader crash or stall, each named for what
it is (README.md says how each one failed). The archives are shapes of bench/hostile_shapes.py;
the files of the logs and systeminfo targets are the same hostile files on their own. Made, the
same bytes on every run; nothing here comes from a real machine.

    make.py     (re)writes archive/, logs/ and systeminfo/ beside this script
"""
import os
import sys

here = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(here, "..", "..", "..", "bench"))
import hostile_shapes as shapes  # noqa: E402

ARCHIVES = {
    "setup-logs-with-a-line-of-30000-characters.zip": "setup-logs-long-line",
    "product-logs-with-lines-of-30000-digits.zip": "product-logs-long-line",
    "diag-log-with-a-path-of-30000-characters.zip": "diag-log-long-line",
    "systeminfo-with-an-os-version-of-30000-characters.zip": "systeminfo-long-os-version",
    "reg-export-with-a-million-continuation-lines.zip": "reg-million-continuation-lines",
    "one-entry-of-64-MiB-of-empty-lines.zip": "one-entry-64mib-empty-lines",
}
FILES = {
    "logs/setup-error-line-of-30000-characters.log": ("setup-logs-long-line", "setupact.log"),
    "logs/product-line-with-a-stamp-of-30000-digits.log": ("product-logs-long-line", "mpb.log"),
    "systeminfo/os-version-of-30000-characters.log": ("systeminfo-long-os-version", "systeminfo.log"),
}


def main():
    os.makedirs(os.path.join(here, "archive"), exist_ok=True)
    for name, shape in ARCHIVES.items():
        shapes.write(os.path.join(here, "archive", name), shapes.entries(shape))
    for name, (shape, entry) in FILES.items():
        os.makedirs(os.path.join(here, os.path.dirname(name)), exist_ok=True)
        with open(os.path.join(here, name), "wb") as out:
            out.write(shapes.SHAPES[shape][entry])


if __name__ == "__main__":
    main()
