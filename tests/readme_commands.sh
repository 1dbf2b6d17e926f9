#!/usr/bin/env bash
# Runs what README.md promises, in a scratch directory with a freshly installed tree: the C program of its first ```c
# block is put into host.c, and then each block that begins with "```sh check" must succeed as a script.
# Usage: tests/readme_commands.sh BUILD
set -euo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$(cd "$1" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/usr" >"$scratch/install.log"
libraries=$(dirname "$(find "$scratch/usr" -name libvexcap.so)")
export PATH="$scratch/usr/bin:$PATH" PKG_CONFIG_PATH="$libraries/pkgconfig"
# The user's own settings and documents are none of a test's business.
export HOME="$scratch/home" XDG_CONFIG_HOME="$scratch/home/.config"

# blocks FENCE: the blocks that begin with this line, one after the other, each behind a line "#block".
blocks() { awk -v fence="$1" '$0 == fence { on = 1; print "#block"; next } /^```/ { on = 0 } on' "$top/README.md"; }

mkdir "$scratch/work"
cd "$scratch/work"
blocks '```c' >host.c
sed -i '/^#block$/d' host.c
blocks '```sh check' | awk '/^#block$/ { file = sprintf("block%02d", ++count); next } { print >file }'

count=0
for block in block*; do
    echo "README.md, block $((++count)):"
    sed 's/^/    /' "$block"
    if ! bash -euo pipefail "$block" >output 2>&1; then
        cat output
        echo "FAILED: a command of README.md does not work" >&2
        exit 1
    fi
done
[[ $count -gt 0 ]] || { echo "FAILED: README.md has no commands to check" >&2; exit 1; }
echo "All $count blocks of README.md work."
