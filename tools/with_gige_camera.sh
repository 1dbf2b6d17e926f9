#!/usr/bin/env bash
# Runs a command beside a GigE Vision camera made of software, 127.0.0.1, in a network namespace of its own, so that
# nothing is sent to a real network. Gives the command's exit status, or 77 where that is not possible here.
# Usage: tools/with_gige_camera.sh COMMAND...
set -euo pipefail

camera=arv-fake-gv-camera-0.8
namespace=(unshare --net)
[[ $EUID -eq 0 ]] || namespace=(unshare --map-root-user --net)

skip() {
    echo "no GigE camera here: $1" >&2
    exit 77
}
command -v "$camera" >/dev/null || skip "$camera of the package aravis-tools is missing"
command -v ip >/dev/null || skip "ip of the package iproute2 is missing"
"${namespace[@]}" true 2>/dev/null || skip "no network namespace can be made"

exec "${namespace[@]}" bash -c '
    ip link set lo up
    "$0" --interface 127.0.0.1 --serial demo >/dev/null &
    trap "kill $!" EXIT
    sleep 1
    "$@"' "$camera" "$@"
