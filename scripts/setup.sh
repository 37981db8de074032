#!/usr/bin/env bash
# Installs what the build needs and cross-builds the wxWidgets base library once.
# The library goes into .deps/ (git-ignored) and is reused when it is already there.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
deps="$top/.deps"
wxprefix="$deps/wx-mingw"
host=x86_64-w64-mingw32

sudo_() { if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi; }

packages=(cmake make g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64
          libz-mingw-w64-dev wine wine64 googletest dpkg-dev unzip zip python3
          wimtools osslsigncode openssl
          # mpdiag-report, built natively: the archive, WIM, hive and event log libraries, PCI names
          g++
          pkg-config
          zlib1g-dev
          libzip-dev
          libwim-dev
          libhivex-dev
          libevtx-dev
          libbfio-dev
          pci.ids
          # console cell widths of letters (wmic's columns)
          libunistring-dev
          # its JSON and its command line (header-only libraries)
          nlohmann-json3-dev
          libcli11-dev
          # the real samples' hives are xz-compressed
          xz-utils
          # its pages seen in a real browser, headless, and the font they are measured in
          chromium
          fonts-dejavu-core
          # its manual page, formatted by its test; objdump, which reads the package's libraries
          groff-base
          binutils
          # the reader's sanitizer build and fuzz targets: clang with libFuzzer and the sanitizers' runtimes
          clang
          libclang-rt-14-dev
)
missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ] || [ ! -f "$wxprefix/.done" ]; then
    export DEBIAN_FRONTEND=noninteractive
    # Debian's main archive as a source entry, for the wxWidgets sources.
    if ! grep -rqs '^Types: deb-src' /etc/apt/sources.list.d/ && ! grep -qs '^deb-src' /etc/apt/sources.list; then
        printf 'Types: deb-src\nURIs: http://deb.debian.org/debian\nSuites: bookworm\nComponents: main\nSigned-By: /usr/share/keyrings/debian-archive-keyring.gpg\n' \
            | sudo_ tee /etc/apt/sources.list.d/mpdiag-src.sources >/dev/null
    fi
    # Waits for another apt run instead of failing on its lock.
    apt=(apt-get -o DPkg::Lock::Timeout=900)
    sudo_ "${apt[@]}" update -q
    [ ${#missing[@]} -eq 0 ] || sudo_ "${apt[@]}" install -y -q --no-install-recommends "${missing[@]}"
fi
# The posix-thread flavour of the cross compiler, so that the C++ runtime links statically.
sudo_ update-alternatives --set $host-g++ /usr/bin/$host-g++-posix >/dev/null
sudo_ update-alternatives --set $host-gcc /usr/bin/$host-gcc-posix >/dev/null

if [ -f "$wxprefix/.done" ]; then
    echo "wxWidgets: reusing $wxprefix"
    exit 0
fi

echo "wxWidgets: building the base library into $wxprefix (takes a few minutes)"
src="$deps/src"
rm -rf "$src" "$wxprefix"
mkdir -p "$src"
(cd "$src" && apt-get source -q --download-only wxwidgets3.2 >/dev/null && dpkg-source -x --skip-patches ./*.dsc wx >/dev/null)
mkdir -p "$wxprefix/build"
cd "$wxprefix/build"
"$src/wx/configure" --host=$host --build=x86_64-linux-gnu --prefix="$wxprefix/install" \
    --disable-gui --enable-unicode --disable-shared --enable-monolithic=no \
    --with-zlib=sys --with-regex=builtin --without-expat \
    --without-liblzma --disable-webrequest --disable-sockets --disable-ipc --disable-protocols \
    --disable-url --disable-fs_inet --disable-debugreport --disable-precomp-headers \
    CXXFLAGS="-O2" CFLAGS="-O2" >configure.log 2>&1 || { tail -30 configure.log; exit 1; }
make -j"$(nproc)" >make.log 2>&1 || { tail -40 make.log; exit 1; }
# A base-only "make install" leaves out include/wx/msw, so the build uses the source tree's headers.
rm -rf "$wxprefix/include"
cp -r "$src/wx/include" "$wxprefix/include"
setup=$(dirname "$(find "$wxprefix/build/lib/wx/include" -name setup.h | head -1)")
mkdir -p "$wxprefix/setup"
cp -r "$setup" "$wxprefix/setup/"
mkdir -p "$wxprefix/lib"
cp "$wxprefix"/build/lib/*.a "$wxprefix/lib/"
# The source package's copyright file and version, for the release's third-party notices.
mkdir -p "$wxprefix/debian"
cp "$src/wx/debian/copyright" "$wxprefix/debian/"
sed -n 's/^Version: //p' "$src"/*.dsc >"$wxprefix/debian/version"
rm -rf "$wxprefix/build" "$src"
touch "$wxprefix/.done"
echo "wxWidgets: done"
