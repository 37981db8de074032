#!/usr/bin/env bash
# The corpus folders of one fuzz target, one a line: its seeds and regressions, then the real
# samples that a reader of its kind reads, where they are present (read in place; the archives
# that the collector's end-to-end tests made are linked from LINKS, never copied).
#   corpora.sh TARGET SEEDS REGRESSIONS SHARED COLLECTOR_BUILD LINKS
set -euo pipefail
target=$1 seeds=$2 regressions=$3 shared=$4 collector=$5 links=$6
present() { for d in "$@"; do [ -d "$d" ] && [ -n "$(ls -A "$d")" ] && echo "$d"; done; return 0; }
present "$seeds/$target" "$regressions/$target"
case $target in
    text | bcdedit | systeminfo | wmic | logs) present "$shared/field-samples" ;;
    event_log) present "$shared/real-artifacts/evtx" ;;
    archive)
        rm -rf "$links" && mkdir -p "$links"
        while IFS= read -r zip; do
            relative=${zip#"$collector/e2e/"}
            ln -s "$zip" "$links/${relative//\//-}"
        done < <(find "$collector/e2e" -name prefix -prune -o -name mpdiag.zip -type f -print 2>/dev/null | sort)
        present "$links" ;;
esac
