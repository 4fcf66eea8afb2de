#!/usr/bin/env bash
# Starts the timer. Without a display (a server, a container, a CI machine) it says so and starts a
# virtual one with a window manager, so the panel still runs and can be looked at with screenshots.
set -u
app="$1"

if [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ] || [ "$(uname)" = Darwin ]; then
    exec "$app"
fi

# shellcheck source=SCRIPTDIR/virtual-display.sh
. "$(cd "$(dirname "$0")" && pwd)/virtual-display.sh"
pids=()
logs=$(mktemp -d "${TMPDIR:-/tmp}/brevlin-display.XXXXXX")
trap 'kill "${pids[@]}" 2>/dev/null; rm -rf "$logs"' EXIT
trap 'exit 130' INT TERM
echo "No display found: starting a virtual one (Xvfb) with the openbox window manager."
start_virtual_display "$logs" || exit 1
echo "It is $DISPLAY. Look at it with:  DISPLAY=$DISPLAY import -window root shot.png"
# The panel takes the keyboard only when its time is clicked, as a presenter would.
echo "Click into the time, type a new one and start it with (xdotool: apt-get install xdotool):"
echo "  export DISPLAY=$DISPLAY"
echo "  xdotool search --class brevlin mousemove --window %1 110 60 click 1 key ctrl+a type 0:10:0 && xdotool key Return"
"$app"
