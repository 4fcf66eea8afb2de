#!/usr/bin/env bash
# Renders the five built-in sounds into resources/sounds/ from the scores in scripts/sounds/compose.py.
# The rendered files are committed, so a build never needs this script or its tools; run it only after
# changing a score. Needs: python3, fluidsynth with fluid-soundfont-gm, sox, lame (all Debian packages).
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
out="$root/resources/sounds"
font=/usr/share/sounds/sf2/FluidR3_GM.sf2
rate=44100
max_seconds=2.8
# Every sound is brought to the same loudness: the RMS of its first second (the part a listener
# notices) is set to this level, unless that would push its peak above the ceiling.
target_rms_db=-18
ceiling_db=-1.5

for tool in python3 fluidsynth sox lame; do
    command -v "$tool" >/dev/null || { echo "make-sounds: $tool is missing" >&2; exit 1; }
done
[ -f "$font" ] || { echo "make-sounds: $font is missing (apt-get install fluid-soundfont-gm)" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
python3 "$root/scripts/sounds/compose.py" "$work"

stat_value() { # file, label of a sox stat line
    sox "$1" -n stat 2>&1 | awk -F: -v key="$2" '$1 ~ key { gsub(/ /, "", $2); print $2 }'
}

render() { # score name, output file name, extra sox effects...
    local score=$1 name=$2
    shift 2
    fluidsynth -q -n -i -F "$work/$score.raw.wav" -r "$rate" -g 0.8 "$font" "$work/$score.mid" >/dev/null
    # Mono, no leading silence, at most max_seconds with a short fade so nothing is cut off hard.
    sox "$work/$score.raw.wav" "$work/$score.shaped.wav" remix - silence 1 0.002 0.5% \
        trim 0 "$max_seconds" fade 0.003 "$max_seconds" 0.4 "$@"
    local first_second="$work/$score.first.wav"
    sox -V1 "$work/$score.shaped.wav" "$first_second" trim 0 1
    local rms peak gain
    rms=$(stat_value "$first_second" "RMS     amplitude")
    peak=$(stat_value "$work/$score.shaped.wav" "Maximum amplitude")
    gain=$(python3 -c "import math; r, p = $rms, $peak
g = $target_rms_db - 20 * math.log10(r)
print(round(min(g, $ceiling_db - 20 * math.log10(p)), 2))")
    sox "$work/$score.shaped.wav" "$work/$score.wav" gain "$gain"
    case "$name" in
    *.mp3) lame --quiet -m m -b 64 --resample 44.1 "$work/$score.wav" "$out/$name" ;;
    *.wav) sox "$work/$score.wav" -b 16 "$out/$name" ;;
    esac
}

mkdir -p "$out"
render left-coast-piano "Left Coast Piano.mp3"
render piano-1 "Piano 1.mp3"
render school-bell "School Bell.mp3"
render harp-compound "Harp Compound.mp3"
# The click is over in a fraction of a second; a mono 22 kHz WAV keeps it tiny.
render click-tin "click_tin.wav" trim 0 0.35 fade 0 0.35 0.1 rate 22050

for file in "$out"/*.mp3 "$out"/*.wav; do
    printf '%-22s %6s bytes  ' "$(basename "$file")" "$(stat -c %s "$file")"
    sox "$file" -n stat 2>&1 | awk -F: '/Length|Maximum amplitude|RMS     amplitude/ { gsub(/ +/, " "); printf "%s:%s  ", $1, $2 } END { print "" }'
done
