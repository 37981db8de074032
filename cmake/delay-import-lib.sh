#!/bin/sh
# Makes a delay-import library for one system DLL from the toolchain's own import library: the
# same exports, but each resolved on first call through the delay-load helper instead of by the
# loader at start-up.
#   delay-import-lib.sh NM DLLTOOL IMPORT_LIB DLL_NAME OUTPUT
set -eu
nm=$1 dlltool=$2 import_lib=$3 dll=$4 output=$5
def="$output.def"
{
    echo "LIBRARY $dll"
    echo "EXPORTS"
    "$nm" --defined-only -g "$import_lib" | awk '$3 ~ /^__imp_/ { print substr($3, 7) }' | sort -u
} >"$def"
"$dlltool" --input-def "$def" --dllname "$dll" --output-delaylib "$output"
