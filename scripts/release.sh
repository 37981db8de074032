#!/usr/bin/env bash
# Builds the release package dist/mpdiag-<version>-win-x64.zip: mpdiag.exe, the administrators'
# text, THIRD-PARTY-NOTICES.txt and SHA256SUMS. Unsigned, the same commit gives the same bytes:
# the executable carries no time stamp and the archive's entries carry a fixed date.
#   release.sh [BUILD_DIR [OUT_DIR]]
# mpdiag.exe is signed (Authenticode, SHA-256) when the signer's certificate is given:
#   MPDIAG_SIGN_PKCS12         the PKCS#12 file with the certificate and its private key
#   MPDIAG_SIGN_PASSWORD       its password (none when unset)
#   MPDIAG_SIGN_TIMESTAMP_URL  an RFC 3161 time-stamp server, optional
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$top/build-release}
out=${2:-$top/dist}
if [ -z "${MPDIAG_SIGN_PKCS12:-}" ] && [ -n "${MPDIAG_SIGN_PASSWORD:-}${MPDIAG_SIGN_TIMESTAMP_URL:-}" ]; then
    echo "release.sh: MPDIAG_SIGN_PASSWORD or MPDIAG_SIGN_TIMESTAMP_URL is set, MPDIAG_SIGN_PKCS12 is not" >&2
    exit 1
fi
temps=()
trap 'rm -rf "${temps[@]}"' EXIT
stage=$(mktemp -d) && temps+=("$stage")

"$top/scripts/setup.sh" >/dev/null
# The linker's map says which libraries went into the executable: the notices follow from it.
map="$build/mpdiag.map"
cmake -S "$top" -B "$build" -DCMAKE_TOOLCHAIN_FILE="$top/cmake/mingw-w64-x86_64.cmake" \
    -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF -DCMAKE_EXE_LINKER_FLAGS="-Wl,-Map=$map" >/dev/null
[ -f "$map" ] || rm -f "$build/mpdiag.exe"
cmake --build "$build" --target mpdiag -j"$(nproc)" >/dev/null
version=$(sed -n 's/^#define MPDIAG_VERSION_TEXT "\(.*\)"$/\1/p' "$build/app/version.h")
wxprefix=$(sed -n 's/^WX_PREFIX:PATH=//p' "$build/CMakeCache.txt")

# wxWidgets' copyright file and source version lie beside the library when setup.sh built it;
# a library built before it kept them gets them from the same source package.
if [ ! -f "$wxprefix/debian/copyright" ] || [ ! -f "$wxprefix/debian/version" ]; then
    wxsource=$(mktemp -d) && temps+=("$wxsource")
    (cd "$wxsource" && apt-get source -q --download-only wxwidgets3.2 >/dev/null)
    notice=$(mktemp -d "$wxprefix/.debian.XXXXXX") && temps+=("$notice")
    tar -xJf "$wxsource"/wxwidgets3.2_*.debian.tar.xz -C "$notice" --strip-components=1 debian/copyright
    sed -n 's/^Version: //p' "$wxsource"/wxwidgets3.2_*.dsc >"$notice/version"
    chmod 755 "$notice"
    # Renamed whole, so that a concurrent release sees both files or none.
    mv -T "$notice" "$wxprefix/debian" 2>/dev/null || [ -f "$wxprefix/debian/version" ]
fi
python3 "$top/packaging/third_party_notices.py" "$map" "$build/app" "$build" "$wxprefix" \
    >"$stage/THIRD-PARTY-NOTICES.txt"

exe="$build/mpdiag.exe"
if [ -n "${MPDIAG_SIGN_PKCS12:-}" ]; then
    sign=(osslsigncode sign -pkcs12 "$MPDIAG_SIGN_PKCS12" -readpass /dev/stdin -h sha256 -n mpdiag)
    [ -z "${MPDIAG_SIGN_TIMESTAMP_URL:-}" ] || sign+=(-ts "$MPDIAG_SIGN_TIMESTAMP_URL")
    # The password goes through a pipe, never onto a command line.
    printf '%s' "${MPDIAG_SIGN_PASSWORD:-}" | "${sign[@]}" -in "$exe" -out "$stage/mpdiag.exe" >/dev/null
    exe="$stage/mpdiag.exe"
fi

mkdir -p "$out"
package="$out/mpdiag-$version-win-x64.zip"
python3 - "$package" "$exe" "$top/packaging/ADMINISTRATORS.txt" "$stage/THIRD-PARTY-NOTICES.txt" <<'PY'
import hashlib, os, sys, zipfile
package, files = sys.argv[1], sys.argv[2:]
contents = {os.path.basename(f): open(f, "rb").read() for f in files}
# The texts are read on Windows: CR LF line ends.
for name in contents:
    if name.endswith(".txt"):
        contents[name] = contents[name].replace(b"\r\n", b"\n").replace(b"\n", b"\r\n")
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
