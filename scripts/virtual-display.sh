# Sourced, not run: a private X server with a real window manager, for the timer where no display is,
# for the tests, the benchmarks and scripts/stage.sh.
#
# start_virtual_display LOGDIR [:N]
#   Starts Xvfb (1280x800x24, black root, no TCP) on display :N, or on a number it picks itself, then the window
#   manager named by BREVLIN_WM (openbox unless set; also metacity, marco, xfwm4, xfwm4-compositing,
#   kwin_x11), without a compositor (but for xfwm4-compositing) or a session bus, and waits until it has
#   announced itself on the root window. Exports
#   DISPLAY and appends both process ids to the caller's `pids` array, which the caller kills on exit.
#   Returns non-zero, with the log of what failed on stderr, when either does not come up.
start_virtual_display() {
    local logs=$1 asked=${2:-} wm=${BREVLIN_WM:-openbox} num="" _
    local -a wm_command
    case "$wm" in
    openbox) wm_command=(openbox --sm-disable) ;;
    metacity) wm_command=(metacity --replace --compositor=none --sm-disable) ;;
    marco) wm_command=(marco --replace --no-composite --sm-disable) ;;
    # xfwm4 reads its settings through xfconfd, which only a session bus starts.
    xfwm4) wm_command=(dbus-run-session -- xfwm4 --replace --compositor=off --sm-client-disable) ;;
    # The same with its compositor, for what a compositing manager does to the windows' looks.
    xfwm4-compositing)
        wm_command=(dbus-run-session -- xfwm4 --replace --compositor=on --sm-client-disable) ;;
    kwin_x11) wm_command=(kwin_x11 --replace) ;;
    *)
        echo "unknown window manager $wm (openbox, metacity, marco, xfwm4, xfwm4-compositing, kwin_x11)" >&2
        return 1
        ;;
    esac
    if ! command -v Xvfb >/dev/null || ! command -v "${wm_command[0]}" >/dev/null || ! command -v xprop >/dev/null; then
        echo "Xvfb, $wm or xprop is missing (make deps installs Xvfb, openbox and xprop)" >&2
        return 1
    fi
    : >"$logs/displayfd"
    # A black root: a window nobody has painted yet reads back as one colour.
    if [ -n "$asked" ]; then
        asked=${asked#:}
        if [ -e "/tmp/.X$asked-lock" ]; then
            echo "display :$asked is taken" >&2
            return 1
        fi
        Xvfb ":$asked" -screen 0 1280x800x24 -br -nolisten tcp -noreset >"$logs/xvfb.log" 2>&1 &
        pids+=($!)
        for _ in $(seq 200); do
            DISPLAY=":$asked" xprop -root >/dev/null 2>&1 && num=$asked && break
            sleep 0.05
        done
    else
        Xvfb -displayfd 3 -screen 0 1280x800x24 -br -nolisten tcp -noreset 3>"$logs/displayfd" >"$logs/xvfb.log" 2>&1 &
        pids+=($!)
        for _ in $(seq 200); do
            num=$(head -n1 "$logs/displayfd" 2>/dev/null)
            [ -n "$num" ] && break
            sleep 0.05
        done
    fi
    if [ -z "$num" ]; then
        echo "Xvfb did not start" >&2
        cat "$logs/xvfb.log" >&2
        return 1
    fi
    export DISPLAY=":$num"
    # No session bus and no settings daemon here: GSettings reads its defaults from memory, KWin draws
    # without a compositor, and nobody tries to start a bus on demand.
    env GSETTINGS_BACKEND=memory KWIN_COMPOSE=N DBUS_SESSION_BUS_ADDRESS=disabled: NO_AT_BRIDGE=1 \
        QT_QPA_PLATFORM=xcb "${wm_command[@]}" >"$logs/wm.log" 2>&1 &
    pids+=($!)
    for _ in $(seq 300); do
        xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id' && return 0
        sleep 0.05
    done
    echo "$wm did not start" >&2
    cat "$logs/wm.log" >&2
    return 1
}
