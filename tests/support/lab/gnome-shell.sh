#!/usr/bin/env bash
# shellcheck disable=SC2317,SC2154 # traps call functions that look unreachable; lab_options sets lab_flag_*
# Runs one command inside a fresh, private, headless GNOME Shell (Wayland, with XWayland) session and
# returns the command's exit status. Nothing of the session is shared with the machine or with other
# sessions running at the same time (ctest -j): it lives in its own mount and network namespaces, with its
# own /tmp, its own system and session buses, and its own home and settings.
#
#   gnome-shell.sh [--size 1280x800] [--keep-overview] [--pipewire] -- command [args...]
#
# The command gets WAYLAND_DISPLAY, DISPLAY and XAUTHORITY (XWayland), DBUS_SESSION_BUS_ADDRESS,
# XDG_RUNTIME_DIR and HOME. Input goes in through org.gnome.Mutter.RemoteDesktop and screenshots come
# out through org.gnome.Shell.Screenshot, both on the session bus. The shell's log is printed on failure.
#
# --keep-overview leaves the Activities overview open, as GNOME Shell starts.
# --pipewire starts a PipeWire daemon in the session: a RemoteDesktop session linked to a ScreenCast
# stream (needed for NotifyPointerMotionAbsolute) fails to Start without one.
#
# Needs root (or an unprivileged user namespace, then it maps the caller to root), unshare and ip.
set -u

lab_name=gnome-shell.sh lab_log=shell.log
lab_tools=(gnome-shell gdbus gsettings)
lab_flags=(keep-overview pipewire)
# shellcheck source=SCRIPTDIR/session.sh
. "$(dirname "$(readlink -f "$0")")/session.sh"
lab_options "$@"
set -- "${lab_command[@]}"
lab_enter
lab_private_session --system-bus
export XDG_CURRENT_DESKTOP=GNOME XDG_SESSION_DESKTOP=gnome

# Settings go into the private dconf database before the shell reads them. They keep the screen as the
# test left it: no animations (screenshots show the final state at once), no hot corner (the pointer in
# the top-left corner would open the overview), no blanking or locking, no welcome tour, and a plain grey
# desktop that no show or panel is mistaken for (GNOME's own is a dark blue close to a slide's).
gsettings_batch() {
    gsettings set org.gnome.desktop.interface enable-animations false &&
        gsettings set org.gnome.desktop.background picture-uri '' &&
        gsettings set org.gnome.desktop.background picture-uri-dark '' &&
        gsettings set org.gnome.desktop.background color-shading-type solid &&
        gsettings set org.gnome.desktop.background primary-color '#808080' &&
        gsettings set org.gnome.desktop.interface enable-hot-corners false &&
        gsettings set org.gnome.desktop.session idle-delay 0 &&
        gsettings set org.gnome.desktop.screensaver lock-enabled false &&
        gsettings set org.gnome.desktop.screensaver idle-activation-enabled false &&
        gsettings set org.gnome.desktop.notifications show-banners false &&
        gsettings set org.gnome.shell welcome-dialog-last-shown-version '999' &&
        gsettings set org.gnome.desktop.input-sources sources "[('xkb', 'us')]"
}
gsettings_batch || die "cannot write the session's settings"

# Without a systemd user session mutter starts XWayland with the shell, not on demand, so DISPLAY can
# be checked before the command runs.
wayland_display=wayland-0
gnome-shell --headless --wayland --wayland-display="$wayland_display" --virtual-monitor "$size" \
    >"$root/shell.log" 2>&1 &
shell_pid=$!

shell_alive() { kill -0 "$shell_pid" 2>/dev/null || die "gnome-shell exited"; }
x_display() { # the public XWayland display; mutter also opens :N+1 for its own X11 services
    sed -n 's/.*Using public X11 display \(:[0-9]*\).*/\1/p' "$root/shell.log" | grep . | head -n 1
}
bus_has() { # well-known name on the session bus
    gdbus call --session -d org.freedesktop.DBus -o /org/freedesktop/DBus \
        -m org.freedesktop.DBus.NameHasOwner "$1" | grep -q true
}
ready() {
    shell_alive
    [ -S "$XDG_RUNTIME_DIR/$wayland_display" ] || return 1
    DISPLAY=$(x_display) || return 1
    # mutter writes XWayland's cookie here and only tells gnome-session (absent) where it is
    local cookie
    for cookie in "$XDG_RUNTIME_DIR"/.mutter-Xwaylandauth.*; do
        [ -f "$cookie" ] || return 1
        export XAUTHORITY=$cookie
    done
    xdpyinfo -display "$DISPLAY" >/dev/null 2>&1 || return 1
    bus_has org.gnome.Mutter.RemoteDesktop && bus_has org.gnome.Shell.Screenshot
}
started=$EPOCHREALTIME
for ((i = 0; ; i++)); do
    ready && break
    ((i < 600)) || die "timed out after 60 s waiting for gnome-shell, its Wayland socket and XWayland"
    sleep 0.1
done
export WAYLAND_DISPLAY=$wayland_display DISPLAY
if [ -n "${BREVLIN_LAB_VERBOSE:-}" ]; then
    awk -v a="$started" -v b="$EPOCHREALTIME" -v d="$DISPLAY" \
        'BEGIN { printf "gnome-shell.sh: shell ready after %.1f s on %s\n", b - a, d }' >&2
fi

# The shell starts in the Activities overview. Its OverviewActive property is writable without any
# allow-listing; it is set again until it reads false, in case the startup animation reopened it.
if [ "$lab_flag_keep_overview" = 0 ]; then
    overview() { # Get|Set, then its arguments
        local method=$1
        shift
        gdbus call --session -d org.gnome.Shell -o /org/gnome/Shell \
            -m "org.freedesktop.DBus.Properties.$method" "$@"
    }
    for ((i = 0; ; i++)); do
        overview Set org.gnome.Shell OverviewActive '<false>' >/dev/null 2>&1
        sleep 0.2
        overview Get org.gnome.Shell OverviewActive 2>/dev/null | grep -q false && break
        ((i < 50)) || die "the Activities overview did not close"
    done
fi

if [ "$lab_flag_pipewire" = 1 ]; then
    command -v pipewire >/dev/null || die "pipewire is missing (make deps)"
    pipewire >"$root/pipewire.log" 2>&1 &
    wait_for 10 "pipewire" test -S "$XDG_RUNTIME_DIR/pipewire-0"
fi

# Services the command's own clients may activate (portals, a11y) must see the displays too.
dbus-update-activation-environment WAYLAND_DISPLAY DISPLAY XAUTHORITY >/dev/null 2>&1
# The lab's drivers (tests/support/lab) pick their compositor by this name.
export BREVLIN_LAB_COMPOSITOR=gnome-shell

# In the background so that a SIGTERM reaches the trap at once; <&0 keeps the caller's stdin.
"$@" <&0 &
child=$!
wait "$child"
status=$?
exit "$status"
