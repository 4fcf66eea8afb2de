#!/usr/bin/env bash
# Takes the screenshots of docs/user-guide.md from the real application, driven as a presenter would.
#
#   scripts/user-guide-shots.sh path/to/brevlin DISPLAY [OUTDIR]
#
# Builds nothing: give it a built binary (build/default/bin/brevlin). Starts Xvfb (1280x800) on DISPLAY
# (":65", or "65") with openbox and a fresh home, so the timer shows its first-launch settings, then
# clicks and types with xdotool and writes the PNGs into OUTDIR (docs/images unless given):
#
#   panel-idle.png  panel-menu.png  panel-running.png  panel-overtime.png  over-slide-show.png
#   preferences.png  about.png  panel-signals.png
#
# The slide show is evince in presentation mode on a PDF of scripts/stage/deck.fodp (made with soffice,
# both installed by `make stage`); without them, fake_slideshow from the binary's build tree stands in.
# Needs Xvfb, openbox, xdotool, xprop, wmctrl and ImageMagick. Run it again after the windows change.
set -euo pipefail

if [ $# -lt 2 ]; then
    sed -n '4,5p' "$0" >&2
    exit 2
fi
app=$(realpath "$1")
display=":${2#:}"
here=$(cd "$(dirname "$0")" && pwd)
out=$(realpath -m "${3:-$here/../docs/images}")
[ -x "$app" ] || { echo "no executable at $1" >&2; exit 2; }
for tool in Xvfb openbox xdotool xprop wmctrl import convert display; do
    command -v "$tool" >/dev/null || { echo "$tool is missing" >&2; exit 1; }
done
mkdir -p "$out"

work=$(mktemp -d "${TMPDIR:-/tmp}/brevlin-shots.XXXXXX")
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

# A first launch: nothing stored, no sounds copied yet; English texts whatever the machine's locale.
export HOME="$work/home" XDG_CONFIG_HOME="$work/home/.config" XDG_DATA_HOME="$work/home/.local/share"
export XDG_CACHE_HOME="$work/home/.cache" XDG_RUNTIME_DIR="$work/runtime"
mkdir -p "$XDG_CONFIG_HOME" "$XDG_DATA_HOME" "$XDG_CACHE_HOME" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
export LC_ALL=C.UTF-8 LANG=C.UTF-8 DISPLAY="$display" QT_QPA_PLATFORM=xcb
unset WAYLAND_DISPLAY SESSION_MANAGER

# shellcheck source=SCRIPTDIR/wait-for.sh
. "$here/wait-for.sh"
# shellcheck source=SCRIPTDIR/virtual-display.sh
. "$here/virtual-display.sh"

# geometry WINDOW: "WIDTHxHEIGHT+X+Y" of the window's inside, in root coordinates.
geometry() {
    local X Y WIDTH HEIGHT
    eval "$(xdotool getwindowgeometry --shell "$1" | grep -E '^(X|Y|WIDTH|HEIGHT)=')"
    echo "${WIDTH}x${HEIGHT}+${X}+${Y}"
}

# shot NAME AREA: the root window's pixels in AREA ("WxH+X+Y"), as a small PNG.
shot() {
    import -window root "$work/root.png"
    convert "$work/root.png" -crop "$2" +repage -strip -define png:compression-level=9 "$out/$1"
    echo "$out/$1"
}

# The entry of the panel's context menu that is N down from the top, chosen with the keyboard.
choose_from_menu() {
    xdotool mousemove --window "$panel" 8 8 click 3
    sleep 0.6
    for _ in $(seq "$1"); do xdotool key Down; done
    xdotool key Return
}

BREVLIN_WM=openbox start_virtual_display "$work" "$display" || exit 1
# A calm grey desktop rather than black, so that the windows' edges show.
convert -size 1280x800 xc:'#5a6270' "$work/desktop.png"
# display sets the background and then reports failure for want of a window of its own.
display -window root "$work/desktop.png" 2>/dev/null || true

"$app" >"$work/app.log" 2>&1 &
pids+=($!)
panel=$(xdotool search --sync --onlyvisible --class brevlin | head -n1)
sleep 1.5
# The window with a little of the desktop around it, so that its edge can be seen.
around() {
    local W H X Y
    IFS='x+' read -r W H X Y <<<"$(geometry "$1")"
    echo "$((W + 24))x$((H + 24))+$((X - 12))+$((Y - 12))"
}
shot panel-idle.png "$(around "$panel")"

# The context menu, beside the panel.
xdotool mousemove --window "$panel" 8 8 click 3
sleep 0.8
menu=$(xdotool search --onlyvisible --class brevlin | grep -vx "$panel" | tail -n1)
IFS='x+' read -r pw ph px py <<<"$(geometry "$panel")"
IFS='x+' read -r mw mh mx my <<<"$(geometry "$menu")"
left=$((px < mx ? px : mx)) top=$((py < my ? py : my))
right=$((px + pw > mx + mw ? px + pw : mx + mw)) bottom=$((py + ph > my + mh ? py + ph : my + mh))
shot panel-menu.png "$((right - left + 24))x$((bottom - top + 24))+$((left - 12))+$((top - 12))"
xdotool key Escape
sleep 0.3

# Ten minutes, started with Return: the digits grow, the play button goes.
xdotool mousemove --window "$panel" 110 60 click 1
sleep 0.3
xdotool key ctrl+a type 0:10:0
xdotool key Return
sleep 3.5
shot panel-running.png "$(around "$panel")"

# Overtime: a click on the running time pauses it, a click into it edits it; three seconds, then past zero.
xdotool mousemove --window "$panel" 170 60 click 1
sleep 0.5
xdotool mousemove --window "$panel" 110 60 click 1
sleep 0.3
xdotool key ctrl+a type 0:0:3
xdotool key Return
sleep 7.5
shot panel-overtime.png "$(around "$panel")"

# Over a full-screen slide show: a fresh twenty minutes, then the show starts and has the keyboard.
xdotool mousemove --window "$panel" 170 60 click 1
sleep 0.5
xdotool mousemove --window "$panel" 110 60 click 1
sleep 0.3
xdotool key ctrl+a type 0:20:0
xdotool key Return
deck="$here/stage/deck.fodp"
fake="$(dirname "$app")/../tests/support/fake_slideshow"
show_class=""
if command -v evince >/dev/null && command -v soffice >/dev/null && [ -f "$deck" ] &&
    HOME="$work/office" timeout 120 soffice --headless --convert-to pdf --outdir "$work" "$deck" \
        >"$work/soffice.log" 2>&1 && [ -f "$work/deck.pdf" ]; then
    evince --presentation "$work/deck.pdf" >"$work/show.log" 2>&1 &
    pids+=($!)
    show_class=evince
elif [ -x "$fake" ]; then
    # It runs until its input ends: a pipe this script holds open until it exits.
    mkfifo "$work/show-input"
    exec 3<>"$work/show-input"
    "$fake" >"$work/show.log" 2>&1 <"$work/show-input" &
    pids+=($!)
    show_class=fakeslideshow
fi
if [ -n "$show_class" ]; then
    show=$(xdotool search --sync --onlyvisible --class "$show_class" | tail -n1)
    xdotool windowactivate --sync "$show" 2>/dev/null || true
    wait_for 20 sh -c "xdotool getwindowgeometry '$show' | grep -q 'Geometry: 1280x800'"
    sleep 3
    import -window root "$work/root.png"
    convert "$work/root.png" -resize 50% -strip -define png:compression-level=9 "$out/over-slide-show.png"
    echo "$out/over-slide-show.png"
    kill "${pids[-1]}" 2>/dev/null || true
    unset 'pids[-1]'
    sleep 1
else
    echo "no slide show to take over-slide-show.png with (install evince and soffice, or build fake_slideshow)" >&2
fi

# The preferences window, from the first entry of the menu; openbox's frame included.
choose_from_menu 1
prefs=$(xdotool search --sync --onlyvisible --name '^Preferences' | head -n1)
sleep 1
import -frame -window "$prefs" -strip -define png:compression-level=9 "$out/preferences.png"
echo "$out/preferences.png"
wmctrl -i -c "$prefs"
sleep 0.5

# The about window, from the fourth entry.
choose_from_menu 4
about=$(xdotool search --sync --onlyvisible --name '^About Brevlin$' | head -n1)
sleep 1
shot about.png "$(around "$about")"
wmctrl -i -c "$about"
sleep 0.3

# The colours near and past the end: switched on in the settings file before a second launch, then a
# seven-second countdown caught in its warning, final and overtime colours, side by side.
xdotool key --window "$panel" ctrl+q 2>/dev/null || true
kill "${pids[-1]}" 2>/dev/null || true
sleep 1
cat >>"$XDG_CONFIG_HOME/Brevlin/Brevlin.conf" <<'CONF'
ChangeColorsNearEnd=true
WarnAt=0:0:05
FinalAt=0:0:03
OvertimeColors=true
CONF
"$app" >"$work/app2.log" 2>&1 &
pids+=($!)
panel=$(xdotool search --sync --onlyvisible --class brevlin | head -n1)
sleep 1.5
xdotool mousemove --window "$panel" 110 60 click 1
sleep 0.3
xdotool key ctrl+a type 0:0:7
xdotool key Return
sleep 2.5
shot signal-warning.png "$(around "$panel")" >/dev/null
sleep 3
shot signal-final.png "$(around "$panel")" >/dev/null
sleep 3.5
shot signal-overtime.png "$(around "$panel")" >/dev/null
convert "$out/signal-warning.png" "$out/signal-final.png" "$out/signal-overtime.png" +append -strip \
    -define png:compression-level=9 "$out/panel-signals.png"
rm -f "$out/signal-warning.png" "$out/signal-final.png" "$out/signal-overtime.png"
echo "$out/panel-signals.png"
