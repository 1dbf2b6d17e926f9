#!/usr/bin/env bash
# The program around the checks: its statuses, what it says of a library that is of no use, and that each rule that it
# quotes stands in the header.
# Usage: program_test.sh PROGRAM HEADER SCRIPTED_LIBRARY SCRIPTED_LIBRARY_WITHOUT_CLARITY SIMULATED_LIBRARY
set -euo pipefail
program=$1 header=$2 scripted=$3 without_clarity=$4 simulated=$5
temporary=$(mktemp -d)
trap 'rm -r "$temporary"' EXIT

fail() {
    echo "$1" >&2
    exit 1
}
# expect STATUS TEXT ARGUMENT...: the status, and a text that is printed.
expect() {
    local want=$1 text=$2 status=0
    shift 2
    "$program" "$@" >"$temporary/said" 2>&1 || status=$?
    [[ $status == "$want" ]] || fail "status $status instead of $want for: $* ($(<"$temporary/said"))"
    grep -qF -e "$text" "$temporary/said" || fail "no '$text' for: $* ($(<"$temporary/said"))"
}

expect 0 'usage: vexcap-camera-contract' --help
expect 2 'no library'
expect 2 '--prefix needs a value' "$scripted" --prefix
expect 2 '--wrong is not understood' --wrong "$scripted"
expect 2 'no check is called' "$scripted" --prefix Hostile --only 'Nothing.*'
expect 3 'No such file' "$temporary/missing.so"
printf 'no library' >"$temporary/text.so"
expect 3 'text.so' "$temporary/text.so"
expect 3 'exports neither Wrong_EnumV2 nor Wrong_Open' "$scripted" --prefix Wrong
expect 0 ' 0 failed' "$scripted" --prefix Hostile --only 'Object.*:Library.*'
expect 0 'left out Library.FindsASharpPicture' "$without_clarity" --prefix Hostile --only 'Library.*'
expect 0 'passed   Object.StopsWithoutAStream  camera scripted' \
    "$scripted" --prefix Hostile --only 'Object.Stops*' --verbose
# A camera that breaks a rule: the identifiers of this one lose its device, but it is not expected.
expect 1 'rule: A camera that was closed can be opened again at once.' \
    "$simulated" --name 'sim-fast;refuse' --only Object.CanBeOpenedAgainAfterItsClose

# What stands in the comments of the header, as one line.
rules=$(sed -nE 's#^.*///<? ?##p' "$header" | tr -s ' \n' ' ')
"$program" --list >"$temporary/rules"
[[ $(wc -l <"$temporary/rules") -ge 70 ]] || fail 'some checks have no rule'
while IFS= read -r line; do
    [[ $rules == *"${line#*: }"* ]] || fail "not in the header: $line"
done <"$temporary/rules"
