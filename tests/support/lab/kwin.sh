#!/usr/bin/env bash
# shellcheck disable=SC2317 # the functions that traps call look unreachable to it
# Runs one command inside a fresh, private, headless KWin (Plasma's compositor, Wayland with XWayland)
# session and returns the command's exit status. Nothing of the session is shared with the machine or with
# other sessions running at the same time (ctest -j): it lives in its own mount, network and pid
# namespaces, with its own /tmp, its own system and session buses, and its own home and settings.
#
#   kwin.sh [--size 1280x800] -- command [args...]
#
# The command gets WAYLAND_DISPLAY, DISPLAY and XAUTHORITY (XWayland), DBUS_SESSION_BUS_ADDRESS,
# XDG_RUNTIME_DIR, HOME and BREVLIN_LAB_COMPOSITOR=kwin. Input goes in through the Wayland protocol
# org_kde_kwin_fake_input and screenshots come out through org.kde.KWin.ScreenShot2 on the session bus,
# which answers anyone here (KWIN_SCREENSHOT_NO_PERMISSION_CHECKS). KWin's log is printed on failure.
#
# Needs root (or an unprivileged user namespace, then it maps the caller to root), unshare and ip.
set -u

lab_name=kwin.sh lab_log=kwin.log
lab_tools=(kwin_wayland gdbus)
lab_flags=()
# shellcheck source=SCRIPTDIR/session.sh
. "$(dirname "$(readlink -f "$0")")/session.sh"
lab_options "$@"
set -- "${lab_command[@]}"
lab_enter
lab_private_session --system-bus
export XDG_CURRENT_DESKTOP=KDE XDG_SESSION_DESKTOP=KDE KDE_FULL_SESSION=true KDE_SESSION_VERSION=5

# Settings keep the screen as the test left it: no animations (screenshots show the final state at once),
# no screen edges or corners that react to the pointer, no blanking or locking.
cat >"$XDG_CONFIG_HOME/kdeglobals" <<'EOF'
[KDE]
AnimationDurationFactor=0
EOF
cat >"$XDG_CONFIG_HOME/kwinrc" <<'EOF'
[Compositing]
AnimationSpeed=0
[ElectricBorders]
TopLeft=None
TopRight=None
BottomLeft=None
BottomRight=None
[Effect-overview]
BorderActivate=9
[Effect-windowview]
BorderActivateAll=9
[TabBox]
BorderActivate=9
[Windows]
ElectricBorders=0
[Plugins]
screenedgeEnabled=false
EOF
cat >"$XDG_CONFIG_HOME/kxkbrc" <<'EOF'
[Layout]
LayoutList=us
Use=true
EOF
cat >"$XDG_CONFIG_HOME/kscreenlockerrc" <<'EOF'
[Daemon]
Autolock=false
LockOnResume=false
Timeout=0
EOF

# kwin_wayland carries a file capability (cap_sys_resource, to raise its own limits); where the
# container's bounding set lacks it, exec fails with EPERM. A copy without the capability runs, and it
# must keep the name: KWin's built-in Qt platform plugin only loads in a binary called kwin_wayland.
kwin=$(command -v kwin_wayland)
if ! "$kwin" --version >/dev/null 2>&1; then
    mkdir "$root/bin"
    cp "$kwin" "$root/bin/kwin_wayland" || die "cannot copy kwin_wayland"
    kwin="$root/bin/kwin_wayland"
    "$kwin" --version >/dev/null 2>&1 || die "kwin_wayland does not run, not even a copy of it"
fi

# KWin starts XWayland itself on a display it picks and writes the cookie to a file of its own; the
# programs it starts once XWayland is up get both in their environment, so one of them writes that down.
cat >"$root/xwayland-ready.sh" <<EOF
#!/bin/sh
{ echo "DISPLAY=\$DISPLAY"; echo "XAUTHORITY=\$XAUTHORITY"; } >"$root/xwayland.env.part"
mv "$root/xwayland.env.part" "$root/xwayland.env"
EOF
chmod +x "$root/xwayland-ready.sh"

wayland_display=wayland-0
width=${size%x*} height=${size#*x}
# Screenshots and fake input for any client here: KWin otherwise allows them only to programs whose
# desktop file lists them (X-KDE-DBUS-Restricted-Interfaces, X-KDE-Wayland-Interfaces).
KWIN_SCREENSHOT_NO_PERMISSION_CHECKS=1 KWIN_WAYLAND_NO_PERMISSION_CHECKS=1 "$kwin" --virtual --xwayland --width "$width" --height "$height" \
    --socket "$wayland_display" --no-lockscreen --no-kactivities "$root/xwayland-ready.sh" \
    >"$root/kwin.log" 2>&1 &
kwin_pid=$!

kwin_alive() { kill -0 "$kwin_pid" 2>/dev/null || die "kwin_wayland exited"; }
bus_has() { # well-known name on the session bus
    gdbus call --session -d org.freedesktop.DBus -o /org/freedesktop/DBus \
        -m org.freedesktop.DBus.NameHasOwner "$1" | grep -q true
}
screenshot_ready() { # the screenshot effect registers its object once compositing runs
    gdbus call --session -d org.kde.KWin -o /org/kde/KWin/ScreenShot2 \
        -m org.freedesktop.DBus.Properties.Get org.kde.KWin.ScreenShot2 Version
}
ready() {
    kwin_alive
    [ -S "$XDG_RUNTIME_DIR/$wayland_display" ] || return 1
    [ -f "$root/xwayland.env" ] || return 1
    DISPLAY=$(sed -n 's/^DISPLAY=//p' "$root/xwayland.env")
    XAUTHORITY=$(sed -n 's/^XAUTHORITY=//p' "$root/xwayland.env")
    [ -n "$DISPLAY" ] || return 1
    export DISPLAY
    # Without a cookie of its own XWayland lets in any local client: nothing to pass on then.
    if [ -n "$XAUTHORITY" ]; then export XAUTHORITY; else unset XAUTHORITY; fi
    xdpyinfo -display "$DISPLAY" >/dev/null 2>&1 || return 1
    bus_has org.kde.KWin && screenshot_ready
}
started=$EPOCHREALTIME
for ((i = 0; ; i++)); do
    ready && break
    ((i < 600)) || die "timed out after 60 s waiting for kwin_wayland, its Wayland socket, XWayland and its D-Bus services"
    sleep 0.1
done
export WAYLAND_DISPLAY=$wayland_display
if [ -n "${BREVLIN_LAB_VERBOSE:-}" ]; then
    awk -v a="$started" -v b="$EPOCHREALTIME" -v d="$DISPLAY" \
        'BEGIN { printf "kwin.sh: kwin ready after %.1f s on %s\n", b - a, d }' >&2
fi

# Services the command's own clients may activate (portals, a11y) must see the displays too.
dbus-update-activation-environment WAYLAND_DISPLAY DISPLAY XAUTHORITY >/dev/null 2>&1
# The lab's drivers (tests/support/lab) pick their compositor by this name.
export BREVLIN_LAB_COMPOSITOR=kwin

# In the background so that a SIGTERM reaches the trap at once; <&0 keeps the caller's stdin.
"$@" <&0 &
child=$!
wait "$child"
status=$?
exit "$status"
