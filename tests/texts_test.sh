#!/usr/bin/env bash
# The texts for users: every one that the code asks for exists, every language is in order, the commands of
# docs/translating.md work, and the string library exports its three functions alone.
# Usage: tests/texts_test.sh SOURCES LIBRARY
set -euo pipefail
sources=$(cd "$1" && pwd)
library=$(realpath "$2")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() {
    echo "FAILED: $1" >&2
    exit 1
}

# As much of a clone as translators need. The blocks run as one script: the later ones need what the earlier ones made.
mkdir "$scratch/companions"
cp -r "$sources/companions/i18n" "$scratch/companions"
cd "$scratch"
awk '$0 == "```sh check" { on = 1; next } /^```/ { on = 0 } on' "$sources/docs/translating.md" >commands
grep -q '^msgmerge' commands || fail "docs/translating.md has no commands to check"
bash -euo pipefail commands >output 2>&1 || { cat output >&2; fail "a command of docs/translating.md does not work"; }

sed -n 's/^msgctxt "\(.*\)"/\1/p' vexcap.pot | sort -u >known
(cd "$sources" && grep -rhoE --include='*.cpp' --include='*.h' --exclude='*_test.cpp' \
    --exclude-dir={.git,build,fake,i18n,tests} '"(ids|IDD)_[A-Za-z0-9_]+"' .) | tr -d '"' | sort -u >used
grep -q '^ids_' used || fail "no key was found in the code"
comm -23 used known >missing
[[ ! -s missing ]] || fail "the code asks for these, but companions/i18n/texts.cpp has no English text: $(xargs <missing)"

for file in "$sources"/companions/i18n/po/*.po; do
    msgfmt --check --output-file=/dev/null "$file" || fail "$file is not in order"
    grep -q '^"Content-Type: text/plain; charset=UTF-8\\n"$' "$file" || fail "$file is not in UTF-8"
done
msgcmp "$sources/companions/i18n/po/de.po" vexcap.pot || fail "German is not complete"

# Names that a sanitizer adds belong to the tool.
nm -D --defined-only "$library" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' |
    grep -v '^__[a-z]*san_\|^__odr_asan\|^__sancov_\|^___asan' | sort | xargs >exported
[[ $(<exported) == "en_string i18n_dialog i18n_string" ]] || fail "exported: $(<exported)"
soname=$(readelf -d "$library" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
[[ $soname == libvexcap-i18n.so.1 ]] || fail "the soname is $soname"
