#!/usr/bin/env bash
# Runs one test with its own home, settings and data folders, and, when asked, its own X server with a
# real window manager or its own PulseAudio daemon with a null sink. Nothing the test does can reach the
# user's real settings, sound folder, display or speakers.
#
#   isolated-run.sh [--offscreen] [--x11] [--wm NAME] [--pulse] -- command [args...]
#
# --wm picks the window manager of --x11 (openbox unless given; see scripts/virtual-display.sh).
set -u

want_offscreen=0 want_x11=0 want_pulse=0
while [ $# -gt 0 ]; do
    case "$1" in
    --offscreen) want_offscreen=1 ;;
    --x11) want_x11=1 ;;
    --pulse) want_pulse=1 ;;
    --wm)
        [ $# -gt 1 ] || { echo "isolated-run: --wm needs a name" >&2; exit 2; }
        export BREVLIN_WM=$2
        shift
        ;;
    --) shift; break ;;
    *) echo "isolated-run: unknown option $1" >&2; exit 2 ;;
    esac
    shift
done
[ $# -gt 0 ] || { echo "isolated-run: no command" >&2; exit 2; }

# shellcheck source=SCRIPTDIR/../../scripts/virtual-display.sh
. "$(cd "$(dirname "$0")/../../scripts" && pwd)/virtual-display.sh"

root=$(mktemp -d "${TMPDIR:-/tmp}/brevlin-test.XXXXXX")
pids=()
stop_pulse() { :; }
cleanup() {
    stop_pulse
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null; done
    for pid in "${pids[@]}"; do wait "$pid" 2>/dev/null; done
    rm -rf "$root"
}
trap cleanup EXIT
trap 'exit 143' TERM INT

export HOME="$root/home"
export XDG_CONFIG_HOME="$HOME/.config" XDG_DATA_HOME="$HOME/.local/share" XDG_CACHE_HOME="$HOME/.cache"
export XDG_RUNTIME_DIR="$root/runtime"
mkdir -p "$XDG_CONFIG_HOME" "$XDG_DATA_HOME" "$XDG_CACHE_HOME" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
# Texts and number formats must not depend on the machine's locale.
export LC_ALL=C.UTF-8 LANG=C.UTF-8
unset WAYLAND_DISPLAY SESSION_MANAGER
export QT_QPA_PLATFORM=minimal

if [ "$want_offscreen" = 1 ]; then
    export QT_QPA_PLATFORM=offscreen
    unset DISPLAY
fi

if [ "$want_x11" = 1 ]; then
    start_virtual_display "$root" || { echo "isolated-run: no virtual display" >&2; exit 1; }
    export QT_QPA_PLATFORM=xcb
fi

if [ "$want_pulse" = 1 ]; then
    export PULSE_RUNTIME_PATH="$XDG_RUNTIME_DIR/pulse" PULSE_STATE_PATH="$root/pulse-state"
    export BREVLIN_TEST_PULSE_LOG="$root/pulse.log"
    unset PULSE_SERVER
    # No client the test runs (pactl, parec, the application's own) may start a server of its own while the
    # test has ended the private one.
    export PULSE_CLIENTCONFIG="$root/pulse-client.conf"
    echo "autospawn = no" >"$PULSE_CLIENTCONFIG"
    # The test may end the server and start it again with the same command; the pid file names the one
    # running now.
    export BREVLIN_TEST_PULSE_PIDFILE="$root/pulse.pid"
    BREVLIN_TEST_PULSE_START="$(cd "$(dirname "$0")" && pwd)/private-pulse.sh"
    export BREVLIN_TEST_PULSE_START
    "$BREVLIN_TEST_PULSE_START" || exit 1
    stop_pulse() {
        local pid
        pid=$(cat "$BREVLIN_TEST_PULSE_PIDFILE" 2>/dev/null) || return 0
        # A test that failed while the server was stopped leaves it stopped: it must be resumed to end.
        kill -CONT "$pid" 2>/dev/null
        kill "$pid" 2>/dev/null || return 0
        # Not a child of this script: gone, or a zombie nobody has reaped yet.
        for _ in $(seq 100); do
            grep -qs '^[0-9]* (.*) [^Z]' "/proc/$pid/stat" || return 0
            sleep 0.05
        done
        kill -KILL "$pid" 2>/dev/null
    }
    export BREVLIN_TEST_SINK_MONITOR="brevlin_test.monitor"
fi

"$@" &
child=$!
wait "$child"
