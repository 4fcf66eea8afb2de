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

size=1280x800
while [ $# -gt 0 ]; do
    case "$1" in
    --size)
        [ $# -gt 1 ] || { echo "kwin.sh: --size needs WxH" >&2; exit 2; }
        size=$2
        shift
        ;;
    --) shift; break ;;
    *) echo "kwin.sh: unknown option $1" >&2; exit 2 ;;
    esac
    shift
done
[ $# -gt 0 ] || { echo "kwin.sh: no command" >&2; exit 2; }
[[ $size =~ ^[0-9]+x[0-9]+$ ]] || { echo "kwin.sh: bad --size $size" >&2; exit 2; }

# ---------------------------------------------------------------------------------------------------
# Outside: run this script again in private namespaces. The network namespace makes XWayland's abstract
# sockets (@/tmp/.X11-unix/X0) private, so every session can have display :0. In the pid namespace the
# inner script is init: when it ends, or when unshare is killed (even with SIGKILL, as a ctest timeout
# does; --kill-child), the kernel kills every process of the session.
if [ -z "${BREVLIN_KWIN_SESSION_INNER:-}" ]; then
    for tool in unshare ip kwin_wayland Xwayland dbus-daemon xdpyinfo gdbus; do
        command -v "$tool" >/dev/null || { echo "kwin.sh: $tool is missing (make deps)" >&2; exit 1; }
    done
    userns=()
    [ "$(id -u)" = 0 ] || userns=(--user --map-root-user)
    BREVLIN_KWIN_SESSION_INNER=1 unshare "${userns[@]}" --mount --net --pid --fork --kill-child \
        --mount-proc --propagation private -- bash "$(readlink -f "$0")" --size "$size" -- "$@" <&0 &
    ns=$!
    # unshare neither dies of nor passes on SIGTERM: hand it to the inner script, which tears down.
    stop() {
        local init
        init=$(cat "/proc/$ns/task/$ns/children" 2>/dev/null)
        [ -n "$init" ] && kill -TERM "$init" 2>/dev/null
        for _ in $(seq 50); do
            kill -0 "$ns" 2>/dev/null || break
            sleep 0.1
        done
        kill -KILL "$ns" 2>/dev/null
        wait "$ns" 2>/dev/null
        exit "$1"
    }
    trap 'stop 143' TERM
    trap 'stop 130' INT
    trap 'stop 129' HUP
    wait "$ns"
    exit $?
fi
unset BREVLIN_KWIN_SESSION_INNER

die() {
    echo "kwin.sh: $*" >&2
    if [ -n "${root:-}" ] && [ -s "$root/kwin.log" ]; then
        echo "----- kwin log (last 200 lines) -----" >&2
        tail -n 200 "$root/kwin.log" >&2
        echo "-------------------------------------" >&2
    fi
    exit 1
}

# We are init of the session's pid namespace, so every other process in it is the session's, including
# those that daemonize or that the buses activate. Zombies have no ns link and are skipped.
session_pids() {
    local p
    for p in /proc/[0-9]*; do
        case "${p#/proc/}" in "$$" | "$BASHPID") continue ;; esac # us, and this $(...) subshell
        [ "$p/ns/mnt" -ef /proc/$$/ns/mnt ] && echo "${p#/proc/}"
    done 2>/dev/null
}
cleanup() {
    trap - EXIT TERM INT HUP
    kill -TERM -1 2>/dev/null
    for _ in $(seq 30); do
        [ -z "$(session_pids)" ] && break
        sleep 0.1
    done
    # Whatever is left is killed by the kernel when we, init, exit; the tmpfs mounts go with the namespace.
}
trap cleanup EXIT
trap 'exit 143' TERM
trap 'exit 130' INT
trap 'exit 129' HUP

ip link set lo up || die "cannot bring up lo"

# A private /tmp keeps XWayland's /tmp/.X0-lock and /tmp/.X11-unix/X0 apart from other sessions. The
# machine's /tmp entries are bound back (except X's own), so a command or build tree that lives under
# /tmp still works and what it writes there stays.
mount -t tmpfs -o mode=755 tmpfs /mnt || die "cannot mount a tmpfs"
mkdir /mnt/outer-tmp
mount --bind /tmp /mnt/outer-tmp || die "cannot bind /tmp"
mount -t tmpfs -o mode=1777 tmpfs /tmp || die "cannot mount a tmpfs on /tmp"
shopt -s dotglob nullglob
for entry in /mnt/outer-tmp/*; do
    name=${entry##*/}
    case "$name" in
    .X*-lock | .X11-unix | .ICE-unix | .XIM-unix | .font-unix | .Test-unix) continue ;;
    esac
    if [ -L "$entry" ]; then
        cp -P "$entry" "/tmp/$name"
    elif [ -d "$entry" ]; then
        mkdir "/tmp/$name" && mount --bind "$entry" "/tmp/$name"
    else
        : >"/tmp/$name" && mount --bind "$entry" "/tmp/$name"
    fi
done 2>/dev/null
shopt -u dotglob nullglob
umount -l /mnt 2>/dev/null
mkdir -m 1777 /tmp/.X11-unix /tmp/.ICE-unix

# No logind here: KWin's clients must not reach the machine's systemd, and a private system bus answers
# "no such service" at once instead of timing out.
mount -t tmpfs -o mode=755 tmpfs /run/systemd || die "cannot mount a tmpfs on /run/systemd"
mkdir -p /run/dbus
mount -t tmpfs -o mode=755 tmpfs /run/dbus || die "cannot mount a tmpfs on /run/dbus"

root=$(mktemp -d /tmp/brevlin-kwin.XXXXXX)
chmod 755 "$root"

cat >"$root/system-bus.conf" <<'EOF'
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path=/run/dbus/system_bus_socket</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_type="method_call"/>
    <allow send_type="signal"/>
    <allow send_type="method_return"/>
    <allow send_type="error"/>
    <allow receive_type="method_call"/>
    <allow receive_type="signal"/>
    <allow receive_type="method_return"/>
    <allow receive_type="error"/>
  </policy>
</busconfig>
EOF
dbus-daemon --config-file="$root/system-bus.conf" --nofork --nopidfile --nosyslog \
    >"$root/system-bus.log" 2>&1 &
export DBUS_SYSTEM_BUS_ADDRESS=unix:path=/run/dbus/system_bus_socket

export HOME="$root/home"
export XDG_CONFIG_HOME="$HOME/.config" XDG_DATA_HOME="$HOME/.local/share" XDG_CACHE_HOME="$HOME/.cache"
export XDG_STATE_HOME="$HOME/.local/state"
export XDG_RUNTIME_DIR="$root/runtime"
mkdir -p "$XDG_CONFIG_HOME" "$XDG_DATA_HOME" "$XDG_CACHE_HOME" "$XDG_STATE_HOME" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
# Texts and number formats must not depend on the machine's locale.
export LC_ALL=C.UTF-8 LANG=C.UTF-8
export XDG_SESSION_TYPE=wayland XDG_CURRENT_DESKTOP=KDE XDG_SESSION_DESKTOP=KDE KDE_FULL_SESSION=true
export KDE_SESSION_VERSION=5
unset DISPLAY WAYLAND_DISPLAY SESSION_MANAGER DBUS_SESSION_BUS_ADDRESS XAUTHORITY
unset QT_QPA_PLATFORM GDK_BACKEND

export DBUS_SESSION_BUS_ADDRESS="unix:path=$XDG_RUNTIME_DIR/bus"
dbus-daemon --session --address="$DBUS_SESSION_BUS_ADDRESS" --nofork --nopidfile --nosyslog \
    >"$root/session-bus.log" 2>&1 &

wait_for() { # seconds, description, command...: polls every 0.1 s
    local limit=$(($1 * 10)) what=$2 i
    shift 2
    for ((i = 0; i < limit; i++)); do
        "$@" >/dev/null 2>&1 && return 0
        sleep 0.1
    done
    die "timed out after $((limit / 10)) s waiting for $what"
}
wait_for 10 "the system bus" test -S /run/dbus/system_bus_socket
wait_for 10 "the session bus" gdbus call --session -d org.freedesktop.DBus -o /org/freedesktop/DBus \
    -m org.freedesktop.DBus.GetId

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
