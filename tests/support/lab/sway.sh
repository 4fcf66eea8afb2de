#!/usr/bin/env bash
# shellcheck disable=SC2317 # the functions that traps call look unreachable to it
# Runs one command inside a fresh, private, headless sway (wlroots) session with XWayland and returns the
# command's exit status. Nothing of the session is shared with the machine or with other sessions running
# at the same time (ctest -j): it lives in its own mount, network and pid namespaces, with its own /tmp,
# its own session bus, and its own home and settings.
#
#   sway.sh [--size 1280x800] -- command [args...]
#
# The command gets WAYLAND_DISPLAY, DISPLAY (XWayland), SWAYSOCK, DBUS_SESSION_BUS_ADDRESS,
# XDG_RUNTIME_DIR and HOME. Input goes in through the virtual keyboard and pointer protocols and
# screenshots come out of grim, both on the Wayland socket. sway's log is printed on failure.
#
# Needs root (or an unprivileged user namespace, then it maps the caller to root), unshare, ip and grim.
set -u

lab_name=sway.sh lab_log=sway.log
lab_tools=(sway swaymsg grim timeout)
lab_flags=()
# shellcheck source=SCRIPTDIR/session.sh
. "$(dirname "$(readlink -f "$0")")/session.sh"
lab_options "$@"
set -- "${lab_command[@]}"
lab_enter
lab_private_session --no-system-bus
export XDG_CURRENT_DESKTOP=sway XDG_SESSION_DESKTOP=sway

# The headless output has no cursor plane: the pointer is drawn into the picture that grim reads, where
# its white and black pixels would pass for part of a panel. A cursor theme of one transparent pixel,
# used by sway and by every client of the session (Qt's Wayland and X11 cursors alike), leaves it out.
cursor_theme=brevlin-lab-invisible
mkdir -p "$HOME/.icons/$cursor_theme/cursors"
# An Xcursor file: header, one table entry, one 1x1 image chunk (nominal size 24) with a clear pixel.
xcursor='Xcur\020\0\0\0\0\0\1\0\1\0\0\0' # magic, header size, version, entries
xcursor+='\2\0\375\377\030\0\0\0\034\0\0\0' # an image of size 24 at byte 28
xcursor+='\044\0\0\0\2\0\375\377\030\0\0\0\1\0\0\0' # its header: size, type, size 24, version
xcursor+='\1\0\0\0\1\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0' # 1x1, hot spot 0,0, no delay, clear
# shellcheck disable=SC2059 # the escapes are the point
printf "$xcursor" >"$HOME/.icons/$cursor_theme/cursors/default"
for name in left_ptr arrow top_left_arrow text xterm ibeam pointer hand1 hand2 pointing_hand openhand \
    closedhand grab grabbing watch wait progress left_ptr_watch half-busy crosshair cross move fleur \
    size_all all-scroll not-allowed forbidden crossed_circle col-resize row-resize split_h split_v \
    sb_h_double_arrow sb_v_double_arrow size_hor size_ver ew-resize ns-resize nwse-resize nesw-resize \
    size_fdiag size_bdiag e-resize w-resize n-resize s-resize ne-resize nw-resize se-resize sw-resize \
    top_side bottom_side left_side right_side top_left_corner top_right_corner bottom_left_corner \
    bottom_right_corner help whats_this question_arrow copy alias link dnd-none dnd-move dnd-copy \
    dnd-link up_arrow context-menu cell vertical-text zoom-in zoom-out X_cursor; do
    ln -s default "$HOME/.icons/$cursor_theme/cursors/$name"
done
export XCURSOR_THEME=$cursor_theme XCURSOR_SIZE=24

# One output of the wanted size, XWayland at once (not on demand, so DISPLAY can be checked before the
# command runs), no bar, no wallpaper: the grey background is all there is besides the windows.
width=${size%x*} height=${size#*x}
cat >"$root/sway.config" <<EOF
output HEADLESS-1 mode ${width}x${height} position 0 0
seat seat0 xcursor_theme $cursor_theme 24
xwayland enable
EOF

# sway refuses to start where it could become root again. In a user namespace of its own, where the
# caller is nobody, it cannot; yet its files and sockets belong to the caller, so the command, which runs
# as the caller, reads and writes everything it could outside.
WLR_BACKENDS=headless WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman WLR_HEADLESS_OUTPUTS=1 \
    unshare --user --map-user=65534 --map-group=65534 -- sway -V -c "$root/sway.config" \
    >"$root/sway.log" 2>&1 </dev/null &
sway_pid=$!

sway_alive() { kill -0 "$sway_pid" 2>/dev/null || die "sway exited"; }
ready() {
    sway_alive
    local socket
    for socket in "$XDG_RUNTIME_DIR"/wayland-[0-9]; do [ -S "$socket" ] && WAYLAND_DISPLAY=${socket##*/}; done
    [ -n "${WAYLAND_DISPLAY:-}" ] || return 1
    for socket in "$XDG_RUNTIME_DIR"/sway-ipc.*.sock; do [ -S "$socket" ] && SWAYSOCK=$socket; done
    [ -n "${SWAYSOCK:-}" ] || return 1
    swaymsg -s "$SWAYSOCK" -t get_outputs 2>/dev/null | grep -q "\"current_mode\"" || return 1
    # wlroots opens the X sockets itself and hands them to XWayland, which answers once it is up.
    for socket in /tmp/.X11-unix/X[0-9]*; do [ -S "$socket" ] && DISPLAY=:${socket##*/X}; done
    [ -n "${DISPLAY:-}" ] || return 1
    timeout 2 xdpyinfo -display "$DISPLAY" >/dev/null 2>&1
}
started=$EPOCHREALTIME
for ((i = 0; ; i++)); do
    ready && break
    ((i < 300)) || die "timed out after 30 s waiting for sway, its sockets and XWayland"
    sleep 0.1
done
export WAYLAND_DISPLAY SWAYSOCK DISPLAY
export I3SOCK=$SWAYSOCK
# The output must have the size asked for: grim's pictures and the pointer's extent are taken from it.
swaymsg -t get_outputs | tr -d ' \n' | grep -q "\"current_mode\":{\"width\":$width,\"height\":$height" ||
    die "the output is not ${width}x${height}: $(swaymsg -t get_outputs | tr -d '\n')"
if [ -n "${BREVLIN_LAB_VERBOSE:-}" ]; then
    awk -v a="$started" -v b="$EPOCHREALTIME" -v d="$DISPLAY" -v w="$WAYLAND_DISPLAY" \
        'BEGIN { printf "sway.sh: sway ready after %.1f s on %s and %s\n", b - a, w, d }' >&2
fi

dbus-update-activation-environment WAYLAND_DISPLAY DISPLAY SWAYSOCK >/dev/null 2>&1
# The lab's drivers (tests/support/lab) pick their compositor by this name.
export BREVLIN_LAB_COMPOSITOR=sway

# In the background so that a SIGTERM reaches the trap at once; <&0 keeps the caller's stdin.
"$@" <&0 &
child=$!
wait "$child"
status=$?
# A command that failed may have left sway's account of it behind.
[ "$status" = 0 ] || [ -z "${BREVLIN_LAB_VERBOSE:-}" ] || tail -n 50 "$root/sway.log" >&2
exit "$status"
