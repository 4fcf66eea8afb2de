#!/usr/bin/env bash
# shellcheck disable=SC2317 # the functions that traps call look unreachable to it
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

size=1280x800 keep_overview=0 want_pipewire=0
while [ $# -gt 0 ]; do
    case "$1" in
    --size)
        [ $# -gt 1 ] || { echo "gnome-shell.sh: --size needs WxH" >&2; exit 2; }
        size=$2
        shift
        ;;
    --keep-overview) keep_overview=1 ;;
    --pipewire) want_pipewire=1 ;;
    --) shift; break ;;
    *) echo "gnome-shell.sh: unknown option $1" >&2; exit 2 ;;
    esac
    shift
done
[ $# -gt 0 ] || { echo "gnome-shell.sh: no command" >&2; exit 2; }
[[ $size =~ ^[0-9]+x[0-9]+$ ]] || { echo "gnome-shell.sh: bad --size $size" >&2; exit 2; }

# ---------------------------------------------------------------------------------------------------
# Outside: run this script again in private namespaces. The network namespace makes XWayland's abstract
# sockets (@/tmp/.X11-unix/X0) private, so every session can have display :0. In the pid namespace the
# inner script is init: when it ends, or when unshare is killed (even with SIGKILL, as a ctest timeout
# does; --kill-child), the kernel kills every process of the session.
if [ -z "${BREVLIN_GNOME_SESSION_INNER:-}" ]; then
    for tool in unshare ip gnome-shell Xwayland dbus-daemon xdpyinfo gdbus gsettings; do
        command -v "$tool" >/dev/null || { echo "gnome-shell.sh: $tool is missing (make deps)" >&2; exit 1; }
    done
    userns=()
    [ "$(id -u)" = 0 ] || userns=(--user --map-root-user)
    opts=(--size "$size")
    [ "$keep_overview" = 1 ] && opts+=(--keep-overview)
    [ "$want_pipewire" = 1 ] && opts+=(--pipewire)
    BREVLIN_GNOME_SESSION_INNER=1 unshare "${userns[@]}" --mount --net --pid --fork --kill-child \
        --mount-proc --propagation private -- bash "$(readlink -f "$0")" "${opts[@]}" -- "$@" <&0 &
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
unset BREVLIN_GNOME_SESSION_INNER

die() {
    echo "gnome-shell.sh: $*" >&2
    if [ -n "${root:-}" ] && [ -s "$root/shell.log" ]; then
        echo "----- gnome-shell log (last 200 lines) -----" >&2
        tail -n 200 "$root/shell.log" >&2
        echo "--------------------------------------------" >&2
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

# GNOME Shell 43 talks to logind when /run/systemd/seats exists and dies without it: hide systemd.
mount -t tmpfs -o mode=755 tmpfs /run/systemd || die "cannot mount a tmpfs on /run/systemd"
# Our own system bus at the standard address, so the shell's system-bus clients get quick answers
# ("no such service") instead of reaching the machine's services or waiting for timeouts.
mkdir -p /run/dbus
mount -t tmpfs -o mode=755 tmpfs /run/dbus || die "cannot mount a tmpfs on /run/dbus"

root=$(mktemp -d /tmp/brevlin-gnome.XXXXXX)
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
export XDG_SESSION_TYPE=wayland XDG_CURRENT_DESKTOP=GNOME XDG_SESSION_DESKTOP=gnome
unset DISPLAY WAYLAND_DISPLAY SESSION_MANAGER DBUS_SESSION_BUS_ADDRESS XAUTHORITY GNOME_SETUP_DISPLAY
unset QT_QPA_PLATFORM GDK_BACKEND

# The session bus gets the environment above, so the services it activates (dconf) use our home.
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
if [ "$keep_overview" = 0 ]; then
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

if [ "$want_pipewire" = 1 ]; then
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
