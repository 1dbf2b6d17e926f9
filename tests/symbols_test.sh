#!/bin/sh
# symbols_test.sh LIBRARY HEADERS MAP SYMBOLS_1_0: what the library exports is what the headers declare, under the node
# that the version script names it in; release 1.0's symbols, and no others, have its version; the soname stays.
set -eu
library=$1
headers=$2
map=$3
frozen=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

# fails_unless_equal TITLE LEFT RIGHT
fails_unless_equal() {
    diff "$work/$2" "$work/$3" > "$work/difference" && return
    echo "$1:"
    cat "$work/difference"
    failed=1
}

# Declarations may run over lines: join them, then take the name before each first bracket.
cat "$headers"/*.h | tr '\n' ' ' | tr ';' '\n' |
    sed -n 's/.*VEXCAP_API [^(]*[ *]\([a-z0-9_]*\)(.*/\1/p' | sort -u > "$work/declared"
# Names that a sanitizer adds belong to the tool.
nm -D --defined-only "$library" | awk '$2 != "A" { print $3 }' |
    grep -v '^__[a-z]*san_\|^__odr_asan\|^__sancov_\|^___asan' | sed 's/@@*/ /' | sort -u > "$work/exported"
cut -d ' ' -f 1 "$work/exported" > "$work/names"
awk '/^[A-Z]/ { node = $1 } /^ *[a-z0-9_]+;$/ { sub(/;/, ""); print $1, node }' "$map" | sort -u > "$work/mapped"
awk '$2 == "VEXCAP_1" { print $1 }' "$work/exported" > "$work/first"
sort -u "$frozen" > "$work/frozen"

for list in declared exported mapped frozen; do
    test -s "$work/$list" || { echo "nothing is $list"; exit 1; }
done
if foreign=$(grep -v '^\(vexcap\|marker\|vex_window\|vex_key\)_' "$work/names"); then
    echo "exported under a foreign name:"
    echo "$foreign"
    failed=1
fi
# A wildcard would put the symbols of a later release into a node of this one.
if grep '[*?[]' "$map" | grep -v '^ *\*;$\|^#'; then
    echo "the version script has wildcards"
    failed=1
fi
fails_unless_equal "declared (<) and exported (>) differ" declared names
fails_unless_equal "in the version script (<) and exported (>) differ" mapped exported
fails_unless_equal "symbols of release 1.0 (<) and those of its version (>) differ" frozen first
soname=$(readelf -d "$library" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
if [ "$soname" != libvexcap.so.1 ]; then
    echo "the soname is '$soname'"
    failed=1
fi
exit $failed
