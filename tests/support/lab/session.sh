# shellcheck shell=bash
# shellcheck disable=SC2317,SC2154 # traps call functions shellcheck sees as unreachable; the launcher sets lab_*
# What every launcher of the Wayland lab (gnome-shell.sh, sway.sh, kwin.sh) does alike, sourced by each:
# run the launcher again inside private namespaces, give the session a private /tmp, its own buses, home
# and settings, and end every process of it at the end. The launcher sets lab_name (its own name, for
# messages), lab_log (the compositor's log file name under $root), lab_tools (the commands it needs) and
# lab_flags (its own options without a value, none if empty), then calls lab_options "$@" and lab_enter.

# Reads the launcher's arguments: [--size WxH] [--FLAG...] -- COMMAND... Sets size (1280x800 unless
# given), lab_flag_FLAG=1 for each flag given ("-" in its name as "_"; 0 for the others) and lab_command.
lab_options() {
    local flag
    size=1280x800 lab_given=() lab_command=()
    for flag in "${lab_flags[@]}"; do printf -v "lab_flag_${flag//-/_}" 0; done
    while [ $# -gt 0 ]; do
        case "$1" in
        --size)
            [ $# -gt 1 ] || { echo "$lab_name: --size needs WxH" >&2; exit 2; }
            size=$2
            shift
            ;;
        --) shift; break ;;
        *)
            flag=${1#--}
            [[ $1 == --* && " ${lab_flags[*]} " == *" $flag "* ]] || {
                echo "$lab_name: unknown option $1" >&2
                exit 2
            }
            printf -v "lab_flag_${flag//-/_}" 1
            lab_given+=("$1")
            ;;
        esac
        shift
    done
    [ $# -gt 0 ] || { echo "$lab_name: no command" >&2; exit 2; }
    [[ $size =~ ^[0-9]+x[0-9]+$ ]] || { echo "$lab_name: bad --size $size" >&2; exit 2; }
    lab_command=("$@")
}

# Outside: runs the launcher again in private mount, network and pid namespaces with the same options
# and command, and exits with its status. The network namespace makes XWayland's abstract sockets
# (@/tmp/.X11-unix/X0) private, so every session can have display :0. In the pid namespace the inner
# launcher is init: when it ends, or when unshare is killed (even with SIGKILL, as a ctest timeout does;
# --kill-child), the kernel kills every process of the session. Inside: returns at once.
lab_enter() {
    if [ -n "${BREVLIN_LAB_INNER:-}" ]; then
        unset BREVLIN_LAB_INNER
        return
    fi
    local tool userns=()
    for tool in unshare ip dbus-daemon Xwayland xdpyinfo "${lab_tools[@]}"; do
        command -v "$tool" >/dev/null || { echo "$lab_name: $tool is missing (make deps)" >&2; exit 1; }
    done
    [ "$(id -u)" = 0 ] || userns=(--user --map-root-user)
    BREVLIN_LAB_INNER=1 unshare "${userns[@]}" --mount --net --pid --fork --kill-child \
        --mount-proc --propagation private -- bash "$(readlink -f "$0")" --size "$size" "${lab_given[@]}" -- \
        "${lab_command[@]}" <&0 &
    lab_namespace=$!
    trap 'lab_stop 143' TERM
    trap 'lab_stop 130' INT
    trap 'lab_stop 129' HUP
    wait "$lab_namespace"
    exit $?
}

# unshare neither dies of nor passes on SIGTERM: the inner launcher, which tears down, gets it.
lab_stop() {
    local init
    init=$(cat "/proc/$lab_namespace/task/$lab_namespace/children" 2>/dev/null)
    [ -n "$init" ] && kill -TERM "$init" 2>/dev/null
    for _ in $(seq 50); do
        kill -0 "$lab_namespace" 2>/dev/null || break
        sleep 0.1
    done
    kill -KILL "$lab_namespace" 2>/dev/null
    wait "$lab_namespace" 2>/dev/null
    exit "$1"
}

die() {
    echo "$lab_name: $*" >&2
    if [ -n "${root:-}" ] && [ -s "$root/$lab_log" ]; then
        echo "----- $lab_log (last 200 lines) -----" >&2
        tail -n 200 "$root/$lab_log" >&2
        echo "-----" >&2
    fi
    exit 1
}

wait_for() { # seconds, description, command...: polls every 0.1 s
    local limit=$(($1 * 10)) what=$2 i
    shift 2
    for ((i = 0; i < limit; i++)); do
        "$@" >/dev/null 2>&1 && return 0
        sleep 0.1
    done
    die "timed out after $((limit / 10)) s waiting for $what"
}

# We are init of the session's pid namespace, so every other process in it is the session's, including
# those that daemonize or that the buses activate. Zombies have no ns link and are skipped.
lab_session_pids() {
    local p
    for p in /proc/[0-9]*; do
        case "${p#/proc/}" in "$$" | "$BASHPID") continue ;; esac # us, and this $(...) subshell
        [ "$p/ns/mnt" -ef /proc/$$/ns/mnt ] && echo "${p#/proc/}"
    done 2>/dev/null
}
lab_cleanup() {
    trap - EXIT TERM INT HUP
    kill -TERM -1 2>/dev/null
    for _ in $(seq 30); do
        [ -z "$(lab_session_pids)" ] && break
        sleep 0.1
    done
    # Whatever is left is killed by the kernel when we, init, exit; the tmpfs mounts go with the namespace.
}

# Inside: the private machine of the session. Sets root (the session's folder), HOME and the XDG folders,
# the locale, a private session bus (DBUS_SESSION_BUS_ADDRESS), and with --system-bus a private system bus
# too; leaves no display of the caller's in the environment.
#   lab_private_session [--system-bus]
lab_private_session() {
    trap lab_cleanup EXIT
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
    local entry name
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

    # Compositors talk to logind where /run/systemd/seats exists (GNOME Shell 43 dies without it): hide
    # systemd, and the machine's system bus, whose clients then get a quick answer instead of timeouts.
    mount -t tmpfs -o mode=755 tmpfs /run/systemd 2>/dev/null
    mkdir -p /run/dbus
    mount -t tmpfs -o mode=755 tmpfs /run/dbus || die "cannot mount a tmpfs on /run/dbus"

    root=$(mktemp -d "/tmp/brevlin-${lab_name%.sh}.XXXXXX")
    chmod 755 "$root"
    export HOME="$root/home"
    export XDG_CONFIG_HOME="$HOME/.config" XDG_DATA_HOME="$HOME/.local/share" XDG_CACHE_HOME="$HOME/.cache"
    export XDG_STATE_HOME="$HOME/.local/state"
    export XDG_RUNTIME_DIR="$root/runtime"
    mkdir -p "$XDG_CONFIG_HOME" "$XDG_DATA_HOME" "$XDG_CACHE_HOME" "$XDG_STATE_HOME" "$XDG_RUNTIME_DIR"
    chmod 700 "$XDG_RUNTIME_DIR"
    # Texts and number formats must not depend on the machine's locale.
    export LC_ALL=C.UTF-8 LANG=C.UTF-8
    export XDG_SESSION_TYPE=wayland
    unset DISPLAY WAYLAND_DISPLAY SWAYSOCK I3SOCK SESSION_MANAGER DBUS_SESSION_BUS_ADDRESS XAUTHORITY
    unset GNOME_SETUP_DISPLAY QT_QPA_PLATFORM GDK_BACKEND

    if [ "${1:-}" = --system-bus ]; then
        # At the standard address, allowing everything, with no services: the compositor's system-bus
        # clients (logind, polkit, ...) get "no such service" at once.
        cat >"$root/system-bus.conf" <<'CONF'
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
CONF
        dbus-daemon --config-file="$root/system-bus.conf" --nofork --nopidfile --nosyslog \
            >"$root/system-bus.log" 2>&1 &
        export DBUS_SYSTEM_BUS_ADDRESS=unix:path=/run/dbus/system_bus_socket
        wait_for 10 "the system bus" test -S /run/dbus/system_bus_socket
    fi

    # The session bus gets the environment above, so the services it activates (dconf) use our home.
    export DBUS_SESSION_BUS_ADDRESS="unix:path=$XDG_RUNTIME_DIR/bus"
    dbus-daemon --session --address="$DBUS_SESSION_BUS_ADDRESS" --nofork --nopidfile --nosyslog \
        >"$root/session-bus.log" 2>&1 &
    wait_for 10 "the session bus" test -S "$XDG_RUNTIME_DIR/bus"
}
