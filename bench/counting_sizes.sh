#!/usr/bin/env bash
# What a countdown costs at three panel sizes, on a private Xvfb large enough for a 4K panel
# (3840x2160x24, no window manager: the panel is override-redirect and places itself). For each size:
# launch, resize the panel (xdotool windowmove/windowsize), start a countdown from 1:0:0 the presenter's
# way (a click into the time, Ctrl+A, typing, Return), wait 2 s, then for SECONDS measure
#   - CPU: utime + stime of the process from /proc/PID/stat, as a percentage of one core;
#   - wake-ups: voluntary context switches of all its threads per second (a thread that blocks and is
#     woken again counts one), from /proc/PID/task/*/status;
#   - tick lateness at the X server: a second client (frame_watch) records when each frame of the panel
#     reaches the server (Damage), whole: when the last of its digits has arrived; frame k is due k
#     seconds after the first one, its lateness is when it was whole minus that. Jitter = p99 - median,
#     drift = the last frame's lateness - the first's.
# Then measures the drag-resize cost: 40 resize steps of the panel through xdotool, each one re-laying
# the panel out and handing the keyboard back; CPU time of the process divided by the steps.
# Appends JSON lines to OUT_JSONL (see process_metrics.sh); beside it, each size's frames
# (frames-LABEL-SIZE.tsv: first damage, last damage, lateness, in ms) and closing screenshot.
#
#   bench/counting_sizes.sh BUILD_DIR OUT_JSONL [--seconds N] [--display :N] [--brevlin PATH --label NAME]
#                           [--long] [--from H:M:S] [--signals warnings|flash|plain]
#
# --long runs 3840x2160 alone, reported as size "3840x2160-long" and without the drag: for a drift run of
# many minutes (--seconds 600), whose last pictures are kept: six screenshots half a second apart, so
# that two builds run side by side have a pair showing the same second.
# --from starts the countdown at another time than 1:0:0 (an hour's run needs more than an hour).
# --signals runs 3840x2160 alone like --long, reported as size "3840x2160-NAME", with the panel's signals
# set in the settings file first: "warnings" turns on the colours near the end with thresholds at 0:0:45
# and 0:0:15 (both crossed in a last minute, --from 0:1:0); "flash" turns on the flash at zero and the
# overtime colours with a reminder every 10 s (a minute of overtime, --from 0:0:2); "plain" sets nothing,
# the same run as it was before these settings existed.
# --display uses that display number for the private server (default: the first free one);
# --brevlin measures another build (for example the one before a change) under the subject NAME.
set -u
usage() {
    echo "usage: $0 BUILD_DIR OUT_JSONL [--seconds N] [--display :N] [--brevlin PATH --label NAME] [--long] [--from H:M:S] [--signals warnings|flash|plain]" >&2
    exit 2
}
[ $# -ge 2 ] || usage
build_dir=$1 out=$2
shift 2
seconds=30 display="" brevlin="" label=brevlin long=0 from=1:0:0 signals=""
while [ $# -gt 0 ]; do
    case "$1" in
    --seconds) seconds=$2; shift ;;
    --display) display=$2; shift ;;
    --brevlin) brevlin=$2; shift ;;
    --label) label=$2; shift ;;
    --long) long=1 ;;
    --from) from=$2; shift ;;
    --signals) signals=$2; long=1; shift ;;
    *) usage ;;
    esac
    shift
done
say() { echo "counting_sizes: $*" >&2; }
case "$signals" in
"") ;;
warnings) signal_settings=$'ChangeColorsNearEnd=true\nWarnAt=0:0:45\nFinalAt=0:0:15' ;;
flash) signal_settings=$'FlashAtZero=true\nOvertimeColors=true\nRemindEveryInterval=0:0:10' ;;
plain) signal_settings="" ;;
*) usage ;;
esac
[[ "$from" =~ ^([0-9]+):([0-9]+):([0-9]+)$ ]] || usage
# What the store keeps of the typed time: two digits a field.
stored=$(printf '%02d:%02d:%02d' "$((10#${BASH_REMATCH[1]}))" "$((10#${BASH_REMATCH[2]}))" "$((10#${BASH_REMATCH[3]}))")
[ -n "$brevlin" ] || brevlin="$build_dir/bin/brevlin"
watch="$build_dir/bin/frame_watch"
[ -x "$brevlin" ] || { say "no $brevlin"; exit 1; }
[ -x "$watch" ] || { say "no $watch (libxcb-damage0-dev: make bench installs it)"; exit 1; }
out=$(realpath "$out")

root=$(mktemp -d "${TMPDIR:-/tmp}/brevlin-sizes.XXXXXX")
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null; done
    wait 2>/dev/null
    rm -rf "$root"
}
trap cleanup EXIT
trap 'exit 143' TERM INT

if [ -n "$display" ]; then
    Xvfb "$display" -screen 0 3840x2160x24 -br -nolisten tcp -noreset >"$root/xvfb.log" 2>&1 &
    pids+=($!)
else
    Xvfb -displayfd 3 -screen 0 3840x2160x24 -br -nolisten tcp -noreset 3>"$root/displayfd" >"$root/xvfb.log" 2>&1 &
    pids+=($!)
    for _ in $(seq 200); do
        [ -s "$root/displayfd" ] && break
        sleep 0.05
    done
    display=":$(head -n1 "$root/displayfd")"
fi
export DISPLAY=$display
for _ in $(seq 100); do
    xdpyinfo >/dev/null 2>&1 && break
    sleep 0.05
done
export LC_ALL=C.UTF-8 LANG=C.UTF-8 QT_QPA_PLATFORM=xcb
unset WAYLAND_DISPLAY SESSION_MANAGER DBUS_SESSION_BUS_ADDRESS QT_XCB_NO_MITSHM
clock_ticks=$(getconf CLK_TCK)

cpu_ticks() {
    local stat
    stat=$(cat "/proc/$1/stat" 2>/dev/null) || return 1
    stat=${stat##*) }
    # shellcheck disable=SC2086 # split into its fields on purpose
    set -- $stat
    echo $((${12} + ${13}))
}
sched_ns() { cat /proc/"$1"/task/*/schedstat 2>/dev/null | awk '{ s += $1 } END { printf "%.0f", s }'; }
switches() { cat /proc/"$1"/task/*/status 2>/dev/null | awk '/^voluntary_ctxt_switches/ { s += $2 } END { print s + 0 }'; }
emit() { # metric value unit detail size
    printf '{"metric": "%s", "subject": "%s", "value": %s, "unit": "%s", "size": "%s", "detail": "%s"}\n' \
        "$1" "$label" "$2" "$3" "$5" "${4//\"/\'}" >>"$out"
}

run_size() { # width height
    local w=$1 h=$2 home="$root/home-$1x$2"
    mkdir -p "$home/.config" "$home/.local/share" "$home/.cache" "$root/runtime"
    chmod 700 "$root/runtime"
    if [ -n "$signals" ]; then
        mkdir -p "$home/.config/Brevlin"
        printf '[General]\n%s\n' "$signal_settings" >"$home/.config/Brevlin/Brevlin.conf"
    fi
    env HOME="$home" XDG_CONFIG_HOME="$home/.config" XDG_DATA_HOME="$home/.local/share" \
        XDG_CACHE_HOME="$home/.cache" XDG_RUNTIME_DIR="$root/runtime" "$brevlin" >"$root/brevlin-$w.log" 2>&1 &
    local pid=$!
    pids+=("$pid")
    local win=""
    for _ in $(seq 100); do
        win=$(xdotool search --pid "$pid" 2>/dev/null | head -n1)
        [ -n "$win" ] && break
        sleep 0.1
    done
    [ -n "$win" ] || { say "$label at ${w}x$h: no window"; kill "$pid"; return 1; }
    sleep 1
    xdotool windowmove "$win" 0 0 windowsize "$win" "$w" "$h"
    sleep 1
    local conf="$home/.config/Brevlin/Brevlin.conf"
    xdotool mousemove --window "$win" $((w * 2 / 5)) $((h / 2)) click 1
    sleep 0.3
    xdotool key ctrl+a type "$from"
    xdotool key Return
    for _ in $(seq 50); do
        grep -qx "BRVCountdownTime=$stored" "$conf" 2>/dev/null && break
        sleep 0.1
    done
    grep -qx "BRVCountdownTime=$stored" "$conf" 2>/dev/null || {
        say "$label at ${w}x$h: the countdown did not start"
        kill "$pid"
        return 1
    }
    # The pointer leaves the panel, as a presenter's does.
    xdotool mousemove 3839 2159
    sleep 2
    "$watch" "$win" "$seconds" >"$root/frames-$w.txt" &
    local watcher=$!
    local t0 s0 c0 t1 s1 c1
    local n0 n1
    t0=$EPOCHREALTIME c0=$(cpu_ticks "$pid") s0=$(switches "$pid") n0=$(sched_ns "$pid")
    wait "$watcher"
    t1=$EPOCHREALTIME c1=$(cpu_ticks "$pid") s1=$(switches "$pid") n1=$(sched_ns "$pid")
    local size="${w}x$h"
    [ "$long" = 1 ] && size="${w}x$h-long"
    [ -n "$signals" ] && size="${w}x$h-$signals"
    awk -v c="$((c1 - c0))" -v hz="$clock_ticks" -v a="$t0" -v b="$t1" 'BEGIN { printf "%.4f\n", c / hz / (b - a) * 100 }' >"$root/cpu"
    emit cpu_counting_pct "$(cat "$root/cpu")" % \
        "$((c1 - c0)) ticks of 1/$clock_ticks s in ${seconds} s of counting at $size (utime+stime); scheduler time $(awk -v n="$((n1 - n0))" -v a="$t0" -v b="$t1" 'BEGIN { printf "%.1f ms = %.4f %%", n / 1e6, n / 1e9 / (b - a) * 100 }'); load $(cut -d' ' -f1-3 /proc/loadavg)" "$size"
    emit wakeups_per_s "$(awk -v s="$((s1 - s0))" -v a="$t0" -v b="$t1" 'BEGIN { printf "%.2f", s / (b - a) }')" /s \
        "$((s1 - s0)) voluntary context switches of all threads in ${seconds} s of counting at $size" "$size"
    # Frames: lateness against the 1 s grid of the second one (the first is dropped: it can be a repaint
    # of the watcher's own start rather than a tick).
    awk 'NR == 2 { first = $2 } NR >= 2 { late = $2 - first - (NR - 2) * 1000; print late }' "$root/frames-$w.txt" >"$root/late"
    # Kept beside the results: which frames were late tells a slow paint from a busy machine.
    paste "$root/frames-$w.txt" <(echo; cat "$root/late") >"$(dirname "$out")/frames-$label-$size.tsv"
    local n
    n=$(wc -l <"$root/late")
    if [ "$n" -ge 5 ]; then
        local drift median p99
        drift=$(tail -n1 "$root/late")
        read -r median p99 < <(sort -g "$root/late" | awk '{ v[NR] = $1 } END {
            p = int(NR * 0.99 + 0.999); if (p > NR) p = NR
            printf "%.3f %.3f\n", v[int((NR + 1) / 2)], v[p] }')
        emit tick_server_jitter_ms "$(awk -v p="$p99" -v m="$median" 'BEGIN { printf "%.3f", p - m }')" ms \
            "frames reaching the X server (Damage, seen by a second client) at $size: $n frames in ${seconds} s; lateness against the 1 s grid of the first frame kept: median $median, p99 $p99, last $drift ms" "$size"
        emit tick_server_drift_ms "$drift" ms "lateness of the last frame minus the first's, $n frames at $size" "$size"
    else
        say "$label at $size: only $n frames seen"
    fi

    # Drag-resize: the pointer takes the panel's bottom right corner and drags it in 40 steps of 8 px,
    # each a real resize (re-layout and hand-back), as a presenter's drag.
    if [ "$long" = 0 ]; then
        local r0 r1 steps=40 before after step=-8
        # A small panel grows, a large one shrinks.
        [ "$w" -lt 1000 ] && step=8
        xdotool mousemove $((w - 2)) $((h - 2)) mousedown 1
        sleep 0.2
        xdotool mousemove_relative -- $((2 * step)) 0
        sleep 0.2
        before=$(xwininfo -id "$win" | awk '/Width:/ { print $2 }')
        r0=$(cpu_ticks "$pid")
        for _ in $(seq "$steps"); do
            xdotool mousemove_relative -- "$step" 0
            sleep 0.05
        done
        sleep 0.5
        r1=$(cpu_ticks "$pid")
        after=$(xwininfo -id "$win" | awk '/Width:/ { print $2 }')
        xdotool mouseup 1
        emit resize_step_ms "$(awk -v c="$((r1 - r0))" -v hz="$clock_ticks" -v n="$steps" 'BEGIN { printf "%.3f", c / hz * 1000 / n }')" ms \
            "CPU time of the process per step of a drag of the panel's corner from $size ($steps steps of 8 px, the panel went from $before to $after px wide; each step one updateUI and the hand-back, while counting; clock ticks of 1/$clock_ticks s)" "$size"
    fi
    emit rss_counting_mb "$(awk '/^VmRSS/ { printf "%.1f", $2 / 1024 }' "/proc/$pid/status")" MB \
        "resident memory (VmRSS) after counting at $size$([ "$long" = 0 ] && echo " and the drag")" "$size"
    import -window root "$root/shot.png" 2>/dev/null && cp "$root/shot.png" "$(dirname "$out")/counting-$label-$size.png"
    if [ "$long" = 1 ]; then
        for k in 1 2 3 4 5 6; do
            sleep 0.5
            import -window root "$(dirname "$out")/counting-$label-$size-$k.png" 2>/dev/null
        done
    fi
    [ -n "${SHOT_LOG:-}" ] && echo "$label $size $(date +%T.%N) $(cat "$conf")" >>"$SHOT_LOG"
    kill "$pid"
    wait "$pid" 2>/dev/null
}

sizes=("340 120" "1280 800" "3840 2160")
[ "$long" = 1 ] && sizes=("3840 2160")
for size in "${sizes[@]}"; do
    # shellcheck disable=SC2086
    run_size $size
done
