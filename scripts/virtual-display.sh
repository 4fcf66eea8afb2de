# Sourced, not run: a private X server with a real window manager, for the timer where no display is,
# for the tests and for the benchmarks.
#
# start_virtual_display LOGDIR
#   Starts Xvfb (1280x800x24, black root, no TCP) on a display number it picks itself, then openbox, and
#   waits until the window manager has announced itself on the root window. Exports DISPLAY and appends
#   both process ids to the caller's `pids` array, which the caller kills on exit. Returns non-zero, with
#   the log of what failed on stderr, when either does not come up.
start_virtual_display() {
    local logs=$1 num="" _
    if ! command -v Xvfb >/dev/null || ! command -v openbox >/dev/null || ! command -v xprop >/dev/null; then
        echo "Xvfb, openbox or xprop is missing (make deps installs them)" >&2
        return 1
    fi
    : >"$logs/displayfd"
    # A black root: a window nobody has painted yet reads back as one colour.
    Xvfb -displayfd 3 -screen 0 1280x800x24 -br -nolisten tcp -noreset 3>"$logs/displayfd" >"$logs/xvfb.log" 2>&1 &
    pids+=($!)
    for _ in $(seq 200); do
        num=$(head -n1 "$logs/displayfd" 2>/dev/null)
        [ -n "$num" ] && break
        sleep 0.05
    done
    if [ -z "$num" ]; then
        echo "Xvfb did not start" >&2
        cat "$logs/xvfb.log" >&2
        return 1
    fi
    export DISPLAY=":$num"
    openbox --sm-disable >"$logs/openbox.log" 2>&1 &
    pids+=($!)
    for _ in $(seq 200); do
        xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id' && return 0
        sleep 0.05
    done
    echo "openbox did not start" >&2
    cat "$logs/openbox.log" >&2
    return 1
}
