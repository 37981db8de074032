#!/usr/bin/env bash
# Builds the release package dist/mpdiag-<version>-win-x64.zip: mpdiag.exe, the administrators'
# text and SHA256SUMS. The same commit gives the same bytes: the executable carries no time
# stamp and the archive's entries carry a fixed date.
#   release.sh [BUILD_DIR [OUT_DIR]]
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$top/build-release}
out=${2:-$top/dist}
"$top/scripts/setup.sh" >/dev/null
cmake -S "$top" -B "$build" -DCMAKE_TOOLCHAIN_FILE="$top/cmake/mingw-w64-x86_64.cmake" \
    -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF >/dev/null
cmake --build "$build" --target mpdiag -j"$(nproc)" >/dev/null
version=$(sed -n 's/^#define MPDIAG_VERSION_TEXT "\(.*\)"$/\1/p' "$build/app/version.h")
mkdir -p "$out"
package="$out/mpdiag-$version-win-x64.zip"
python3 - "$package" "$build/mpdiag.exe" "$top/packaging/ADMINISTRATORS.txt" <<'PY'
import hashlib, os, sys, zipfile
package, files = sys.argv[1], sys.argv[2:]
contents = {os.path.basename(f): open(f, "rb").read() for f in files}
contents["SHA256SUMS"] = "".join(f"{hashlib.sha256(data).hexdigest()}  {name}\n"
                                 for name, data in sorted(contents.items())).encode()
with zipfile.ZipFile(package, "w") as z:
    for name in sorted(contents):
        entry = zipfile.ZipInfo(name, date_time=(1980, 1, 1, 0, 0, 0))
        entry.compress_type = zipfile.ZIP_DEFLATED
        entry.external_attr = 0o644 << 16
        z.writestr(entry, contents[name], compresslevel=9)
PY
echo "$package"
