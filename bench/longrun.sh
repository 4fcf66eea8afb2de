#!/usr/bin/env bash
# The long run: the real application counting for a long time on a private X server (Xvfb + openbox) and a
# private PulseAudio null sink, in a home of its own. The countdown runs into overtime with a reminder every
# second, so a sound plays every second; the preferences window is opened from the panel's context menu and
# its drop-shadow switch flipped (Alt+D, its keyboard shortcut) CHANGES times over the run, as a presenter would; the process's resident
# memory (VmRSS) and the sink's loudness are sampled every minute. It measures and checks that the
# application is alive and that every change reached the settings file; it passes no memory target.
#
#   bench/longrun.sh [--minutes N] [--changes N] [--display :N] [--out DIR] [BINARY]
#
# BINARY defaults to build/default/bin/brevlin; --display picks the X display number (a free one is taken
# otherwise); DIR (default build/longrun) receives samples.csv, changes.log and the application's log.
# Exit code 0 when the application lived through the run, every change was seen on disk and it quit with 0.
set -u

here=$(cd "$(dirname "$0")" && pwd)

usage() {
    echo "usage: $0 [--minutes N] [--changes N] [--display :N] [--out DIR] [BINARY]" >&2
    exit 2
}

minutes=30 changes=200 display="" out="$here/../build/longrun" app="$here/../build/default/bin/brevlin"
args=("$@")
while [ $# -gt 0 ]; do
    case "$1" in
    --minutes) [ $# -ge 2 ] || usage; minutes=$2; shift ;;
    --changes) [ $# -ge 2 ] || usage; changes=$2; shift ;;
    --display) [ $# -ge 2 ] || usage; display=":${2#:}"; shift ;;
    --out) [ $# -ge 2 ] || usage; out=$2; shift ;;
    -*) usage ;;
    *) app=$1 ;;
    esac
    shift
done
[[ "$minutes" =~ ^[1-9][0-9]*$ ]] || { echo "longrun: --minutes must be >= 1" >&2; exit 2; }
[[ "$changes" =~ ^[0-9]+$ ]] || { echo "longrun: --changes must be a number" >&2; exit 2; }
[ -x "$app" ] || { echo "longrun: no executable at $app" >&2; exit 2; }
app=$(realpath "$app")
mkdir -p "$out"
out=$(realpath "$out")

# Once more inside a home of its own with its own PulseAudio daemon (the tests' wrapper); the X server is
# started below, on the display asked for.
if [ -z "${BREVLIN_LONGRUN_INSIDE:-}" ]; then
    BREVLIN_LONGRUN_INSIDE=1 exec "$here/../tests/support/isolated-run.sh" --pulse -- "$0" "${args[@]}" --out "$out" "$app"
fi

for tool in Xvfb openbox xdotool xprop wmctrl parec pactl sox python3 import; do
    command -v "$tool" >/dev/null || { echo "longrun: $tool is missing" >&2; exit 1; }
done

say() { echo "longrun $(date -u +%H:%M:%S): $*" | tee -a "$out/changes.log" >&2; }
: >"$out/changes.log"

work=$(mktemp -d "${TMPDIR:-/tmp}/brevlin-longrun.XXXXXX")
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null; done
    for pid in "${pids[@]}"; do wait "$pid" 2>/dev/null; done
    rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 143' TERM INT

# shellcheck source=SCRIPTDIR/../scripts/wait-for.sh
. "$here/../scripts/wait-for.sh"

# shellcheck source=SCRIPTDIR/../scripts/virtual-display.sh
. "$here/../scripts/virtual-display.sh"
BREVLIN_WM=openbox start_virtual_display "$work" "$display" || exit 1
export QT_QPA_PLATFORM=xcb

# Sounds on, overtime on, a reminder every second.
conf="$XDG_CONFIG_HOME/Brevlin/Brevlin.conf"
mkdir -p "$(dirname "$conf")"
printf '%s\n' '[General]' 'PlaySound=true' 'ContinueCountdown=true' 'PlayReminderSound=true' \
    'RemindEveryInterval=0:0:1' 'DropShadow=true' >"$conf"

"$app" >"$out/app.log" 2>&1 &
app_pid=$!
pids+=("$app_pid")
panel=""
for _ in $(seq 100); do
    panel=$(xdotool search --onlyvisible --class brevlin 2>/dev/null | head -n1)
    [ -n "$panel" ] && break
    sleep 0.1
done
[ -n "$panel" ] || { say "the panel did not show"; exit 1; }
sleep 1.5

# Five seconds, typed and started with Return; then overtime with its reminders for the rest of the run.
xdotool mousemove --window "$panel" 110 60 click 1
sleep 0.3
xdotool key ctrl+a type 0:0:5
xdotool key Return

# Resident memory in all, and its two parts: anonymous (the heap and stacks, the process's own) and file
# pages (code and data of the libraries and fonts it maps, shared with other processes and reclaimable).
rss() {
    awk '/^VmRSS:/ {v = $2} /^RssAnon:/ {a = $2} /^RssFile:/ {f = $2} END {printf "%s,%s,%s", v, a, f}' \
        "/proc/$app_pid/status" 2>/dev/null
}
# The sink's RMS amplitude over two seconds of recording (above zero while sounds play), and how many
# seconds were recorded. Two seconds of data, not of wall clock: the recorder can take seconds to connect
# when the machine is busy, and a timed window would then catch only a moment between two reminders. A short
# latency, as the tests' recorder asks: with the server's default the monitor's data came in fragments and
# out of time, and a reminder every second was heard irregularly or not at all.
loudness() {
    timeout 10 parec --device="$BREVLIN_TEST_SINK_MONITOR" --format=s16le --rate=44100 --channels=2 \
        --latency-msec=20 2>/dev/null |
        head -c $((2 * 44100 * 2 * 2)) >"$work/sink.raw"
    sox -t raw -r 44100 -e signed -b 16 -c 2 "$work/sink.raw" -n stat 2>&1 |
        awk '/^Length/ {len = $3} /RMS +amplitude/ {rms = $3} END {printf "%s,%s", rms, len}'
}
# Sounds begun in the recording: rising edges of 10 ms windows louder than a hundredth of full scale.
onsets() {
    python3 -c '
import sys, array, math
s = array.array("h", open(sys.argv[1], "rb").read())
w, loud, n = 882, False, 0
for i in range(0, len(s) - w + 1, w):
    l = math.sqrt(sum(x * x for x in s[i:i + w]) / w) / 32768 > 0.01
    n += l and not loud
    loud = l
print(n)' "$work/sink.raw"
}
# The streams the application has open on the sound server, and the volume of each.
sink_inputs() { pactl list sink-inputs 2>/dev/null | awk '/^[[:space:]]*Volume:/ {printf "%s ", $5} END {print ""}'; }
drop_shadow() { sed -n 's/^DropShadow=//p' "$conf"; }

# One change as a presenter makes it: the menu's first entry opens the preferences, the drop-shadow
# switch's shortcut flips it, the window is closed. True when the file holds the flipped value.
change_once() {
    local before prefs x
    before=$(drop_shadow)
    xdotool mousemove --window "$panel" 8 8 click 3
    sleep 0.6
    xdotool key Down Return
    prefs=""
    for _ in $(seq 50); do
        prefs=$(xdotool search --onlyvisible --name '^Preferences' 2>/dev/null | head -n1)
        [ -n "$prefs" ] && break
        sleep 0.1
    done
    [ -n "$prefs" ] || return 1
    sleep 0.4
    xdotool windowactivate --sync "$prefs" key alt+d
    sleep 0.5
    wmctrl -i -c "$prefs"
    sleep 0.3
    x=$(drop_shadow)
    [ -n "$x" ] && [ "$x" != "$before" ]
}

echo "minute,vmrss_kb,rss_anon_kb,rss_file_kb,changes_seen,changes_missed,sink_rms,sink_seconds,sink_onsets" >"$out/samples.csv"
start=$(date +%s)
total=$((minutes * 60))
done_changes=0 missed=0 next_sample=0 minute=0
say "pid $app_pid, $minutes minutes, $changes changes, display $DISPLAY"
while :; do
    now=$(($(date +%s) - start))
    kill -0 "$app_pid" 2>/dev/null || { say "the application ended at ${now}s"; exit 1; }
    if [ "$now" -ge "$next_sample" ]; then
        echo "$minute,$(rss),$done_changes,$missed,$(loudness),$(onsets)" >>"$out/samples.csv"
        say "minute $minute: $(tail -n1 "$out/samples.csv")"
        # What could make the reminders sound different: the stored sound settings, the open streams and
        # their volumes, and what the panel shows.
        say "  settings: $(grep -E '^(PlaySound|PlayReminderSound|RemindEveryInterval|Selected|SoundFiles)' "$conf" | tr '\n' ' ')"
        say "  streams (volume each): $(sink_inputs)"
        import -window "$panel" "$out/panel-$minute.png" 2>/dev/null
        minute=$((minute + 1))
        next_sample=$((minute * 60))
    fi
    [ "$now" -ge "$total" ] && break
    # Changes spread evenly over the run.
    if [ "$((done_changes + missed))" -lt "$changes" ] &&
        [ "$now" -ge "$(((done_changes + missed) * total / changes))" ]; then
        if change_once; then
            done_changes=$((done_changes + 1))
        else
            missed=$((missed + 1))
            say "change $((done_changes + missed)) not seen in the settings file"
            import -window root "$out/missed-$missed.png" 2>/dev/null
        fi
    fi
    sleep 0.5
done

kill -TERM "$app_pid"
wait "$app_pid"
code=$?
kept=()
for pid in "${pids[@]}"; do [ "$pid" = "$app_pid" ] || kept+=("$pid"); done
pids=("${kept[@]}")
say "quit by SIGTERM, exit code $code; $done_changes changes seen, $missed missed"
awk -F, 'NR > 1 && $2 != "" {
        if (n == 0) first = $2
        last = $2; n++
        if (min == "" || $2 < min) min = $2
        if ($2 > max) max = $2
    }
    END { printf "VmRSS kB: first %d, last %d, min %d, max %d (%d samples)\n", first, last, min, max, n }' \
    "$out/samples.csv" | tee -a "$out/changes.log"
[ "$code" = 0 ] && [ "$missed" = 0 ] && [ "$done_changes" = "$changes" ]
