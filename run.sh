#!/usr/bin/env bash
# Installs what is missing, builds, records ten seconds from each of two cameras made of software and a short AVI, and
# takes a picture.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

tools/packages.sh build demo
cmake --preset release -B build/run -DVEXCAP_TESTS=OFF -DVEXCAP_BENCHES=OFF --log-level=WARNING
cmake --build build/run

mkdir -p recordings
stamp=$(date +%Y%m%d-%H%M%S)
vexcap=build/run/bin/vexcap
files=()

# Status 6 tells of lost frames: the recording is there, and its summary says so.
record() {
    local file=$1 status=0
    shift
    "$@" --output "$file" || status=$?
    case $status in
        0 | 6) files+=("$file") ;;
        77) echo "Skipped: no GigE recording on this machine." ;;
        *) exit "$status" ;;
    esac
    echo
}

echo
"$vexcap" devices
echo
record "recordings/planet-$stamp.ser" "$vexcap" record --device sim-planet --roi 648,308,640,480 --fps 60 \
    --seconds 10
record "recordings/gige-$stamp.ser" tools/with_gige_camera.sh "$vexcap" record --gige=127.0.0.1 \
    --device Fake --roi 768,768,512,512 --fps 25 --seconds 10
record "recordings/cell-$stamp.avi" "$vexcap" record --device sim-microscope --roi 320,240,640,480 --fps 30 --seconds 3
"$vexcap" verify "${files[@]}"

echo
picture=recordings/cell-$stamp.png
"$vexcap" snap --device sim-microscope --format 1296x972 --output "$picture" --scale-bar 50 --pixel-size 0.5 --date

echo
echo "Recorded to $PWD/recordings:"
for file in "${files[@]}"; do
    echo "  siril $file"
    [[ $file == *.avi ]] || echo "  ser-player $file"
    echo "  ffprobe -hide_banner $file"
done
echo "  identify -verbose $picture"
