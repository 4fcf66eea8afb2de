#!/usr/bin/env bash
# Starts the timer. Without a display (a server, a container, a CI machine) it says so and starts a
# virtual one with a window manager, so the panel still runs and can be looked at with screenshots.
set -u
app="$1"

if [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ] || [ "$(uname)" = Darwin ]; then
    exec "$app"
fi

num=99
while [ -e "/tmp/.X11-unix/X$num" ] || [ -e "/tmp/.X$num-lock" ]; do num=$((num + 1)); done
echo "No display found: starting a virtual one (Xvfb) on :$num with the openbox window manager."
echo "Look at it with:  DISPLAY=:$num import -window root shot.png    Type into it with:  DISPLAY=:$num xdotool type 0:10:0"
Xvfb ":$num" -screen 0 1280x800x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
trap 'kill $openbox $xvfb 2>/dev/null' EXIT
trap 'exit 130' INT TERM
export DISPLAY=":$num"
for _ in $(seq 100); do xdpyinfo >/dev/null 2>&1 && break; sleep 0.05; done
openbox --sm-disable >/dev/null 2>&1 &
openbox=$!
"$app"
