#!/usr/bin/env bash
# Makes docs/record.svg anew: a real run of the program, recorded by asciinema.
# Usage: tools/make_record_svg.sh BUILD
set -euo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$(cd "$1" && pwd)
export PATH="$build/bin:$PATH" TERM=xterm-256color
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
export HOME="$scratch" XDG_CONFIG_HOME="$scratch/.config"
cat >run.sh <<'RUN'
stty columns 92
run() {
    printf '\033[32m$\033[0m %s\n' "$*"
    sleep 0.6
    "$@"
    sleep 1
}
run vexcap devices
run vexcap record --device planetary --output moon.ser --seconds 5 --fps 60 --roi 648,308,640,480
RUN
asciinema rec --quiet --cols 92 --rows 24 --command "bash run.sh" run.cast </dev/null
python3 "$top/tools/cast_to_svg.py" run.cast "$top/docs/record.svg"
