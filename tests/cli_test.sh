#!/usr/bin/env bash
# One case of the command line program, run as a user runs it.
# Usage: tests/cli_test.sh BUILD CASE    status 77: the case needs what this machine does not have
set -euo pipefail
bin=$(cd "$1" && pwd)/bin
vexcap=$bin/vexcap
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
unset VEXCAP_GIGE
# What the program remembers, and folders that it makes by itself.
export HOME=$scratch XDG_CONFIG_HOME=$scratch/config XDG_DATA_HOME=$scratch/data
unset XDG_DOCUMENTS_DIR

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
ser() { "$bin/ser_check" "$1"; }

frames() { ser "$1" | cut -d' ' -f1; }

# json PROGRAM: runs Python lines over `lines`, the JSON objects that were printed.
json() {
    python3 -c "import json
lines = [json.loads(line) for line in open('out')]
$1" || fail "wrong JSON"
}

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

# What the system itself has of video input devices is behind the four cameras.
case_devices() {
    expect 0 devices
    for identifier in sim-planet sim-deepsky sim-microscope sim-fast; do contains out "$identifier"; done
    [[ $(grep -c "^ *[0-9]*  simulated " out) -eq 4 ]] || fail "not four simulated cameras"
    expect 0 devices --json
    json 'cameras = [c for c in lines if c["kind"] == "camera"]
assert [c["index"] for c in lines] == list(range(len(lines))), lines
assert lines[:4] == cameras and all(c["kind"] == "video input" for c in lines[4:]), lines
assert all(c["name"] and c["identifier"] for c in lines), lines
assert all(c["simulated"] == c["identifier"].startswith("sim-") for c in lines), lines'
    expect 0 devices --sizes
    contains out 640x480
    [[ ! -e $XDG_CONFIG_HOME ]] || fail "a folder for settings was made, though nothing was stored"
    # The expression is for video input devices.
    expect 0 devices --match "no such device" --json
    json 'assert [c["index"] for c in lines] == [0, 1, 2, 3], lines'
    expect 2 devices --match "vid_(046d"
    contains err "vid_(046d: no regular expression"
    expect 3 devices --library ./missing.so --match "no such device"
    contains err "no camera found by ./missing.so, and no video input device that matches no such device"
    contains err "cannot open shared object file"
    expect 3 record --library ./missing.so --device 0 --output no.ser --frames 2
    contains err "cannot open shared object file"
    expect 3 record --device "@device:v4l2:usb#none" --output no.avi --frames 2
    contains err "@device:v4l2:usb#none"
    [[ ! -e no.avi ]] || fail "a file without a device"
}

case_formats() {
    expect 0 formats --device sim-fast
    [[ $(cat out) == " 0         640x480" ]] || fail "wrong list"
    expect 0 formats --device sim-microscope --json
    json 'assert [(f["index"], f["width"], f["height"]) for f in lines] == [
    (0, 2592, 1944), (1, 1296, 972), (2, 648, 486)], lines
assert all(f["type"] == "format" and "layout" not in f for f in lines), lines'
    records --device sim-microscope --output small.ser --frames 3 --format 648x486
    [[ $(ser small.ser) == "3 648x486 "* ]] || fail "wrong file: $(ser small.ser)"
    records --device sim-microscope --output middle.ser --frames 3 --format 1 --roi 0,0,640,480
    [[ $(ser middle.ser) == "3 640x480 "* ]] || fail "wrong file: $(ser middle.ser)"
    expect 2 record --device sim-microscope --output no.ser --frames 3 --format 10x10
    contains err "does not offer this format; it offers:"
    contains err " 1         1296x972"
    expect 2 record --device sim-microscope --output no.ser --frames 3 --format 3
    expect 2 record --device sim-microscope --output no.ser --frames 3 --format MJPG:648x486
    expect 3 formats --device nobody
    expect 2 formats
    contains err "several devices are there"
    [[ ! -e no.ser ]] || fail "a refused format left a file"
}

# Compressors are there where the library's part for them is.
case_codec() {
    local status=0
    "$vexcap" codecs --json >out 2>err || status=$?
    if [[ $status -eq 9 ]]; then
        contains err "there is no compressor"
        expect 9 record --device sim-fast --output no.avi --codec mjpeg --frames 2
        [[ ! -e no.avi ]] || fail "a file without a compressor"
        echo "no compressor here"
        exit 77
    fi
    [[ $status -eq 0 ]] || fail "status $status"
    json 'assert all(c["type"] == "codec" and c["name"] and c["display"] for c in lines), lines
assert any("mjpeg" in c["display"].lower() for c in lines), lines'
    cp out listed
    expect 0 codecs
    [[ $(wc -l <out) -eq $(wc -l <listed) ]] || fail "not as many compressors"
    ! grep -q @device out || fail "a name that no user types"
    expect 0 codecs --long
    [[ $(grep -c @device out) -eq $(wc -l <listed) ]] || fail "not as many names"
    # Each word names its compressor.
    python3 -c 'import json, sys
for line in sys.stdin: print(json.loads(line)["word"])' <listed >words
    grep -qx mjpeg words || fail "no word for mjpeg"

    records --device sim-fast --output small.avi --codec mjpeg --frames 30 --fps 50 --json
    json 'end = lines[-1]
assert end["written"] >= 30 and end["lost"] == 0 and end["end"] == "limit", end
assert "mjpeg" in end["codec"].lower() and (end["width"], end["height"]) == (640, 480), end'
    local count
    count=$(json 'print(lines[-1]["written"])')
    expect 0 verify --json small.avi
    COUNT=$count json 'import os
assert lines[0]["whole"] and lines[0]["frames"] == int(os.environ["COUNT"]), lines'
    if command -v ffprobe >/dev/null; then
        [[ $(ffprobe -v error -count_frames -select_streams v -of csv=p=0 \
            -show_entries stream=codec_name,width,height,nb_read_frames small.avi) == "mjpeg,640,480,$count" ]] ||
            fail "ffprobe sees something else"
    fi

    # The quality is that of this recording, and of no other one.
    mkdir temporary
    export TMPDIR=$scratch/temporary
    expect 0 settings CaptureQuality=100
    local camera="sim-fast;fps=50;deterministic"
    records --device "$camera" --output fine.avi --codec mjpeg --frames 10 --json
    records --device "$camera" --output coarse.avi --codec mjpeg --frames 10 --quality 5
    expect 0 settings CaptureQuality
    [[ $(cat out) == 100 ]] || fail "the quality was remembered"
    records --device "$camera" --output unremembered.avi --codec mjpeg --frames 10 --quality 5 --no-settings
    local fine coarse
    fine=$(frame_bytes fine.avi) coarse=$(frame_bytes coarse.avi)
    ((coarse * 2 < fine)) || fail "$coarse bytes a frame instead of $fine"
    [[ $(frame_bytes unremembered.avi) -lt $fine ]] || fail "no quality without settings"
    [[ -z $(ls temporary) ]] || fail "temporary settings were left: $(ls temporary)"

    # A camera that goes, or that sends nothing any more, leaves a whole file behind.
    local ill
    for ill in drop-after stall-after; do
        expect 4 record --device "sim-fast;fps=100;$ill=100" --output $ill.avi --codec mjpeg --seconds 60
        expect 0 verify $ill.avi
    done

    # A part of a name, as devices are matched; the rest is refused with the names.
    expect 2 record --device sim-fast --output no.avi --codec "no such" --frames 2
    contains err 'there is no compressor "no such"; these are there:'
    expect 2 record --device sim-fast --output no.ser --codec mjpeg --frames 2
    contains err "only AVI files are compressed"
    echo mine >mine.avi
    expect 2 record --device sim-fast --output mine.avi --codec mjpeg --frames 2
    [[ $(cat mine.avi) == mine ]] || fail "the file was touched"
    records --device sim-fast --auto-name --directory named --name-format nnnn --codec mjpeg --frames 2
    contains out "Recorded named/0001.avi"
    records --device sim-fast --output two.avi --codec mjpeg --seconds 2 --time-lapse 5
    expect 0 verify two.avi
    [[ ! -e no.avi && ! -e no.ser ]] || fail "a refused compressor left a file"
}

# Mean bytes of a frame.
frame_bytes() {
    "$vexcap" verify --json "$1" >probe
    python3 -c 'import json, os, sys
file = json.load(open("probe"))
print(os.path.getsize(sys.argv[1]) // file["frames"])' "$1"
}

# What a camera cannot do is told before anything is opened for it.
case_abilities() {
    expect 2 record --device sim-fast --output no.avi --flip both --frames 2
    contains err "--flip is for video input devices"
    expect 2 record --device sim-fast --output no.avi --grey --frames 2
    expect 2 record --device sim-fast --output no.avi --negative --frames 2
    expect 2 record --device sim-fast --output no.avi --dark missing.bmp --frames 2
    contains err "cameras take no dark frame"
    expect 2 record --device "@device:v4l2:usb#none" --output no.avi --exposure 5 --frames 2
    contains err "--exposure is for cameras"
    expect 2 record --device "@device:v4l2:usb#none" --output no.ser --frames 2
    contains err "is recorded to .avi files"
    [[ ! -e no.avi && ! -e no.ser ]] || fail "a refused wish left a file"
}

# Dark frames that are kept, without the device that they are of.
case_dark() {
    local device="@device:v4l2:usb#vid_046d&pid_0825#A1#1-2.0"
    local kept="data/vexcap/dark/v4l2%3Ausb#vid_046d&pid_0825#A1#1-2.0-640x480.bmp"
    expect 0 dark show
    [[ ! -s out && ! -e data ]] || fail "something is kept already"
    expect 1 dark on --device "$device"
    contains err "no dark frame is kept for"
    mkdir -p data/vexcap/dark
    echo dark >"$kept"
    expect 0 dark show
    [[ $(cat out) == "on   640x480  $scratch/$kept" ]] || fail "wrong list"
    expect 0 dark off --device "$device"
    expect 0 dark show --json
    json 'frame, = lines
assert frame["type"] == "dark" and not frame["on"] and (frame["width"], frame["height"]) == (640, 480), frame
assert frame["file"].endswith("-640x480.bmp"), frame'
    expect 0 dark on --device "$device"
    expect 0 dark show --device "$device"
    [[ $(cat out) == "on   640x480  $scratch/$kept" ]] || fail "not switched on"
    expect 0 dark show --device "@device:v4l2:other"
    [[ ! -s out ]] || fail "the dark frame of another device"

    expect 0 dark export copy.bmp --device "$device"
    cmp "$kept" copy.bmp || fail "not copied"
    echo mine >copy.bmp
    expect 2 dark export copy.bmp --device "$device"
    contains err "copy.bmp exists; --overwrite replaces it"
    [[ $(cat copy.bmp) == mine ]] || fail "the file was touched"
    expect 0 dark export copy.bmp --device "$device" --overwrite
    cmp "$kept" copy.bmp || fail "not replaced"
    cp "$kept" "${kept/640x480/320x240}"
    expect 2 dark export other.bmp --device "$device"
    contains err "several dark frames are kept; --size names one: 320x240 640x480"
    expect 2 dark export other.bmp --device "$device" --size 10x10
    expect 0 dark export other.bmp --device "$device" --size 320x240

    local action
    for action in capture on off show; do
        expect 2 dark $action --device sim-fast
        contains err "cameras take no dark frame"
    done
    expect 2 dark import copy.bmp --device sim-fast
    expect 3 dark capture --device "$device"
    local status=0
    env -u HOME -u XDG_DATA_HOME "$vexcap" dark show >out 2>err || status=$?
    [[ $status -eq 1 ]] || fail "status $status instead of 1"
    contains err "dark frames cannot be kept here"
}

case_play() {
    expect 1 play missing.avi
    contains err "missing.avi: No such file or directory"
    expect 1 play .
    contains err ". is a directory"
    records --device "sim-fast;fps=50" --output two.avi --frames 100
    local status=0
    "$vexcap" play two.avi --json >out 2>err || status=$?
    if [[ $status -eq 9 ]]; then
        contains err "libvexcap-media.so.1, which compresses and plays video, is not installed"
        echo "no media files can be played here"
        exit 77
    fi
    [[ $status -eq 0 ]] || fail "status $status"
    json 'first, *between, last = lines
assert first["type"] == "media" and (first["width"], first["height"]) == (640, 480), first
assert first["seekable"] and 1 < first["duration"] < 20, first
assert last["type"] == "played" and last["end"] == "file" and 0 < last["frames"] <= 100, last
assert between and all(p["type"] == "play" and 0 <= p["position"] <= first["duration"] + 0.1 for p in between), between
assert [p["frames"] for p in between] == sorted(p["frames"] for p in between), between'
    expect 0 play two.avi
    contains out "two.avi, 640x480, 0:0"
    contains out "frames of two.avi, to its end"
    contains err " of 0:0"
    expect 0 play two.avi --seek 1.5 --seek 0.5 --json
    json 'places = [p["position"] for p in lines if p["type"] == "seek"]
assert len(places) == 2 and abs(places[0] - 1.5) < 0.2 and abs(places[1] - 0.5) < 0.2, lines
assert lines[-1]["end"] == "file", lines'
    expect 0 play two.avi --seconds 1 --json
    json 'assert lines[-1]["end"] == "limit", lines'
    expect 2 play two.avi --seek 3600
    contains err "two.avi ends after"
    echo "no video" >text.avi
    expect 8 play text.avi
    contains err "text.avi has no video that can be played"
    if command -v ffmpeg >/dev/null; then
        ffmpeg -v error -f lavfi -i sine=duration=1 sound.wav
        expect 8 play sound.wav
        ffmpeg -v error -f lavfi -i testsrc=size=64x48:rate=10:duration=3 -c:v mpeg4 other.mkv
        expect 0 play other.mkv --json
        json 'assert abs(lines[0]["duration"] - 3) < 0.2 and lines[-1]["frames"] == 30, lines'
    fi
    # Ctrl-C ends it, and that is no failure.
    env --default-signal=INT "$vexcap" play two.avi --json >out 2>err &
    recorder=$!
    for _ in {1..300}; do
        ! grep -qs media out || break
        sleep 0.1
    done
    kill -INT "$recorder"
    ended
    [[ $status -eq 0 ]] || fail "status $status"
    json 'assert lines[-1]["end"] in ("asked", "file"), lines'
}

# JSON has its own decimal point, whatever the user's locale has.
case_comma() {
    mkdir locales
    localedef -i de_DE -f UTF-8 locales/de_DE.UTF-8 >/dev/null 2>&1 || { echo "no locale can be made here"; exit 77; }
    export LOCPATH=$scratch/locales LC_ALL=de_DE.UTF-8
    records --device sim-fast --output comma.ser --frames 5
    grep -qE "  time     [0-9]+[.][0-9] s" out || fail "words are English, and numbers are not"
    # Input takes the user's decimal point, too.
    local wished
    for wished in 0,5 0.5; do
        records --device sim-fast --output comma.ser --overwrite --seconds $wished
        expect 0 snap --device sim-fast --output comma.png --overwrite --pixel-size $wished --json
        json 'assert lines[-1]["pixelSize"] == 0.5, lines'
    done
    records --device sim-fast --output comma.ser --overwrite --frames 5 --json
    json 'assert lines[-1]["seconds"] > 0, lines'
}

case_frames() {
    records --device sim-fast --output fifty.ser --frames 50 --fps 100
    [[ $(ser fifty.ser) == "50 640x480 8" ]] || fail "wrong file: $(ser fifty.ser)"
    contains out "50 offered, 50 kept, 50 written, 0 lost"
    [[ ! -e $HOME/Documents ]] || fail "a folder for recordings was made, though the file has its place"
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
    contains err "the exposure of this camera goes from 32 µs to "
    contains err " s"
    expect 2 record --device sim-fast --output no.ser --frames 5 --binning 3
    contains err "does not bin by 3; it takes 1, 2"
    records --device sim-fast --output units.ser --frames 010 --exposure 2ms
    [[ $(frames units.ser) -eq 10 ]] || fail "010 is $(frames units.ser)"
    [[ ! -e no.ser ]] || fail "a refused setting left a file"
}

case_depth() {
    records --device sim-fast --output deep.ser --frames 5 --depth 12
    [[ $(ser deep.ser) == "5 640x480 12" ]] || fail "wrong file: $(ser deep.ser)"
    contains out "5 offered, 5 kept, 5 written, 0 lost"
    expect 2 record --device sim-fast --output no.ser --frames 5 --depth 9
    contains err "does not take 9 as its depth; it takes 8, "
    [[ ! -e no.ser ]] || fail "a refused setting left a file"
}

case_seconds() {
    records --device "sim-fast;fps=50" --output two.ser --seconds 2
    local count
    count=$(frames two.ser)
    ((count > 20 && count < 150)) || fail "$count frames in two seconds at 50 a second"
    contains err "frames, "
    # What the library has no limit for is ended by the program.
    records --device "sim-fast;fps=50" --output part.ser --seconds 600ms --json
    json 'end = lines[-1]
assert end["end"] == "limit" and 0.6 <= end["seconds"] < 1.5, end'
}

case_names() {
    records --device FAST --output name.ser --frames 2
    records --device 3 --output index.ser --frames 2
    expect 2 record --device simulated --output no.ser --frames 2
    contains err "fits several devices"
    expect 3 record --device 9 --output no.ser --frames 2
    expect 3 record --device nobody --output no.ser --frames 2
    contains err 'cannot open the camera "nobody"'
    expect 3 watch --device nobody
    [[ ! -e no.ser ]] || fail "a file without a camera"
}

case_refused() {
    expect 2 recrod --json
    contains err "there is no command recrod; did you mean record?"
    json 'assert lines == [{"type": "error", "text": lines[0]["text"], "exit": 2}], lines'
    expect 2 record --device sim-fast --output no.ser --fps 29.97
    contains err 'See "vexcap record --help".'
    expect 0 help record
    contains out "--time-lapse"
    expect 0 -v
    contains out "vexcap "
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
        "$1" disk/full.ser >file' "$vexcap" "$bin/ser_check" || fail "the file is not whole"
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
    expect 2 record --device sim-fast --output mine.mp4 --frames 2
    contains err "must end in .ser or .avi"
    echo mine >mine.avi
    expect 2 record --device sim-fast --output mine.avi --frames 2
    contains err "mine.avi exists; --overwrite replaces it"
    [[ $(cat mine.avi) == mine ]] || fail "the file was touched"
    records --device sim-fast --output mine.avi --frames 2 --overwrite
    expect 0 verify mine.avi
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

# A frame rate is known only where a recording took longer than a second.
case_avi() {
    records --device sim-fast --output two.avi --frames 60 --fps 30
    contains out "640x480, 24 bits a pixel"
    contains out "60 offered, 60 kept, 60 written, 0 lost"
    expect 0 verify --json two.avi
    json 'file, = lines
assert file["container"] == "avi" and file["whole"] and file["problems"] == [], file
assert (file["width"], file["height"], file["depth"], file["pixels"]) == (640, 480, 24, "BGR24"), file
assert file["frames"] == 60 and 1 < file["framesPerSecond"] < 31, file'
    if command -v ffprobe >/dev/null; then
        ffprobe -v error -count_frames -select_streams v -show_entries \
            stream=nb_read_frames,width,height,r_frame_rate,pix_fmt -of json two.avi >probe
        json 'stream, = json.load(open("probe"))["streams"]
rate, scale = map(int, stream["r_frame_rate"].split("/"))
assert (stream["width"], stream["height"], stream["pix_fmt"]) == (640, 480, "bgr24"), stream
assert int(stream["nb_read_frames"]) == 60, stream
assert abs(rate / scale - lines[0]["framesPerSecond"]) < 0.01, (stream, lines)'
    fi
    records --device sim-fast --output json.AVI --frames 5 --roi 32,16,322,200 --depth 12 --json
    json 'end = lines[-1]
assert (end["container"], end["width"], end["height"], end["depth"]) == ("avi", 322, 200, 24), end
assert end["written"] == 5 and end["bytes"] == 5 * 968 * 200, end'
    expect 0 verify json.AVI
    contains out "322x200, 24 bits a pixel, BGR24"
}

# The pictures of this camera depend on their numbers alone.
case_time_lapse() {
    local camera="sim-fast;fps=50;deterministic"
    records --device "$camera" --output lapse.ser --frames 5 --time-lapse 5
    contains out "21 offered, 5 kept, 5 written"
    [[ $(ser lapse.ser) == "5 640x480 8" ]] || fail "wrong file: $(ser lapse.ser)"
    cat out >both
    records --device "$camera" --output all.ser --frames 100
    cat out >>both
    # A frame that the camera lost makes a gap.
    grep -q 'the camera lost [1-9]' both || python3 - <<'END' || fail "not one frame in five"
def frames(path):
    data = open(path, "rb").read()[178:]
    return [data[i : i + 640 * 480] for i in range(0, len(data), 640 * 480)]

every, lapse = frames("all.ser"), frames("lapse.ser")
assert len(set(every)) == len(every), "frames cannot be told apart"
places = [every.index(frame) if frame in every else None for frame in lapse]
known = [(i, place) for i, place in enumerate(places) if place is not None]
# Both recordings begin some frames after the camera did.
assert len(known) >= 3, places
assert all(place - 5 * i == known[0][1] - 5 * known[0][0] for i, place in known), places
END
    records --device sim-fast --output lapse.avi --frames 4 --time-lapse 3 --fps 50
    contains out "10 offered, 4 kept, 4 written"
    expect 0 verify lapse.avi
    contains out "frames    4"
    expect 2 record --device sim-fast --output no.ser --time-lapse 0
    [[ ! -e no.ser ]] || fail "a file for a refused time lapse"
}

case_auto_name() {
    local before after day file
    before=$(date +%Y%m%d)
    records --device sim-fast --auto-name --directory base --subfolders date --prefix "M 31 " \
        --name-format yyyy-mm-dd-HH-MM-SS --frames 2 --json
    after=$(date +%Y%m%d)
    file=$(find base -type f)
    day=${file#base/}
    day=${day%%/*}
    [[ $day == "$before" || $day == "$after" ]] || fail "recorded to $file"
    [[ $file =~ ^base/[0-9]{8}/"M 31 "[0-9]{4}(-[0-9]{2}){5}\.ser$ ]] || fail "recorded to $file"
    FILE=$file json 'import os
assert lines[-1]["file"] == os.environ["FILE"], lines[-1]'
    [[ $(frames "$file") -eq 2 ]] || fail "not two frames"

    # Numbers count in each process from 1: those that are taken are left out.
    local arguments=(--device sim-fast --directory count --subfolders 0 --prefix x --name-format 4 --frames 2)
    for file in x0001 x0002 x0003; do
        records "${arguments[@]}" --auto-name=avi
        contains out "Recorded count/$file.avi"
    done
    records "${arguments[@]}" --auto-name
    contains out "Recorded count/x0001.ser"
    records "${arguments[@]}" --auto-name=avi --overwrite
    contains out "Recorded count/x0001.avi"
    [[ $(find count -type f | wc -l) -eq 4 ]] || fail "not four files: $(ls count)"
    expect 0 verify count/*

    # A stamp does not change within its second: when all are taken, that is told.
    mkdir taken
    local now i
    now=$(date +%s)
    for ((i = 0; i < 600; ++i)); do printf 'taken/%(%y%m%d%H%M%S)T.ser\n' $((now + i)); done | xargs touch
    expect 2 record --device sim-fast --auto-name --directory taken --name-format 0 --frames 2
    contains err "exists; --overwrite replaces it"
    [[ -z $(find taken -type f -size +0) ]] || fail "a file was touched"

    expect 2 record --device sim-fast --auto-name --prefix a/b --frames 2
    expect 2 record --device sim-fast --auto-name --output a.ser --frames 2
    expect 2 record --device sim-fast --frames 2
    contains err "--output or --auto-name is required"
    touch file
    expect 1 record --device sim-fast --auto-name --directory file/below --frames 2
    contains err "the folder for the recording cannot be made"
}

# Settings live on from process to process.
case_remembered() {
    local here=(--settings keep)
    expect 0 settings "${here[@]}"
    contains out "FileNameFomat"
    [[ $(grep -c "(standard)" out) -eq $(grep -c '^  [A-Za-z]' out) ]] || fail "something is remembered already"
    contains out "Base folder for --auto-name"
    contains out "vexcap keeps them, and does not follow them"
    contains out "25 to 400"
    expect 0 settings "${here[@]}" FileNamePrefix="M 31 " FileNameFormat=4 bitratescale=150
    [[ ! -s out && ! -s err ]] || fail "not quiet"
    expect 0 settings "${here[@]}" BitRateScale FileNamePrefix FileNameFomat
    [[ $(cat out) == $'150\nM 31 \n4' ]] || fail "wrong values"
    expect 0 settings "${here[@]}"
    [[ $(grep '^  [A-Za-z]' out | grep -vc "(standard)") -eq 3 ]] || fail "not three remembered"

    # So do those of the overlay, in a file of their own.
    expect 0 settings "${here[@]}" eMarkerxPos=-7 Date=3
    expect 0 settings "${here[@]}" eMarkerxPos Date
    [[ $(cat out) == $'-7\n3' ]] || fail "wrong values of the overlay"
    grep -q '^Date = 3$' keep/SOFTWARE/vexcap/vexcap/marker.toml || fail "the overlay has no file of its own"

    # All are checked before any is stored.
    expect 2 settings "${here[@]}" BitRateScale=200 SecPerKey=99
    contains err "SecPerKey goes from 1 to 30"
    expect 2 settings "${here[@]}" BitRateScale=200 Nothing=1
    contains err "there is no setting Nothing"
    expect 2 settings "${here[@]}" TimeLimt=5
    contains err "did you mean TimeLimit?"
    expect 2 settings "${here[@]}" BitRateScale=200 FileNamePrefix=a/b
    expect 0 settings "${here[@]}" BitRateScale
    [[ $(cat out) == 150 ]] || fail "stored in spite of the mistake beside it"

    # Two processes that store at the same time do not undo each other.
    local name pids=()
    for name in BitRateScale TimeLimit; do
        (for ((i = 100; i <= 120; ++i)); do "$vexcap" settings "${here[@]}" "$name=$i" || exit 1; done) &
        pids+=($!)
    done
    for pid in "${pids[@]}"; do wait "$pid" || fail "a value could not be stored"; done
    expect 0 settings "${here[@]}" --json BitRateScale TimeLimit SecPerKey
    json 'assert [(s["value"], s["stored"]) for s in lines] == [(120, True), (120, True), (4, False)], lines'
    expect 0 settings "${here[@]}" --json
    json 'assert {"AviCodec", "FileNameFomat", "CapturePath"} <= {s["name"] for s in lines}, lines
assert all(s["type"] == "setting" for s in lines), lines'

    expect 0 settings "${here[@]}" "CapturePath=$scratch/shots" DirSub=0
    records --device sim-fast "${here[@]}" --auto-name --frames 2
    [[ -e "shots/M 31 0001.ser" ]] || fail "not named as remembered: $(ls shots)"
    records --device sim-fast "${here[@]}" --auto-name --prefix y --directory other --frames 2
    [[ -e other/y0001.ser ]] || fail "not named as wished: $(ls other)"
    records --device sim-fast --no-settings --auto-name --directory plain --frames 2
    [[ $(ls plain) =~ ^[0-9]{12}\.ser$ ]] || fail "not named as usual: $(ls plain)"

    expect 0 settings "${here[@]}" FileNamePrefix= --default FileNameFormat --default BitRateScale
    expect 0 settings "${here[@]}" FileNamePrefix FileNameFomat BitRateScale
    [[ $(cat out) == $'\n0\n100' ]] || fail "not standard again"

    # What cannot be read is told, once, and standard values hold.
    expect 0 settings --settings damaged BitRateScale=150
    echo 'not TOML' >>damaged/SOFTWARE/vexcap/vexcap/vexcap.toml
    expect 0 settings --settings damaged BitRateScale
    [[ $(cat out) == 100 ]] || fail "not the standard value"
    [[ $(grep -c "vexcap: warning: Settings cannot be read, standard values hold: " err) -eq 1 ]] || fail "no warning"

    # Without a directory the user's are taken; without a user none can be kept.
    expect 0 settings BitRateScale
    [[ $(cat out) == 100 ]] || fail "the settings of another directory"
    local status=0
    env -u HOME -u XDG_CONFIG_HOME "$vexcap" settings BitRateScale=150 >out 2>err || status=$?
    [[ $status -eq 1 ]] || fail "status $status instead of 1"
    contains err "settings cannot be kept here"
}

case_verify() {
    local file
    records --device sim-fast --output a.ser --frames 40 --fps 100 --depth 12
    records --device sim-fast --output a.avi --frames 40 --fps 100
    expect 0 verify a.ser a.avi
    [[ $(grep -c "^  whole$" out) -eq 2 ]] || fail "not two whole files"
    contains out "640x480, 12 bits, mono"
    contains out "start"
    expect 0 verify --json a.ser a.avi
    json 'assert [(f["file"], f["frames"], f["whole"], f["exit"]) for f in lines] == [
    ("a.ser", 40, True, 0), ("a.avi", 40, True, 0)], lines
import calendar, time
assert abs(time.time() - calendar.timegm(time.strptime(lines[0]["start"][:19], "%Y-%m-%d %H:%M:%S"))) < 1000, lines[0]'

    cp a.ser cut.ser
    truncate -s -1000000 cut.ser
    expect 7 verify cut.ser
    contains out "the header promises 40 frames, the file holds 38"
    cp a.avi cut.avi
    truncate -s -1000000 cut.avi
    expect 7 verify --json cut.avi
    json 'assert lines[0]["exit"] == 7 and not lines[0]["whole"] and lines[0]["frames"] == 38, lines
assert any("ends beyond the file" in p for p in lines[0]["problems"]), lines
assert any("promises 40 frames, the file holds 38" in p for p in lines[0]["problems"]), lines'
    # One that is whole but for a single byte of its index.
    cp a.avi wrong.avi
    printf '\377' | dd of=wrong.avi bs=1 seek=$(($(stat -c %s wrong.avi) - 8)) conv=notrunc status=none
    expect 7 verify wrong.avi
    contains out "entry 40 of idx1 points at"

    # Each is looked at, and the worst decides.
    echo "no recording" >other.txt
    expect 1 verify a.ser missing.ser other.txt a.avi
    contains err "missing.ser: No such file or directory"
    contains err "other.txt is neither a SER nor an AVI file"
    [[ $(grep -c "^  whole$" out) -eq 2 ]] || fail "not two whole files"
    expect 7 verify --json cut.ser missing.ser
    json 'assert [f["exit"] for f in lines] == [7, 1] and lines[1]["file"] == "missing.ser", lines'
    expect 2 verify
}

# What other programs write is whole, too.
case_verify_others() {
    command -v ffmpeg >/dev/null || { echo "no ffmpeg here"; exit 77; }
    local format video=(-f lavfi -i testsrc=size=63x47:duration=1) sound=(-f lavfi -i sine=duration=1)
    local second=(-f lavfi -i testsrc2=size=32x32:duration=2)
    for format in bgr24 bgra pal8 yuv420p yuyv422 gray rgb555le; do
        ffmpeg -v error "${video[@]}" -c:v rawvideo -pix_fmt "$format" "$format.avi"
    done
    ffmpeg -v error "${video[@]}" "${sound[@]}" -c:v mjpeg -c:a pcm_s16le sound.avi
    ffmpeg -v error "${video[@]}" "${sound[@]}" "${second[@]}" -map 0 -map 1 -map 2 -c:v mpeg4 several.avi
    expect 0 verify ./*.avi
    [[ $(grep -c "^  whole$" out) -eq 9 ]] || fail "not nine whole files"
    [[ $(grep -c "^  also      audio" out) -eq 2 ]] || fail "the sound was not seen"
    # A pipe cannot be gone back in: sizes and counts are never filled in.
    ffmpeg -v error "${video[@]}" -c:v rawvideo -pix_fmt bgr24 -f avi - >piped.avi
    expect 7 verify piped.avi
    contains out "the recording was not closed: 25 whole frames can be found"
}

# Nobody closes the file of a process that is killed. What was recorded can be found all the same.
case_killed() {
    local file found seen
    for file in killed.avi killed.ser; do
        start_recording $file
        kill -KILL "$recorder"
        ended 2>/dev/null
        expect 7 verify $file
        contains out "the recording was not closed"
    done
    contains out "$(($(stat -c %s killed.ser) - 178)) bytes of frames lie behind it"
    expect 7 verify --json killed.avi
    found=$(json 'print(lines[0]["frames"])')
    ((found > 0)) || fail "no frames"
    command -v ffprobe >/dev/null || return 0
    seen=$(ffprobe -v error -count_frames -show_entries stream=nb_read_frames -of csv=p=0 killed.avi)
    [[ $seen -eq $found ]] || fail "ffprobe sees $seen frames, $found were found"
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

# A standard output that takes nothing is an error, but no end of a recording.
case_output() {
    local command status
    "$vexcap" record --device sim-fast --output seen.avi --frames 3 >/dev/null 2>&1 || true
    for command in devices "devices --json" codecs settings "formats --device sim-fast" "verify seen.avi" \
        "watch --device sim-fast" "play seen.avi" "snap --device sim-fast --output full.png --overwrite" --version; do
        if [[ $command == codecs || $command == play* ]] && ! "$vexcap" codecs >/dev/null 2>&1; then continue; fi
        status=0
        timeout 60 "$vexcap" $command >/dev/full 2>err || status=$?
        [[ $status -eq 1 ]] || fail "vexcap $command: status $status"
        contains err "the standard output cannot be written: No space left on device"
    done
    # A reader that goes away ends those that would go on for ever.
    status=0
    { timeout 60 "$vexcap" watch --device sim-fast --json 2>err || echo $? >status; } | head -n 1 >first
    [[ $(cat status) -eq 1 ]] || fail "watch ended with $(cat status)"
    status=0
    "$vexcap" record --device "sim-fast;fps=50" --output on.ser --seconds 2 --json >/dev/full 2>err || status=$?
    [[ $status -eq 0 || $status -eq 6 ]] || fail "status $status"
    contains err "the standard output cannot be written"
    [[ $(frames on.ser) -gt 20 ]] || fail "the recording was cut short"
}

# picture FILE: "WIDTHxHEIGHT BITS CHANNELS", as another program reads it.
picture() { identify -format '%wx%h %z %[channels]' "$1"; }

# coloured FILE COLOUR GEOMETRY: how many pixels of a part of the picture have exactly this colour.
coloured() {
    convert "$1" -crop "$3" +repage -alpha off -fill black +opaque "$2" -fill white -opaque "$2" \
        -format '%[fx:round(mean*w*h)]' info:
}

# Pictures of the deterministic camera differ in their noise alone; what is drawn has colours that a grey picture lacks.
case_snap() {
    command -v identify >/dev/null && command -v convert >/dev/null || { echo "no ImageMagick here"; exit 77; }
    local kind file
    for file in a.png a.bmp a.tif b.TIFF; do
        expect 0 snap --device sim-fast --output $file
        [[ $(cat out) == "$file: 640x480, 24 bits a pixel" ]] || fail "told something else"
        [[ $(picture $file) == "640x480 8 "*rgb ]] || fail "$file is $(picture $file)"
    done
    expect 0 snap --device sim-fast --output told.png --json --gain 150 --exposure 2000 --pixel-size 0.25
    json 'p, = lines
assert (p["type"], p["file"], p["width"], p["height"]) == ("picture", "told.png", 640, 480), p
assert (p["depth"], p["channels"], p["exposure"], p["gain"], p["pixelSize"]) == (24, 3, 2000, 150, 0.25), p'
    identify -verbose told.png >notes
    for kind in "Creation Time: 20" "Source: Simulated fast camera" "Exposure: 0.002 s" "Gain: 150 %" \
        "Software: vexcap " "Pixel Size: 0.25 um" "x_res=4000000, y_res=4000000, units=1" "png:tIME: 20"; do
        contains notes "$kind"
    done
    ! command -v pngcheck >/dev/null || pngcheck -q told.png || fail "pngcheck refuses it"
    expect 0 snap --device sim-fast --output told.tif --exposure 2000 --pixel-size 0.25
    if command -v tiffinfo >/dev/null; then
        tiffinfo told.tif >notes 2>&1
        for kind in "Resolution: 40000, 40000 pixels/cm" "Model: Simulated fast camera" "ExposureTime: 0.002" \
            "Software: vexcap " "DateTime: 20" "Pixel size: 0.25 um"; do
            contains notes "$kind"
        done
        ! grep -qi warning notes || fail "tiffinfo warns"
    fi

    # The sensor's samples: unshifted, and with the mosaic that recordings of the same camera have.
    expect 0 snap --device sim-fast --output raw8.tif --raw --quiet
    [[ ! -s out && $(picture raw8.tif) == "640x480 8 "*gray ]] || fail "raw8.tif is $(picture raw8.tif)"
    expect 0 snap --device sim-fast --output raw12.png --raw --depth 12 --roi 32,16,320,200 --gain 400
    [[ $(cat out) == "raw12.png: 320x200, 12 bits" ]] || fail "told something else"
    [[ $(picture raw12.png) == "320x200 16 "*gray ]] || fail "raw12.png is $(picture raw12.png)"
    [[ $(identify -format '%[fx:maxima*65535<=4095&&maxima*65535>255]' raw12.png) == 1 ]] || fail "samples were shifted"
    contains <(identify -verbose raw12.png) "Bits per Sample: 12"
    expect 0 snap --device sim-microscope --output mosaic.png --raw --format 648x486
    contains out "8 bits, GRBG"
    expect 0 snap --device sim-microscope --output deep.tif --deep --format 648x486
    [[ $(cat out) == "deep.tif: 648x486, 36 bits a pixel" ]] || fail "told something else"
    [[ $(picture deep.tif) == "648x486 16 "*rgb ]] || fail "deep.tif is $(picture deep.tif)"
    # Red tissue is brown in both pictures: colours stand in the same order, and rows, too.
    expect 0 snap --device sim-microscope --output plain.png --format 648x486
    convert deep.tif -evaluate multiply 16 -depth 8 deep.png
    [[ $(compare -metric RMSE plain.png deep.png null: 2>&1 | sed 's/.*(0*\(.*\))/0\1/' |
        awk '{ print ($1 < 0.1) }') == 1 ]] || fail "the deep picture is another one"
    convert mosaic.png -resize 50% mosaic-small.png
    convert plain.png -colorspace gray -resize 50% plain-small.png
    [[ $(compare -metric NCC plain-small.png mosaic-small.png null: 2>&1 | awk '{ print ($1 > 0.8) }') == 1 ]] ||
        fail "the raw picture is another one"

    expect 0 formats --device sim-microscope --stills
    [[ $(wc -l <out) -eq 3 ]] || fail "not three sizes of stills"
    expect 0 formats --device sim-fast --stills
    [[ ! -s out ]] || fail "stills of a camera without them"
    expect 0 snap --device sim-microscope --output still.png --still 2 --format 1
    [[ $(cat out) == "still.png: 648x486, 24 bits a pixel" ]] || fail "told something else"
    [[ $(picture still.png) == "648x486 8 "*rgb ]] || fail "still.png is $(picture still.png)"
    expect 2 snap --device sim-microscope --output no.png --still 3
    contains err " 2         648x486"
    expect 2 snap --device sim-fast --output no.png --still 0
    contains err "takes no stills"

    expect 2 snap --device sim-fast --output no.png --raw --date
    contains err "nothing is drawn over the samples"
    expect 2 snap --device sim-fast --output no.bmp --deep
    expect 2 snap --device "sim-fast;depth=8" --output no.png --deep
    contains err "has no samples of more than 8 bits"
    expect 2 snap --device "@device:v4l2:usb#none" --output no.png --raw
    contains err "--raw is for cameras"
    expect 3 snap --device nobody --output no.png
    expect 4 snap --device "sim-fast;fps=100;drop-after=1" --output no.png
    echo mine >mine.png
    expect 2 snap --device sim-fast --output mine.png
    [[ $(cat mine.png) == mine ]] || fail "the file was touched"
    expect 0 snap --device sim-fast --output mine.png --overwrite
    [[ $(picture mine.png) == "640x480 8 "*rgb ]] || fail "not replaced"
    [[ -z $(find . -name 'no.*' -o -name '*.part') ]] || fail "a refused picture left a file"
    unshare --mount true 2>/dev/null || return 0
    mkdir disk
    unshare --mount bash -c '
        mount -t tmpfs -o size=300k none disk
        echo mine >disk/full.bmp
        status=0
        "$0" snap --device sim-fast --output disk/full.bmp --overwrite >out 2>err || status=$?
        echo $status "$(ls -A disk)" "$(cat disk/full.bmp)" >status' "$vexcap"
    [[ $(cat status) == "5 full.bmp mine" ]] || fail "a full disk left $(cat status)"
}

case_view() {
    command -v identify >/dev/null && command -v convert >/dev/null || { echo "no ImageMagick here"; exit 77; }
    expect 0 view --device sim-fast --snapshot plain.png
    [[ $(cat out) == "plain.png: 640x480, 24 bits a pixel" ]] || fail "told something else"
    [[ $(identify -format '%[fx:mean>0.1&&standard_deviation>0.01]' plain.png) == 1 ]] || fail "an empty paint"
    [[ $(coloured plain.png red 640x480+0+0) -eq 0 ]] || fail "something is drawn without a wish"
    # A preview that is half as wide: a marker of half the picture's size, and a bar of half its length.
    expect 0 view --device sim-fast --snapshot half.png --size 320x240 --marker cross --marker-size 50 \
        --scale-bar 50 --pixel-size 0.5 --text-colour 00FF00
    [[ $(picture half.png) == "320x240 8 "*rgb ]] || fail "half.png is $(picture half.png)"
    [[ $(coloured half.png red 320x240+0+0) -eq $((160 + 120 - 1)) ]] || fail "no cross"
    [[ $(coloured half.png red 320x1+0+120) -eq 160 ]] || fail "no horizontal line"
    ! { [[ $(coloured half.png '#00FF00' 160x120+160+120) -lt 100 ]]; } || fail "no scale bar"
    # A pixel of the half as wide paint shows twice as much.
    expect 0 view --device sim-fast --snapshot half.png --overwrite --size 320x240 --pixel-size 0.5 --json
    json 'assert lines[-1]["pixelSize"] == 1, lines'
    # Tick marks in micrometres shrink with it, those in pixels do not.
    local spacing marks
    for spacing in 10um 20; do
        expect 0 view --device sim-fast --snapshot ticks.png --overwrite --size 320x240 --pixel-size 0.25 \
            --marker cross --marker-size 50 --ticks $spacing
        marks=$(coloured ticks.png red 78x1+162+118)
        [[ $marks -eq 3 ]] || fail "$marks tick marks every $spacing"
    done
    expect 4 view --device "sim-fast;fps=100;drop-after=1" --snapshot no.png
    expect 2 view --device sim-fast --snapshot plain.png
    [[ ! -e no.png ]] || fail "a paint without a picture"
}

case_overlay() {
    command -v convert >/dev/null || { echo "no ImageMagick here"; exit 77; }
    # A corner each: the texts at the bottom right, the watermark at the top left, the marker in the middle.
    local drawing=(--date --scale-bar 50 --pixel-size 0.5 --power 40x --contrast --text-colour 00FF00 --marker circle
        --marker-size 10 --marker-colour FF00FF)
    expect 0 snap --device sim-fast --output plain.png
    expect 0 snap --device sim-fast --output drawn.png "${drawing[@]}"
    drawn_over drawn.png
    undrawn plain.png
    expect 0 snap --device sim-fast --output corner.png --date --text-colour 00FF00 --corner top-left --plate black
    [[ $(coloured corner.png '#00FF00' 320x60+0+0) -gt 200 && $(coloured corner.png black 320x60+0+0) -gt 2000 ]] ||
        fail "no date in its corner"
    # The bar alone, without a text for below it: 100 pixels between its ends.
    expect 0 snap --device sim-fast --output bar.png --scale-bar 50 --pixel-size 0.5 --text-colour 00FF00
    [[ $(coloured bar.png '#00FF00' 640x480+0+0) -gt 500 ]] || fail "no scale bar"
    convert bar.png -alpha off -fill black +opaque '#00FF00' -trim -format '%w' info: >width
    [[ $(cat width) -ge 100 && $(cat width) -le 112 ]] || fail "a bar of $(cat width) pixels"
    expect 2 snap --device sim-fast --output no.png --scale-bar 500 --pixel-size 0.5
    contains err "a scale bar of 500 µm has no room in a picture that is 640 pixels wide, which shows 320 µm"
    expect 2 snap --device sim-fast --output no.png --marker circle --marker-size 100
    contains err "the circle has no room in the picture"
    expect 0 snap --device sim-fast --output cut.png --roi 32,16,128,96 --date
    contains err "the texts have no room in a picture of 128x96"

    # Without a font a picture is not made without its texts.
    echo '<fontconfig></fontconfig>' >fonts.conf
    FONTCONFIG_FILE=$scratch/fonts.conf expect 9 snap --device sim-fast --output no.png --date
    contains err "vexcap: warning: Texts cannot be drawn: no font is installed"
    contains err "texts cannot be drawn"
    FONTCONFIG_FILE=$scratch/fonts.conf expect 0 snap --device sim-fast --output shapes.png --marker cross

    # Nothing of it is remembered, neither the wishes of a command line nor the other way round.
    expect 0 snap --device sim-fast --output again.png
    undrawn again.png
    ! grep -rqs eMarkerGeo config || fail "the overlay was remembered"

    # Red at the top left, moved by 10, 20, and half of it seen through.
    convert -size 40x30 xc:red red.png
    expect 0 snap --device sim-fast --output marked.png --watermark red.png --offset 10,20
    [[ $(coloured marked.png red 40x30+10+20) -eq 1200 && $(coloured marked.png red 640x480+0+0) -eq 1200 ]] ||
        fail "the watermark is somewhere else"
    expect 0 snap --device sim-fast --output turned.png --watermark red.png --rotate 90
    [[ $(coloured turned.png red 30x40+0+0) -eq 1200 ]] || fail "the watermark is not turned"
    expect 0 snap --device sim-fast --output faint.png --watermark red.png --alpha 100
    undrawn faint.png
    expect 1 snap --device sim-fast --output no.png --watermark missing.png
    contains err "missing.png: No such file or directory"

    records --device sim-fast --output drawn.avi --frames 3 --fps 20 "${drawing[@]}" --watermark red.png
    records --device sim-fast --output plain.avi --frames 3 --fps 20
    expect 2 record --device sim-fast --output no.ser --frames 2 --date
    contains err "raw frames of a SER file"
    expect 2 record --device sim-fast --output no.avi --frames 2 --codec mjpeg --watermark red.png
    expect 2 record --device "@device:v4l2:usb#none" --output no.avi --frames 2 --watermark red.png
    contains err "has no watermark"
    [[ -z $(find . -name 'no.*') ]] || fail "a refused overlay left a file"
    command -v ffmpeg >/dev/null || return 0
    for file in drawn plain; do ffmpeg -v error -i $file.avi "$file-%d.png"; done
    for file in drawn-1.png drawn-3.png; do
        drawn_over $file
        [[ $(coloured $file red 40x30+0+0) -eq 1200 ]] || fail "no watermark in the recording"
    done
    undrawn plain-3.png
    "$vexcap" codecs >/dev/null 2>&1 || return 0
    records --device sim-fast --output packed.avi --frames 5 --codec mjpeg --fps 20 "${drawing[@]}"
    ffmpeg -v error -i packed.avi -frames:v 1 packed.png
    # Compression blurs colours: something much greener than grey is there.
    [[ $(convert packed.png -crop 320x240+320+240 +repage -channel R -separate r.png
        convert packed.png -crop 320x240+320+240 +repage -channel G -separate g.png
        convert g.png r.png -compose minus_src -composite -format '%[fx:maxima>0.3]' info:) == 1 ]] ||
        fail "nothing drawn into a compressed recording"
}

# drawn_over FILE: texts at the bottom right and a circle round the middle are there.
drawn_over() {
    [[ $(coloured "$1" '#00FF00' 320x240+320+240) -gt 800 ]] || fail "no texts in $1"
    [[ $(coloured "$1" '#FF00FF' 140x140+250+170) -gt 250 ]] || fail "no circle in $1"
}

undrawn() {
    local colour
    for colour in '#00FF00' '#FF00FF' red yellow blue; do
        [[ $(coloured "$1" $colour 640x480+0+0) -eq 0 ]] || fail "$colour in $1"
    done
}

"case_$2"
