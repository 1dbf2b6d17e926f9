#!/bin/sh
# symbols_test.sh LIBRARY HEADERS: what the library exports is what the headers declare, and its name is its soname.
set -eu
library=$1
headers=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Declarations may run over lines: join them, then take the name before each first bracket.
cat "$headers"/*.h | tr '\n' ' ' | tr ';' '\n' |
    sed -n 's/.*VEXCAP_API [^(]*[ *]\([a-z0-9_]*\)(.*/\1/p' | sort -u > "$work/declared"
# Names that a sanitizer adds belong to the tool.
nm -D --defined-only "$library" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' |
    grep -v '^__[a-z]*san_\|^__odr_asan\|^__sancov_\|^___asan' | sort -u > "$work/exported"

test -s "$work/declared" || { echo "no declarations were found"; exit 1; }
failed=0
if foreign=$(grep -v '^\(vexcap\|marker\|vex_window\|vex_key\)_' "$work/exported"); then
    echo "exported under a foreign name:"
    echo "$foreign"
    failed=1
fi
if ! diff "$work/declared" "$work/exported" > "$work/difference"; then
    echo "declared (<) and exported (>) differ:"
    cat "$work/difference"
    failed=1
fi
soname=$(readelf -d "$library" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
if [ "$soname" != libvexcap.so.1 ]; then
    echo "the soname is '$soname'"
    failed=1
fi
exit $failed
