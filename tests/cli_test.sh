#!/usr/bin/env bash
# One case of the command line program, run as a user runs it.
# Usage: tests/cli_test.sh BUILD CASE    status 77: the case needs what this machine does not have
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
vexcap=$(cd "$1" && pwd)/bin/vexcap
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
unset VEXCAP_GIGE

fail() {
    echo "FAILED: $1" >&2
    cat out err >&2 2>/dev/null || true
    exit 1
}

# expect STATUS ARGUMENTS...: runs the program; what it printed is in out and err.
expect() {
    local wanted=$1 status=0
    shift
    "$vexcap" "$@" >out 2>err || status=$?
    [[ $status -eq $wanted ]] || fail "vexcap $*: status $status instead of $wanted"
}

# records ARGUMENTS...: a recording that reaches its end. On a loaded machine a camera of software comes too late for
# some of its frames; the status must be 6 when the program says so, and 0 else.
records() {
    local wanted=0 status=0
    "$vexcap" record "$@" >out 2>err || status=$?
    ! grep -qE 'the camera lost [1-9]|"cameraLost":[1-9]' out || wanted=6
    [[ $status -eq $wanted ]] || fail "vexcap record $*: status $status instead of $wanted"
}

# contains FILE TEXT
contains() { grep -qF -- "$2" "$1" || fail "\"$2\" is not in $1"; }

# ser FILE: "FRAMES WIDTHxHEIGHT DEPTH" of a whole file.
ser() { python3 "$here/ser_check.py" "$1"; }

frames() { ser "$1" | cut -d' ' -f1; }

# Starts a recording in the background and waits until its first line of progress.
start_recording() {
    rm -f out  # the progress waited for is that of this recording
    # A shell ignores some signals for its background programs, and so might whoever started it.
    env --default-signal=HUP "$vexcap" record --device "sim-fast;fps=50" --output "$1" --json >out 2>err &
    recorder=$!
    for _ in {1..300}; do
        grep -qs '"frames":[1-9]' out && return
        sleep 0.1
    done
    kill -KILL "$recorder"
    fail "no progress"
}

# Waits for the recording; its status is in status.
ended() {
    status=0
    wait "$recorder" || status=$?
}

case_devices() {
    expect 0 devices
    for identifier in sim-planet sim-deepsky sim-microscope sim-fast; do contains out "$identifier"; done
    [[ $(wc -l <out) -eq 4 ]] || fail "not four cameras"
    expect 0 devices --json
    python3 -c 'import json, sys
cameras = [json.loads(line) for line in open("out")]
assert [c["index"] for c in cameras] == [0, 1, 2, 3], cameras
assert all(c["name"] and c["identifier"] for c in cameras), cameras' || fail "wrong JSON"
    expect 0 devices --sizes
    contains out 640x480
    expect 3 devices --library ./missing.so
    contains err "no camera found by ./missing.so"
}

case_frames() {
    records --device sim-fast --output fifty.ser --frames 50 --fps 100
    [[ $(ser fifty.ser) == "50 640x480 8" ]] || fail "wrong file: $(ser fifty.ser)"
    contains out "50 offered, 50 kept, 50 written, 0 lost"
    records --device sim-fast --output fifty.json.ser --frames 50 --fps 100 --json
    python3 -c 'import json
lines = [json.loads(line) for line in open("out")]
end = lines[-1]
assert end["type"] == "recording" and end["end"] == "limit" and end["exit"] == (6 if end["cameraLost"] else 0), end
assert (end["offered"], end["kept"], end["written"], end["lost"]) == (50, 50, 50, 0), end
assert end["bytes"] == 50 * 640 * 480, end' || fail "wrong JSON"
    local status=0
    "$vexcap" record --device "sim-fast;fps=20" --output quiet.ser --frames 2 --quiet >out 2>err || status=$?
    [[ ! -s out ]] || fail "not quiet"
    [[ $status -eq 6 || ! -s err ]] || fail "not quiet though nothing went wrong"
    if command -v ffprobe >/dev/null; then
        local seen
        seen=$(ffprobe -v error -count_frames -select_streams v -show_entries stream=nb_read_frames,width,height \
            -of csv=p=0 fifty.ser)
        [[ $seen == "640,480,50" ]] || fail "ffprobe sees $seen"
    fi
}

case_settings() {
    records --device sim-fast --output set.ser --frames 5 --roi 32,16,320,200 --exposure 2000 \
        --gain 200 --fps 50
    [[ $(ser set.ser) == "5 320x200 8" ]] || fail "wrong file: $(ser set.ser)"
    contains out "320x200, 8 bits"
    contains out "5 offered, 5 kept, 5 written, 0 lost"
    records --device sim-fast --output binned.ser --frames 5 --binning 2
    [[ $(ser binned.ser) == "5 320x240 8" ]] || fail "wrong file: $(ser binned.ser)"
    expect 2 record --device sim-fast --output no.ser --frames 5 --roi 600,0,320,200
    contains err "does not fit"
    expect 2 record --device sim-fast --output no.ser --frames 5 --exposure 2000000000
    contains err "the exposure of this camera goes from"
    [[ ! -e no.ser ]] || fail "a refused setting left a file"
}

case_depth() {
    records --device sim-fast --output deep.ser --frames 5 --depth 12
    [[ $(ser deep.ser) == "5 640x480 12" ]] || fail "wrong file: $(ser deep.ser)"
    contains out "5 offered, 5 kept, 5 written, 0 lost"
    expect 2 record --device sim-fast --output no.ser --frames 5 --depth 9
    contains err "does not take 9 as its depth"
    [[ ! -e no.ser ]] || fail "a refused setting left a file"
}

case_seconds() {
    records --device "sim-fast;fps=50" --output two.ser --seconds 2
    local count
    count=$(frames two.ser)
    ((count > 20 && count < 150)) || fail "$count frames in two seconds at 50 a second"
    contains err "frames, "
}

case_names() {
    records --device FAST --output name.ser --frames 2
    records --device 3 --output index.ser --frames 2
    expect 2 record --device simulated --output no.ser --frames 2
    contains err "fits several cameras"
    expect 3 record --device 9 --output no.ser --frames 2
    expect 3 record --device nobody --output no.ser --frames 2
    contains err 'cannot open the camera "nobody"'
    expect 3 watch --device nobody
    [[ ! -e no.ser ]] || fail "a file without a camera"
}

case_refused() {
    expect 3 record --device "sim-planet;refuse" --output no.ser --frames 2 --json
    contains out '"type":"error"'
    contains out '"exit":3'
}

case_lost() {
    expect 4 record --device "sim-fast;fps=100;drop-after=100" --output lost.ser --seconds 60
    contains out "The camera is gone"
    local count
    count=$(frames lost.ser)
    ((count > 0 && count <= 100)) || fail "$count frames"
    expect 4 watch --device "sim-fast;fps=100;drop-after=20" --seconds 60
    contains err "is gone"
}

case_stalled() {
    expect 4 record --device "sim-fast;fps=100;stall-after=50" --output stalled.ser --seconds 60
    contains out "sends no frames any more"
    local count
    count=$(frames stalled.ser)
    ((count > 0 && count <= 50)) || fail "$count frames"
}

case_disk_full() {
    unshare --mount true 2>/dev/null || { echo "no mount namespace here"; exit 77; }
    mkdir disk
    # Inside the namespace the small disk is seen, so the file is checked there, too.
    unshare --mount bash -c '
        mount -t tmpfs -o size=8m none disk
        status=0
        "$0" record --device "sim-fast;fps=100" --output disk/full.ser --seconds 60 >out 2>err || status=$?
        echo $status >status
        python3 "$1" disk/full.ser >file' "$vexcap" "$here/ser_check.py" || fail "the file is not whole"
    [[ $(cat status) -eq 5 ]] || fail "status $(cat status) instead of 5"
    contains out "The disk is full"
    # 8 MiB hold 27 frames of 640x480 bytes; the file's header and the disk's own need take at most two.
    local count
    count=$(cut -d' ' -f1 file)
    ((count >= 25 && count <= 27)) || fail "$count frames on 8 MiB"
}

case_interrupt() {
    local signal status
    for signal in INT TERM HUP; do
        start_recording "$signal.ser"
        kill -$signal "$recorder"
        ended
        contains out '"end":"asked"'
        [[ $status -eq 0 || ($status -eq 6 && $(grep -c '"cameraLost":[1-9]' out) -eq 1) ]] || fail "status $status"
        [[ $(frames "$signal.ser") -gt 0 ]] || fail "no frames"
    done
}

case_abort() {
    local status
    start_recording abort.ser
    # Both signals wait until the process goes on, so that the second one is there before the first one's work is done.
    kill -STOP "$recorder"
    kill -INT "$recorder"
    kill -TERM "$recorder"
    kill -CONT "$recorder"
    ended
    [[ $status -eq 130 ]] || fail "status $status instead of 130"
    contains err aborted
}

case_existing() {
    echo mine >mine.ser
    expect 2 record --device sim-fast --output mine.ser --frames 2
    contains err "mine.ser exists; --overwrite replaces it"
    [[ $(cat mine.ser) == mine ]] || fail "the file was touched"
    records --device sim-fast --output mine.ser --frames 2 --overwrite
    [[ $(frames mine.ser) -eq 2 ]] || fail "not replaced"
    expect 2 record --device sim-fast --output mine.avi --frames 2
    contains err "must end in .ser"
    expect 1 record --device sim-fast --output missing/a.ser --frames 2
    contains err "the directory missing: No such file or directory"
}

case_watch() {
    expect 0 watch --device "sim-fast;fps=50" --seconds 2 --json
    python3 -c 'import json
lines = [json.loads(line) for line in open("out")]
assert len(lines) == 2, lines
assert lines[1]["frames"] > lines[0]["frames"] and lines[1]["dropped"] == 0, lines
assert (lines[1]["width"], lines[1]["height"]) == (640, 480), lines' || fail "wrong JSON"
    expect 0 watch --device sim-fast --seconds 1
    contains out "640x480"
}

# On a terminal: a line that is drawn anew, and gone in the end.
case_terminal() {
    script --quiet --return --command true typescript >out 2>&1 || { echo "no terminal can be made here"; exit 77; }
    local command="stty columns 80; $vexcap record --device 'sim-fast;fps=50' --output t.ser --seconds 1"
    TERM=xterm script --quiet --return --command "$command" typescript >out 2>err || [[ $? -eq 6 ]] || fail "status"
    contains typescript $'\r['
    contains typescript $'\033[32m='
    contains typescript $'\r\033[KRecorded t.ser'
    rm t.ser
    TERM=xterm NO_COLOR=1 script --quiet --return --command "$command" typescript >out 2>err ||
        [[ $? -eq 6 ]] || fail "status"
    contains typescript $'\r[='
}

# A reader that goes away is no reason to end a recording.
case_pipe() {
    local status=0
    { "$vexcap" record --device "sim-fast;fps=50" --output pipe.ser --seconds 3 --json || echo $? >status; } |
        head -n 1 >first
    [[ ! -e status || $(cat status) -eq 6 ]] || fail "status $(cat status)"
    contains first '"type":"progress"'
    [[ $(frames pipe.ser) -gt 20 ]] || fail "the recording was cut short"
}

"case_$2"
