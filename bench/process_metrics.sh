#!/usr/bin/env bash
# Process-level benchmarks: start-up time, resident memory and CPU use of Brevlin, measured in the same
# run as the Qt floor (bench/QtFloor.cpp), gnome-clocks and kteatime, all on a private headless X server
# (Xvfb + openbox) with a private session bus. Appends one JSON object per line to OUT_JSONL:
#   {"metric": ..., "subject": ..., "value": ..., "unit": "ms"|"MB"|"%"|"ratio", "detail": "..."}
# Method: docs/performance.md. It measures only; nothing here passes or fails a target.
#
#   bench/process_metrics.sh BUILD_DIR OUT_JSONL [--memory-minutes N] [--startup-runs N] [--memory-pairs N]
#                            [--brevlin PATH] [--pairs-only]
#
# Start-up and the memory at launch are measured in pairs, Brevlin against the Qt floor one right after the
# other, the order alternating from pair to pair, and reported as the median of the per-pair ratios (or
# differences) beside the absolute medians: a change of the machine's load then moves both of a pair.
# --brevlin measures another build's brevlin against this build's floor (a "before"); --pairs-only stops
# after the pairs (a few minutes).
#
# Wall time: about memory-minutes + 3 minutes, at least about 8. Every process it starts ends with it.
set -u

usage() {
    echo "usage: $0 BUILD_DIR OUT_JSONL [--memory-minutes N] [--startup-runs N] [--memory-pairs N] [--brevlin PATH] [--pairs-only]" >&2
    exit 2
}

[ $# -ge 2 ] || usage
build_dir=$1 out=$2
shift 2
memory_minutes=10 startup_runs=15 memory_pairs=6 brevlin_override="" pairs_only=0
while [ $# -gt 0 ]; do
    case "$1" in
    --memory-minutes) [ $# -ge 2 ] || usage; memory_minutes=$2; shift ;;
    --startup-runs) [ $# -ge 2 ] || usage; startup_runs=$2; shift ;;
    --memory-pairs) [ $# -ge 2 ] || usage; memory_pairs=$2; shift ;;
    --brevlin) [ $# -ge 2 ] || usage; brevlin_override=$2; shift ;;
    --pairs-only) pairs_only=1 ;;
    *) usage ;;
    esac
    shift
done
[[ "$memory_minutes" =~ ^[1-9][0-9]*$ ]] || { echo "process_metrics: --memory-minutes must be >= 1" >&2; exit 2; }
[[ "$startup_runs" =~ ^[1-9][0-9]*$ ]] || { echo "process_metrics: --startup-runs must be >= 1" >&2; exit 2; }
[[ "$memory_pairs" =~ ^[1-9][0-9]*$ ]] || { echo "process_metrics: --memory-pairs must be >= 1" >&2; exit 2; }

say() { echo "process_metrics: $*" >&2; }

# shellcheck source=SCRIPTDIR/../scripts/virtual-display.sh
. "$(cd "$(dirname "$0")/../scripts" && pwd)/virtual-display.sh"

find_binary() { # name: the first of BUILD_DIR/bin/name, BUILD_DIR/bench/name
    local candidate
    for candidate in "$build_dir/bin/$1" "$build_dir/bench/$1"; do
        [ -x "$candidate" ] && { realpath "$candidate"; return 0; }
    done
    return 1
}
if [ -n "$brevlin_override" ]; then
    [ -x "$brevlin_override" ] || { say "no program at $brevlin_override"; exit 1; }
    brevlin=$(realpath "$brevlin_override")
else
    brevlin=$(find_binary brevlin) || { say "no brevlin in $build_dir/bin"; exit 1; }
fi
qt_floor=$(find_binary qt_floor) || { say "no qt_floor in $build_dir (bench/peers.cmake)"; exit 1; }
probe=$(find_binary startup_probe) || { say "no startup_probe in $build_dir (bench/peers.cmake)"; exit 1; }
for tool in Xvfb openbox xprop xwininfo xdotool import md5sum; do
    command -v "$tool" >/dev/null || { say "$tool is missing (make deps)"; exit 1; }
done
have_clocks=0 have_teatime=0 have_bus=0
command -v gnome-clocks >/dev/null && have_clocks=1
command -v kteatime >/dev/null && have_teatime=1
command -v dbus-daemon >/dev/null && have_bus=1
[ "$have_clocks" = 1 ] || say "gnome-clocks is not installed: its rows are skipped"
[ "$have_teatime" = 1 ] || say "kteatime is not installed: its rows are skipped"

mkdir -p "$(dirname "$out")"
out=$(realpath "$out")
touch "$out" || exit 1

# ---------------------------------------------------------------------------------------------------
# Everything this run starts carries this token in its environment: the clean-up finds by it what
# escaped the process tree (services the session bus activated, anything that double-forked).
root=$(mktemp -d "${TMPDIR:-/tmp}/brevlin-procbench.XXXXXX")
token="$(basename "$root")-$$"
export BREVLIN_PROCESS_BENCH="$token"
pids=()

cleanup() {
    trap - EXIT INT TERM
    local pid
    for pid in "${pids[@]}"; do kill -TERM -- "$pid" 2>/dev/null; done
    sleep 0.3
    local stray=()
    for dir in /proc/[0-9]*; do
        pid=${dir#/proc/}
        [ "$pid" = "$$" ] || [ "$pid" = "$BASHPID" ] && continue
        [ -O "$dir" ] || continue
        grep -qzx "BREVLIN_PROCESS_BENCH=$token" "$dir/environ" 2>/dev/null && stray+=("$pid")
    done
    for pid in "${stray[@]}"; do kill -TERM "$pid" 2>/dev/null; done
    [ ${#stray[@]} -gt 0 ] && sleep 0.5
    for pid in "${stray[@]}" "${pids[@]}"; do kill -KILL "$pid" 2>/dev/null; done
    wait 2>/dev/null
    rm -rf "$root"
}
trap cleanup EXIT
trap 'exit 143' TERM INT

# ---------------------------------------------------------------------------------------------------
# The session: a private Xvfb (black root, so a window nobody has painted yet reads back as one colour),
# openbox, a session bus.
mkdir -p "$root/session/home" "$root/runtime" "$root/logs"
chmod 700 "$root/runtime"
export HOME="$root/session/home" XDG_RUNTIME_DIR="$root/runtime"
export XDG_CONFIG_HOME="$HOME/.config" XDG_DATA_HOME="$HOME/.local/share" XDG_CACHE_HOME="$HOME/.cache"
export LC_ALL=C.UTF-8 LANG=C.UTF-8
unset WAYLAND_DISPLAY SESSION_MANAGER DBUS_SESSION_BUS_ADDRESS QT_QPA_PLATFORM QT_STYLE_OVERRIDE
export QT_QPA_PLATFORM=xcb GDK_BACKEND=x11

start_virtual_display "$root/logs" || { say "no virtual display"; exit 1; }
if [ "$have_bus" = 1 ]; then
    exec 4<>"$root/bus-address"
    dbus-daemon --session --nofork --print-address=4 >"$root/logs/dbus.log" 2>&1 &
    pids+=($!)
    for _ in $(seq 200); do
        [ -s "$root/bus-address" ] && break
        sleep 0.05
    done
    exec 4>&-
    address=$(head -n1 "$root/bus-address")
    [ -n "$address" ] && export DBUS_SESSION_BUS_ADDRESS="$address"
fi
[ -n "${DBUS_SESSION_BUS_ADDRESS:-}" ] || say "no session bus: the subjects run without one"

# ---------------------------------------------------------------------------------------------------
# Helpers.

homes=0 home=""
# Makes a home nobody has used (no settings, no caches of its own) and names it in $home. Called in the
# shell itself, not in a $(...), so that the count goes on.
new_home() {
    homes=$((homes + 1))
    home="$root/homes/$homes"
    mkdir -p "$home/.config" "$home/.local/share" "$home/.cache"
}
# Runs the rest of the line in $home; env execs it, so a background one's $! is the program itself.
in_home() {
    env HOME="$home" XDG_CONFIG_HOME="$home/.config" XDG_DATA_HOME="$home/.local/share" \
        XDG_CACHE_HOME="$home/.cache" "$@"
}

subject_command() { # subject: the command line that starts it, in the array $command
    case "$1" in
    brevlin) command=("$brevlin") ;;
    qt-floor) command=("$qt_floor") ;;
    gnome-clocks | gnome-clocks-warm) command=(gnome-clocks) ;;
    kteatime) command=(kteatime) ;;
    esac
}

# Sleeps in a way a signal to this script interrupts at once.
pause() {
    sleep "$1" &
    wait $!
}

json_field() { # json key: a number field of a one-line JSON object
    sed -n "s/.*\"$2\":\([-0-9.]*\).*/\1/p" <<<"$1"
}

emit() { # metric subject value unit detail [file]
    local detail=${5//\"/\'}
    printf '{"metric": "%s", "subject": "%s", "value": %s, "unit": "%s", "detail": "%s"}\n' \
        "$1" "$2" "$3" "$4" "$detail" >>"${6:-$out}"
}

rss_kb() { awk '/^VmRSS:/ { print $2 }' "/proc/$1/status" 2>/dev/null; }
mb() { awk -v kb="$1" 'BEGIN { printf "%.2f", kb / 1024 }'; }

clock_ticks=$(getconf CLK_TCK)
cpu_ticks() { # utime + stime of the whole process, in clock ticks
    local stat
    stat=$(cat "/proc/$1/stat" 2>/dev/null) || return 1
    stat=${stat##*) }
    # shellcheck disable=SC2086 # split into its fields on purpose
    set -- $stat
    echo $((${12} + ${13}))
}
cpu_ns() { # nanoseconds on a CPU, summed over the process's threads (scheduler statistics)
    cat /proc/"$1"/task/*/schedstat 2>/dev/null | awk '{ sum += $1 } END { printf "%.0f", sum }'
}
now() { echo "$EPOCHREALTIME"; }

# cpu_begin pid -> "ticks ns time"; cpu_end pid begin -> "percent detail"
cpu_begin() { echo "$(cpu_ticks "$1") $(cpu_ns "$1") $(now)"; }
cpu_end() {
    local begin=$2 ticks ns
    ticks=$(cpu_ticks "$1") || return 1
    ns=$(cpu_ns "$1")
    awk -v b="$begin" -v t="$ticks" -v n="$ns" -v w="$(now)" -v hz="$clock_ticks" 'BEGIN {
        split(b, a, " "); wall = w - a[3]
        pct = (t - a[1]) / hz / wall * 100
        printf "%.4f %d ticks of 1/%d s in %.1f s wall", pct, t - a[1], hz, wall
        # Summed over the live threads only: a thread that ended takes its time with it.
        if (n >= a[2])
            printf "; scheduler time of the live threads %.1f ms = %.4f %% of one core", (n - a[2]) / 1e6, (n - a[2]) / 1e9 / wall * 100
        else
            printf "; scheduler time n/a (threads ended)"
        printf "\n" }'
}

# Median, p10 and p90 (linear between ranks) of the numbers on stdin: "median p10 p90 n".
stats() {
    sort -g | awk '{ v[n++] = $1 }
        function q(p,   x, i) { x = (n - 1) * p; i = int(x); return v[i] + (x - i) * (v[i + 1 < n ? i + 1 : i] - v[i]) }
        END { if (n) printf "%.1f %.1f %.1f %d\n", q(0.5), q(0.1), q(0.9), n }'
}

window_hash() { import -window "$1" ppm:- 2>/dev/null | md5sum | cut -c1-32; }
# True when the window's picture changes within a few seconds: the countdown ticks.
window_changes() {
    local first second
    first=$(window_hash "$1")
    for _ in 1 2 3 4 5 6; do
        sleep 0.5
        second=$(window_hash "$1")
        [ -n "$first" ] && [ "$first" != "$second" ] && return 0
    done
    return 1
}

# Starts a subject with the probe, detached, in a fresh home; the probe's JSON line goes to $line.
launch() { # subject
    new_home
    subject_command "$1"
    line=$(in_home "$probe" --detach --timeout 60 --log "$root/logs/$1.log" -- "${command[@]}")
}

stop_pid() { # pid: ends the process group the probe made for it
    kill -TERM -- "-$1" 2>/dev/null || kill -TERM "$1" 2>/dev/null
    for _ in $(seq 50); do
        kill -0 "$1" 2>/dev/null || return 0
        sleep 0.1
    done
    kill -KILL -- "-$1" 2>/dev/null || kill -KILL "$1" 2>/dev/null
}

load1() { cut -d' ' -f1 /proc/loadavg; }

# Resident memory of a process from /proc/PID/smaps_rollup, in kB: "total anonymous file-backed". The
# anonymous pages are the process's own (heap, thread stacks, arenas, copied-on-write data); the
# file-backed ones are the libraries, fonts and other mapped files, mostly shared with other processes.
rss_split_kb() {
    awk '/^Rss:/ { r = $2 } /^Anonymous:/ { a = $2 } END { if (r != "") print r, a, r - a }' \
        "/proc/$1/smaps_rollup" 2>/dev/null
}

# Where a process's resident memory lies, from /proc/PID/smaps, grouped: "group kB" lines, largest first.
rss_by_mapping() {
    awk -v exe="$(readlink "/proc/$1/exe" 2>/dev/null)" '
        /^[0-9a-f]+-[0-9a-f]+ / {
            name = $6
            if (name == "") group = "anonymous (thread stacks, malloc arenas, large blocks)"
            else if (name == exe) group = "the program itself"
            else if (name == "[heap]" || name == "[stack]") group = name
            else if (name ~ /libQt6/) group = "Qt libraries"
            else if (name ~ /\/plugins\//) group = "Qt plugins"
            else if (name ~ /\.(ttf|otf|pfb|ttc)$/) group = "font files"
            else if (name ~ /\.so/) group = "other libraries"
            else group = "other mappings"
            next
        }
        /^Rss:/ { kb[group] += $2 }
        END { for (g in kb) if (kb[g] > 0) print g "\t" kb[g] }' "/proc/$1/smaps" 2>/dev/null | sort -t$'\t' -k2,2nr
}
# The same, per library (and "[anon]"), for the log: "kB name" lines, largest first.
rss_per_file() {
    awk '/^[0-9a-f]+-[0-9a-f]+ / { name = ($6 == "" ? "[anon]" : $6); next }
        /^Rss:/ { kb[name] += $2 }
        END { for (n in kb) if (kb[n] > 0) print kb[n], n }' "/proc/$1/smaps" 2>/dev/null | sort -nr
}

# ---------------------------------------------------------------------------------------------------
# 1. Start-up: cold runs in pairs, Brevlin and the Qt floor one right after the other, never two at once;
# the one that goes first alternates from pair to pair, so that neither always finds the caches the other
# warmed or the load the other left. Each pair gives a ratio; its median, p10 and p90 are the comparison,
# since a change of the machine's load between pairs moves both of a pair. One warm-up pair first, not
# counted: it fills the page cache and starts the bus services a desktop session already runs.
# gnome-clocks (cold, and gnome-clocks-warm: one home kept from run to run, so from the warm-up round on its
# GL shader cache, Mesa's under ~/.cache, is filled, as on a desktop where it ran before) follows each pair.
startup_subjects=(brevlin qt-floor)
[ "$have_clocks" = 1 ] && startup_subjects+=(gnome-clocks gnome-clocks-warm)
declare -A drawn_ms map_ms failures
for subject in "${startup_subjects[@]}"; do
    drawn_ms[$subject]="" map_ms[$subject]="" failures[$subject]=0
done
ratios="" loads=""
start_once() { # subject run: one cold start, its drawn time in $drawn (empty when it failed)
    local subject=$1 run=$2
    if [ "$subject" = gnome-clocks-warm ]; then
        home="$root/homes/clocks-warm"
        mkdir -p "$home/.config" "$home/.local/share" "$home/.cache"
    else
        new_home
    fi
    subject_command "$subject"
    line=$(in_home "$probe" --timeout 60 --log "$root/logs/startup-$subject.log" -- "${command[@]}")
    drawn=$(json_field "$line" drawn_ms)
    [ "$run" -eq 0 ] && return 0
    if [ -z "$drawn" ]; then
        failures[$subject]=$((failures[$subject] + 1))
        say "$subject: $line"
        return 0
    fi
    drawn_ms[$subject]+="$drawn "
    map_ms[$subject]+="$(json_field "$line" map_ms) "
}
load_before=$(load1)
for run in $(seq 0 "$startup_runs"); do
    [ "$run" -gt 0 ] && say "start-up pair $run/$startup_runs (load $(load1))"
    loads+="$(load1) "
    if [ $((run % 2)) -eq 0 ]; then pair=(brevlin qt-floor); else pair=(qt-floor brevlin); fi
    declare -A pair_drawn=()
    for subject in "${pair[@]}"; do
        start_once "$subject" "$run"
        pair_drawn[$subject]=$drawn
        sleep 0.2
    done
    if [ "$run" -gt 0 ] && [ -n "${pair_drawn[brevlin]}" ] && [ -n "${pair_drawn[qt-floor]}" ]; then
        ratios+="$(awk -v b="${pair_drawn[brevlin]}" -v q="${pair_drawn[qt-floor]}" 'BEGIN { printf "%.4f", b / q }') "
    fi
    for subject in "${startup_subjects[@]:2}"; do
        start_once "$subject" "$run"
        sleep 0.2
    done
done
load_after=$(load1)
read -r load_median load_low load_high _ < <(tr ' ' '\n' <<<"$loads" | grep . | stats)
for subject in "${startup_subjects[@]}"; do
    [ -n "${drawn_ms[$subject]}" ] || continue
    read -r median p10 p90 n < <(tr ' ' '\n' <<<"${drawn_ms[$subject]}" | grep . | stats)
    read -r map_median _ _ _ < <(tr ' ' '\n' <<<"${map_ms[$subject]}" | grep . | stats)
    kind="cold runs (fresh HOME each, after 1 warm-up)"
    [ "$subject" = gnome-clocks-warm ] && kind="runs with a warm shader cache (one HOME kept from the warm-up on)"
    [ "$subject" = brevlin ] || [ "$subject" = qt-floor ] && kind="$kind, in pairs with the other of brevlin/qt-floor, the first of a pair alternating"
    emit startup_ms "$subject" "$median" ms \
        "exec to first window mapped with content drawn; median of $n $kind; p10 $p10 ms, p90 $p90 ms; mapped at median $map_median ms; ${failures[$subject]} failed runs; load average $load_before -> $load_after"
done
if [ -n "$ratios" ]; then
    read -r median p10 p90 n < <(tr ' ' '\n' <<<"$ratios" | grep . | sort -g |
        awk '{ v[n++] = $1 }
            function q(p,   x, i) { x = (n - 1) * p; i = int(x); return v[i] + (x - i) * (v[i + 1 < n ? i + 1 : i] - v[i]) }
            END { if (n) printf "%.3f %.3f %.3f %d\n", q(0.5), q(0.1), q(0.9), n }')
    emit startup_ratio brevlin "$median" ratio \
        "brevlin / qt-floor start-up within each pair (run right after each other, the first alternating); median of $n pairs, p10 $p10, p90 $p90; 1-min load average median $load_median (p10 $load_low, p90 $load_high); brevlin $brevlin"
fi

# ---------------------------------------------------------------------------------------------------
# 1b. Resident memory at launch, in pairs the same way: each started in a fresh home, read 3 s after its
# first frame was drawn (Brevlin's sounds are decoded by then), ended before the other starts. Split into
# the anonymous pages (the process's own) and the file-backed ones (libraries, fonts), from smaps_rollup.
declare -A mem_total mem_anon mem_file breakdown
for subject in brevlin qt-floor; do mem_total[$subject]="" mem_anon[$subject]="" mem_file[$subject]=""; done
diffs="" anon_diffs="" file_diffs=""
for pair_index in $(seq 1 "$memory_pairs"); do
    if [ $((pair_index % 2)) -eq 1 ]; then pair=(brevlin qt-floor); else pair=(qt-floor brevlin); fi
    declare -A pair_kb=() pair_anon=() pair_file=()
    for subject in "${pair[@]}"; do
        launch "$subject"
        mpid=$(json_field "$line" pid)
        if [ -z "$mpid" ] || grep -q '"error"' <<<"$line"; then
            say "$subject did not start for the memory pair: $line"
            [ -n "$mpid" ] && stop_pid "$mpid"
            continue
        fi
        pause 3
        read -r total anon file < <(rss_split_kb "$mpid")
        if [ -n "$total" ]; then
            pair_kb[$subject]=$total pair_anon[$subject]=$anon pair_file[$subject]=$file
            mem_total[$subject]+="$total " mem_anon[$subject]+="$anon " mem_file[$subject]+="$file "
            if [ "$pair_index" -eq "$memory_pairs" ]; then
                breakdown[$subject]=$(rss_by_mapping "$mpid" | awk -F'\t' '{ printf "%s%s %.2f", (NR > 1 ? "; " : ""), $1, $2 / 1024 }')
                rss_per_file "$mpid" >"$root/logs/rss-$subject.txt"
                cp "$root/logs/rss-$subject.txt" "$(dirname "$out")/rss-per-file-$subject.txt" 2>/dev/null
            fi
        fi
        stop_pid "$mpid"
        sleep 0.2
    done
    if [ -n "${pair_kb[brevlin]:-}" ] && [ -n "${pair_kb[qt-floor]:-}" ]; then
        diffs+="$((pair_kb[brevlin] - pair_kb[qt-floor])) "
        anon_diffs+="$((pair_anon[brevlin] - pair_anon[qt-floor])) "
        file_diffs+="$((pair_file[brevlin] - pair_file[qt-floor])) "
    fi
done
median_kb() { tr ' ' '\n' <<<"$1" | grep . | stats | cut -d' ' -f1; }
for subject in brevlin qt-floor; do
    [ -n "${mem_total[$subject]}" ] || continue
    read -r median p10 p90 n < <(tr ' ' '\n' <<<"${mem_total[$subject]}" | grep . | stats)
    anon=$(median_kb "${mem_anon[$subject]}")
    file=$(median_kb "${mem_file[$subject]}")
    emit rss_launch_mb "$subject" "$(mb "$median")" MB \
        "Rss of smaps_rollup 3 s after the first window was drawn, median of $n launches in pairs with the other of brevlin/qt-floor (fresh HOME each); p10 $(mb "$p10"), p90 $(mb "$p90") MB; anonymous $(mb "$anon") MB, file-backed $(mb "$file") MB (medians); last launch by mapping (MB): ${breakdown[$subject]:-n/a}"
    emit rss_launch_anon_mb "$subject" "$(mb "$anon")" MB "anonymous pages (heap, stacks, arenas): median of $n launches"
    emit rss_launch_file_mb "$subject" "$(mb "$file")" MB "file-backed pages (libraries, fonts): median of $n launches"
done
if [ -n "$diffs" ]; then
    read -r median p10 p90 n < <(tr ' ' '\n' <<<"$diffs" | grep . | stats)
    emit rss_launch_diff_mb brevlin "$(mb "$median")" MB \
        "brevlin - qt-floor resident memory within each pair, median of $n pairs; p10 $(mb "$p10"), p90 $(mb "$p90") MB; anonymous $(mb "$(median_kb "$anon_diffs")") MB, file-backed $(mb "$(median_kb "$file_diffs")") MB (medians of the pairs)"
fi
if [ "$pairs_only" = 1 ]; then
    say "done (pairs only): $(wc -l <"$out") lines in $out"
    exit 0
fi

# ---------------------------------------------------------------------------------------------------
# 2-4. Memory and CPU. Brevlin first alone: launch, 3 s, resident memory, one idle minute, then the
# countdown. Once its counting CPU minute is over, the peers run beside its memory run: kteatime and the
# Qt floor together (the floor started last, so that it holds the keyboard focus all its idle minute, as
# Brevlin's panel did), then gnome-clocks alone (focused) for an idle minute and a counting minute.

# Whether a window has the keyboard focus now.
has_focus() { [ "$(timeout 5 xdotool getactivewindow 2>/dev/null)" = "$1" ]; }
focus_note() { # window focus-at-begin
    local end=no
    has_focus "$1" && end=yes
    echo "keyboard focus at begin/end: $2/$end"
}

peers_run() {
    local results=$1
    local -A pid window idle_begin focus_begin

    start_peer() { # subject: starts it, its launch memory, the beginning of its idle minute
        local subject=$1
        line=""
        window[$subject]=""
        if [ "$subject" = kteatime ]; then
            # A tray icon, no window: measured from its start.
            new_home
            (
                export HOME="$home" XDG_CONFIG_HOME="$home/.config" XDG_DATA_HOME="$home/.local/share" \
                    XDG_CACHE_HOME="$home/.cache"
                exec kteatime
            ) >"$root/logs/kteatime.log" 2>&1 &
            pid[$subject]=$!
        else
            launch "$subject"
            pid[$subject]=$(json_field "$line" pid)
            window[$subject]=$(json_field "$line" window)
        fi
        if [ -z "${pid[$subject]}" ] || grep -q '"error"' <<<"$line"; then
            say "$subject did not start: $line"
            [ -n "${pid[$subject]}" ] && stop_pid "${pid[$subject]}"
            unset "pid[$subject]"
            return 1
        fi
        pause 3
        local rss note="3 s after the first window was drawn"
        rss=$(rss_kb "${pid[$subject]}")
        if [ -z "$rss" ]; then
            say "$subject exited: $(tail -n3 "$root/logs/$subject.log" 2>/dev/null)"
            unset "pid[$subject]"
            return 1
        fi
        [ "$subject" = kteatime ] &&
            note="3 s after start (no window of its own; no tray host on the server: no StatusNotifierWatcher on the bus, no XEmbed tray selection owner, and it runs on regardless)"
        emit rss_launch_single_mb "$subject" "$(mb "$rss")" MB "VmRSS $rss kB, $note" "$results"
        idle_begin[$subject]=$(cpu_begin "${pid[$subject]}")
    }

    finish_idle() { # subject: waits for the end of its idle minute and reports it
        local subject=$1 left result note="no window"
        [ -n "${pid[$subject]:-}" ] || return 0
        left=$(awk -v s="${idle_begin[$subject]##* }" -v n="$(now)" \
            'BEGIN { d = 60 - (n - s); printf "%.2f", (d > 0 ? d : 0) }')
        pause "$left"
        [ -n "${window[$subject]}" ] && note=$(focus_note "${window[$subject]}" "${focus_begin[$subject]}")
        if result=$(cpu_end "${pid[$subject]}" "${idle_begin[$subject]}"); then
            emit cpu_idle_pct "$subject" "${result%% *}" % "idle after launch, untouched, $note; ${result#* }" \
                "$results"
        fi
    }

    local subject
    local group=()
    [ "$have_teatime" = 1 ] && group+=(kteatime)
    group+=(qt-floor)
    for subject in "${group[@]}"; do
        start_peer "$subject"
    done
    for subject in "${group[@]}"; do
        if [ -n "${window[$subject]:-}" ]; then
            focus_begin[$subject]=no
            has_focus "${window[$subject]}" && focus_begin[$subject]=yes
        fi
    done
    for subject in "${group[@]}"; do
        finish_idle "$subject"
        [ -n "${pid[$subject]:-}" ] && stop_pid "${pid[$subject]}"
    done

    [ "$have_clocks" = 1 ] || return 0
    start_peer gnome-clocks || return 0
    focus_begin[gnome-clocks]=no
    has_focus "${window[gnome-clocks]}" && focus_begin[gnome-clocks]=yes
    finish_idle gnome-clocks

    # gnome-clocks counting: its Timer page, the 1 h preset, the start button (places relative to its
    # default 870x690 window).
    local w=${window[gnome-clocks]} gc=${pid[gnome-clocks]} width
    width=$(xwininfo -id "$w" 2>/dev/null | awk '/Width:/ { print $2 }')
    width=${width:-870}
    timeout 10 xdotool mousemove --window "$w" $((width - 245)) 28 click 1
    sleep 1
    timeout 10 xdotool mousemove --window "$w" $((width / 2 + 123)) 294 click 1
    sleep 0.5
    timeout 10 xdotool mousemove --window "$w" $((width / 2)) 542 click 1
    sleep 1
    if window_changes "$w"; then
        local begin_count result focus=no
        has_focus "$w" && focus=yes
        begin_count=$(cpu_begin "$gc")
        pause 60
        if result=$(cpu_end "$gc" "$begin_count"); then
            emit cpu_counting_pct gnome-clocks "${result%% *}" % \
                "Timer page, 1 h preset started with xdotool (window picture seen changing), $(focus_note "$w" "$focus"); ${result#* }" \
                "$results"
        fi
    else
        say "gnome-clocks: its timer could not be started with xdotool (the window did not change); no counting row"
        import -window root "$root/logs/gnome-clocks-timer.png" 2>/dev/null
    fi
    stop_pid "$gc"
}

say "Brevlin: launch, 3 s, idle minute"
launch brevlin
bpid=$(json_field "$line" pid)
bwin=$(json_field "$line" window)
[ -n "$bpid" ] && pids+=("$bpid")
[ -n "$bwin" ] || { say "brevlin did not start: $line"; exit 1; }
brevlin_home=$home
pause 3
launch_kb=$(rss_kb "$bpid")
emit rss_launch_single_mb brevlin "$(mb "$launch_kb")" MB "VmRSS $launch_kb kB, 3 s after the first window was drawn (the launch of the long run)"
focus=no
has_focus "$bwin" && focus=yes
cpu_mark=$(cpu_begin "$bpid")
pause 60
result=$(cpu_end "$bpid" "$cpu_mark") &&
    emit cpu_idle_pct brevlin "${result%% *}" % \
        "idle after launch, untouched, paused at 00:01:00, $(focus_note "$bwin" "$focus"); ${result#* }"

# The countdown: the presenter's way, through the keyboard.
hours=$((memory_minutes / 60 + 1))
expected=$(printf '%02d:00:00' "$hours")
conf="$brevlin_home/.config/Brevlin/Brevlin.conf"
# Clicks into the time field (the panel bypasses the window manager, so it is given the keyboard by the
# click, as a presenter gives it), selects all, types the time (none: keeps the stored one) and presses
# Return; true once the settings file holds the started time and the picture changes.
start_countdown() { # window settings-file expected-text typed-text
    local attempt geometry width height
    for attempt in 1 2; do
        geometry=$(xwininfo -id "$1" 2>/dev/null)
        width=$(awk '/Width:/ { print $2 }' <<<"$geometry")
        height=$(awk '/Height:/ { print $2 }' <<<"$geometry")
        timeout 10 xdotool mousemove --window "$1" $((${width:-340} * 2 / 5)) $((${height:-120} / 2)) click 1
        sleep 0.3
        if [ -n "$4" ]; then
            timeout 10 xdotool key ctrl+a
            timeout 10 xdotool type "$4"
        fi
        timeout 10 xdotool key Return
        for _ in $(seq 50); do
            grep -qx "BRVCountdownTime=$3" "$2" 2>/dev/null && break
            sleep 0.1
        done
        grep -qx "BRVCountdownTime=$3" "$2" 2>/dev/null && window_changes "$1" && return 0
        say "the countdown did not start (attempt $attempt)"
    done
    return 1
}
started=0
start_countdown "$bwin" "$conf" "$expected" "$hours:0:0" && started=1
if [ "$started" = 0 ]; then
    say "Brevlin's countdown could not be started: no counting rows"
    import -window root "$root/logs/brevlin-start.png" 2>/dev/null
    stop_pid "$bpid"
    exit 1
fi
say "Brevlin: counting $expected for $memory_minutes min; peers beside it after the first minute"

count_start=$(now)
samples=("$(rss_kb "$bpid")")
focus=no
has_focus "$bwin" && focus=yes
cpu_mark=$(cpu_begin "$bpid")
peers_out="$root/peers.jsonl"
: >"$peers_out"
peers_pid=""
sample_due=30
while :; do
    elapsed=$(awk -v s="$count_start" -v n="$(now)" 'BEGIN { printf "%d", n - s }')
    if [ "$elapsed" -ge 60 ] && [ -n "$cpu_mark" ]; then
        result=$(cpu_end "$bpid" "$cpu_mark") &&
            emit cpu_counting_pct brevlin "${result%% *}" % \
                "first minute of a countdown from $expected (BRVCountdownTime seen in the settings file, picture seen changing), $(focus_note "$bwin" "$focus"); ${result#* }"
        cpu_mark=""
        peers_run "$peers_out" &
        peers_pid=$!
        pids+=("$peers_pid")
    fi
    if [ "$elapsed" -ge "$sample_due" ]; then
        samples+=("$(rss_kb "$bpid")")
        sample_due=$((sample_due + 30))
    fi
    [ "$elapsed" -ge $((memory_minutes * 60)) ] && [ -z "$cpu_mark" ] && break
    kill -0 "$bpid" 2>/dev/null || { say "brevlin exited during the memory run"; exit 1; }
    pause 1
done
after_kb=$(rss_kb "$bpid")
still="still counting at the end"
window_changes "$bwin" || still="NOT seen counting at the end"
read -r min_kb max_kb < <(printf '%s\n' "${samples[@]}" "$after_kb" | sort -n | awk 'NR == 1 { a = $1 } { b = $1 } END { print a, b }')
series=$(printf '%s ' "${samples[@]}")
emit rss_after_counting_mb brevlin "$(mb "$after_kb")" MB \
    "VmRSS $after_kb kB after $memory_minutes min of counting ($still); samples every 30 s from the start (kB): ${series% }; max - min $(mb $((max_kb - min_kb))) MB"
emit rss_growth_mb brevlin "$(mb $((after_kb - launch_kb)))" MB \
    "after $memory_minutes min counting minus 3 s after launch ($after_kb - $launch_kb kB); 30 s samples max - min $(mb $((max_kb - min_kb))) MB"
stop_pid "$bpid"

if [ -n "$peers_pid" ]; then
    say "waiting for the peers"
    wait "$peers_pid"
    cat "$peers_out" >>"$out"
fi

# ---------------------------------------------------------------------------------------------------
# 5. Memory with both sounds loaded and after 100 plays. The real app, counting into overtime: its
# settings file asks for the end sound, overtime, and the reminder every second with the shortest
# built-in sound (click_tin.wav, index 4), and the countdown is started from -0:0:1, so every tick plays
# the reminder. The sounds go to a private PulseAudio null sink, so they are decoded and played for real.
plays_run() {
    command -v pulseaudio >/dev/null || { say "pulseaudio is missing: no rows for the plays"; return 0; }
    local pulse_home="$root/pulse"
    mkdir -p "$pulse_home"
    export PULSE_RUNTIME_PATH="$pulse_home/runtime" PULSE_STATE_PATH="$pulse_home/state"
    unset PULSE_SERVER
    pulseaudio --daemonize=no --exit-idle-time=-1 --disallow-exit -n \
        --load="module-native-protocol-unix" \
        --load="module-null-sink sink_name=brevlin_bench" \
        --load="module-always-sink" >"$root/logs/pulse.log" 2>&1 &
    pids+=($!)
    for _ in $(seq 100); do
        pactl info >/dev/null 2>&1 && break
        sleep 0.05
    done
    pactl set-default-sink brevlin_bench >/dev/null 2>&1 || { say "PulseAudio did not start: no rows for the plays"; return 0; }

    new_home
    mkdir -p "$home/.config/Brevlin"
    printf '[General]\nBRVCountdownTime=-00:00:01\nPlaySound=true\nContinueCountdown=true\nPlayReminderSound=true\nRemindEveryInterval=0:0:1\nSelectedReminderSoundIndex=4\n' \
        >"$home/.config/Brevlin/Brevlin.conf"
    subject_command brevlin
    line=$(in_home "$probe" --detach --timeout 60 --log "$root/logs/brevlin-plays.log" -- "${command[@]}")
    local ppid pwin
    ppid=$(json_field "$line" pid)
    pwin=$(json_field "$line" window)
    [ -n "$ppid" ] && pids+=("$ppid")
    [ -n "$pwin" ] || { say "brevlin did not start for the plays: $line"; return 0; }
    pause 3
    local loaded_kb
    loaded_kb=$(rss_kb "$ppid")
    emit rss_sounds_loaded_mb brevlin "$(mb "$loaded_kb")" MB \
        "VmRSS $loaded_kb kB, 3 s after the first window was drawn, end sound and reminder sound (click_tin.wav) loaded"
    # Return in the time field starts the stored time, as the presenter's Return does.
    start_countdown "$pwin" "$home/.config/Brevlin/Brevlin.conf" "-00:00:01" "" || {
        say "the overtime countdown did not start: no row for the plays"
        stop_pid "$ppid"
        return 0
    }
    local begin ticks played
    begin=$(now)
    pause 100.5
    played=$(awk -v s="$begin" -v n="$(now)" 'BEGIN { printf "%d", n - s }')
    local after_kb
    after_kb=$(rss_kb "$ppid")
    local sink_inputs
    sink_inputs=$(pactl list short sink-inputs 2>/dev/null | wc -l)
    emit rss_after_plays_mb brevlin "$(mb "$after_kb")" MB \
        "VmRSS $after_kb kB after $played s of overtime with the reminder every second (one play asked per tick, about 100; a play on a still-playing sound adds nothing), sounds into a PulseAudio null sink; $sink_inputs streams open at the end; loaded $loaded_kb kB"
    stop_pid "$ppid"
}
plays_run
say "done: $(wc -l <"$out") lines in $out"
