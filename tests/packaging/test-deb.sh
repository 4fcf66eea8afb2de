#!/usr/bin/env bash
# The .deb as a user gets it: builds it (make package), unpacks it with dpkg -x into a fresh folder and
# runs the unpacked binary on a private X server with openbox, with a fresh home and nothing of the build
# tree on any path. Passes when
#   - the package holds the executable, the five sounds, the icons, a valid desktop entry and metainfo,
#     the manual page, the changelog and the user guide, lintian finds no error or warning in it, and no
#     path of the build machine is compiled into the executable;
#   - the panel is drawn on the screen and carries the application icon;
#   - the five built-in sounds were copied from the package into the new user's sound folder;
#   - a countdown from 0:0:1 is heard at zero: the end sound, an MP3, decoded and played through the
#     audio back end into a private PulseAudio null sink, whose monitor is recorded;
#   - every library and font the running program mapped belongs to a package the .deb depends on
#     (directly or through those packages' own dependencies), so `apt install ./brevlin_*.deb` brings
#     all of them, plug-ins opened at run time included.
#
#   tests/packaging/test-deb.sh [--no-build] [--keep]
# --no-build takes the .deb already in build/package; --keep leaves the unpacked tree and screenshot.
set -euo pipefail
repo=$(cd "$(dirname "$0")/../.." && pwd)
cd "$repo"

build=1 keep=0
for arg in "$@"; do
    case "$arg" in
    --no-build) build=0 ;;
    --keep) keep=1 ;;
    *) echo "usage: $0 [--no-build] [--keep]" >&2; exit 2 ;;
    esac
done

fail() { echo "test-deb: FAIL: $*" >&2; exit 1; }
step() { echo "test-deb: $*"; }

[ "$build" = 1 ] && make --no-print-directory package
version=$(sed -n 's/^project(Brevlin VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
debs=(build/package/brevlin_"$version"_*.deb)
deb=${debs[0]}
[ -f "$deb" ] || fail "no build/package/brevlin_${version}_*.deb (make package)"

# The rest runs beside a private PulseAudio daemon with a null sink (isolated-run.sh --pulse).
if [ -z "${BREVLIN_TEST_SINK_MONITOR:-}" ]; then
    again=(--no-build)
    [ "$keep" = 1 ] && again+=(--keep)
    exec tests/support/isolated-run.sh --pulse -- "$0" "${again[@]}"
fi
step "testing $deb"

# shellcheck source=SCRIPTDIR/../../scripts/virtual-display.sh
. scripts/virtual-display.sh
root=$(mktemp -d "${TMPDIR:-/tmp}/brevlin-deb.XXXXXX")
pids=()
app_pid=""
cleanup() {
    # Whatever happens while tidying up, the test's own result stands.
    set +e
    [ -n "$app_pid" ] && kill "$app_pid" 2>/dev/null && wait "$app_pid" 2>/dev/null
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null; done
    for pid in "${pids[@]}"; do wait "$pid" 2>/dev/null; done
    if [ "$keep" = 1 ]; then echo "test-deb: kept $root"; else rm -rf "$root"; fi
}
trap cleanup EXIT
trap 'exit 143' TERM INT

# --- What the package holds -------------------------------------------------------------------------
unpacked="$root/unpacked"
dpkg-deb -x "$deb" "$unpacked"
app="$unpacked/usr/bin/brevlin"
[ -x "$app" ] || fail "no usr/bin/brevlin in the package"
sounds=("Left Coast Piano.mp3" "Piano 1.mp3" "School Bell.mp3" "Harp Compound.mp3" "click_tin.wav")
for sound in "${sounds[@]}"; do
    [ -s "$unpacked/usr/share/brevlin/sounds/$sound" ] || fail "no usr/share/brevlin/sounds/$sound"
done
id=app.brevlin.Brevlin
for size in 16 32 48 256; do
    [ -s "$unpacked/usr/share/icons/hicolor/${size}x$size/apps/$id.png" ] || fail "no ${size}x$size icon"
done
tests/packaging/validate-metadata.sh "$unpacked/usr/share/applications/$id.desktop" \
    "$unpacked/usr/share/metainfo/$id.metainfo.xml" "$version" || fail "desktop entry or metainfo"
[ "$(dpkg-deb -f "$deb" Version)" = "$version" ] || fail "package version $(dpkg-deb -f "$deb" Version), project $version"
for doc in man/man1/brevlin.1.gz doc/brevlin/changelog.gz doc/brevlin/user-guide.md doc/brevlin/images/panel-idle.png; do
    [ -s "$unpacked/usr/share/$doc" ] || fail "no usr/share/$doc"
done
# Debian's own checks of a package, at error and warning level.
command -v lintian >/dev/null || fail "lintian is missing (make deps)"
lintian --fail-on error,warning "$deb" || fail "lintian reports errors or warnings"
step "lintian: no error or warning"
# Qt keeps string literals as UTF-16 as well as UTF-8: look for the build tree's path in both.
if { strings -a "$app"; strings -a -el "$app"; } | grep -F "$repo" >/dev/null; then
    fail "the executable holds a path of the build machine ($repo)"
fi
grep -q '^Exec=brevlin$' "$unpacked/usr/share/applications/$id.desktop" || fail "desktop entry does not run brevlin"

# --- Run it with nothing but the unpacked tree --------------------------------------------------------
start_virtual_display "$root" || fail "no virtual display"
home="$root/home"
mkdir -p "$home" "$root/runtime" && chmod 700 "$root/runtime"
env -i PATH=/usr/bin:/bin HOME="$home" DISPLAY="$DISPLAY" LANG=C.UTF-8 LC_ALL=C.UTF-8 \
    XDG_CONFIG_HOME="$home/.config" XDG_DATA_HOME="$home/.local/share" XDG_CACHE_HOME="$home/.cache" \
    XDG_RUNTIME_DIR="$root/runtime" PULSE_SERVER="unix:$PULSE_RUNTIME_PATH/native" "$app" >"$root/app.log" 2>&1 &
app_pid=$!

window=""
for _ in $(seq 100); do
    window=$(xdotool search --onlyvisible --pid "$app_pid" 2>/dev/null | head -n1 || true)
    [ -n "$window" ] && break
    kill -0 "$app_pid" 2>/dev/null || { cat "$root/app.log" >&2; fail "brevlin exited at start"; }
    sleep 0.1
done
[ -n "$window" ] || { cat "$root/app.log" >&2; fail "no window of brevlin appeared"; }

folder="$home/.local/share/brevlin"
for _ in $(seq 100); do
    copied=0
    for sound in "${sounds[@]}"; do [ -f "$folder/$sound" ] && copied=$((copied + 1)); done
    [ "$copied" = 5 ] && break
    sleep 0.1
done
for sound in "${sounds[@]}"; do
    cmp -s "$folder/$sound" "$unpacked/usr/share/brevlin/sounds/$sound" ||
        fail "$sound was not copied from the package into $folder"
done
step "the five built-in sounds were copied into the fresh sound folder"

# The panel on the screen: the root is black where no window is, so the panel's rectangle must be
# mostly something else and hold more than one colour (background and digits).
sleep 1
eval "$(xdotool getwindowgeometry --shell "$window")"
shot="$root/screen.png"
import -display "$DISPLAY" -window root "$shot"
panel=$(convert "$shot" -crop "${WIDTH}x${HEIGHT}+${X}+${Y}" +repage -fill white +opaque black \
    -format '%[fx:mean]' info:)
colours=$(convert "$shot" -crop "${WIDTH}x${HEIGHT}+${X}+${Y}" +repage -format '%k' info:)
outside=$(convert "$shot" -fill black -draw "rectangle $X,$Y $((X + WIDTH - 1)),$((Y + HEIGHT - 1))" \
    -fill white +opaque black -format '%[fx:mean]' info:)
step "panel ${WIDTH}x${HEIGHT} at $X,$Y: $(awk "BEGIN{print int($panel*100)}")% painted, $colours colours; outside it $(awk "BEGIN{print int($outside*100)}")% painted"
awk "BEGIN{exit !($WIDTH >= 40 && $HEIGHT >= 20)}" || fail "the panel is ${WIDTH}x$HEIGHT"
awk "BEGIN{exit !($panel > 0.9)}" || fail "the panel's rectangle is not painted"
[ "$colours" -ge 2 ] || fail "the panel is one flat colour: no digits drawn"
awk "BEGIN{exit !($outside < 0.01)}" || fail "something besides the panel was drawn"
icon=$(xprop -id "$window" _NET_WM_ICON)
grep -q 'Icon (16 x 16)' <<<"$icon" || fail "the panel carries no 16 px icon"

# --- A countdown heard ------------------------------------------------------------------------------
# Click the time, type 0:0:1, Return: one tick to zero, and the next plays the end sound.
parec -d "$BREVLIN_TEST_SINK_MONITOR" --raw --format=s16le --rate=44100 --channels=1 --latency-msec=20 >"$root/heard.raw" 2>/dev/null &
recorder=$!
pids+=("$recorder")
# parec can take a moment to start on a loaded machine: the countdown starts only once it records.
for _ in $(seq 100); do
    [ -s "$root/heard.raw" ] && break
    sleep 0.05
done
[ -s "$root/heard.raw" ] || fail "the sink's monitor could not be recorded"
xdotool mousemove --window "$window" $((WIDTH / 3)) $((HEIGHT / 2)) click 1
sleep 0.3
xdotool key ctrl+a type 0:0:1
xdotool key Return
sleep 4.5
kill "$recorder" 2>/dev/null || true
levels=$(sox -t raw -r 44100 -e signed -b 16 -c 1 "$root/heard.raw" -n stat 2>&1)
length=$(awk '/^Length/ {print $3}' <<<"$levels")
peak=$(awk '/^Maximum amplitude/ {print $3}' <<<"$levels")
rms=$(awk '/^RMS     amplitude/ {print $3}' <<<"$levels")
step "heard ${length}s of the sink: peak $peak, RMS $rms"
awk "BEGIN{exit !($length > 3)}" || fail "recorded only ${length}s of the sink"
awk "BEGIN{exit !($peak > 0.1)}" || fail "the end of the countdown was not heard"
# Before the zero tick (the first second after Return) the sink stays silent.
early=$(sox -t raw -r 44100 -e signed -b 16 -c 1 "$root/heard.raw" -n trim 0 1 stat 2>&1 | awk '/^Maximum amplitude/ {print $3}')
awk "BEGIN{exit !($early < 0.01)}" || fail "sound before the countdown reached zero (peak $early)"

# --- Every library and font it mapped comes with the package's dependencies --------------------------
kill -0 "$app_pid" 2>/dev/null || { cat "$root/app.log" >&2; fail "brevlin exited while running"; }
mapfile -t libraries < <(awk '$6 ~ /\.so/ || $6 ~ /^\/usr\/share\/fonts\// {print $6}' "/proc/$app_pid/maps" | sort -u)
[ ${#libraries[@]} -gt 10 ] || fail "could not read the libraries of the running program"
owners=$(dpkg-query -S "${libraries[@]}" 2>/dev/null | cut -d: -f1 || true)
# Debian 12 merged /lib into /usr/lib; dpkg still knows some libraries by their old path.
mapfile -t unowned < <(for lib in "${libraries[@]}"; do
    dpkg-query -S "$lib" >/dev/null 2>&1 || echo "${lib#/usr}"
done)
if [ ${#unowned[@]} -gt 0 ]; then
    owners+=$'\n'$(dpkg-query -S "${unowned[@]}" 2>/dev/null | cut -d: -f1 || true)
    for lib in "${unowned[@]}"; do
        dpkg-query -S "$lib" >/dev/null 2>&1 || fail "$lib is mapped but no package owns it"
    done
fi
depends=$(dpkg-deb -f "$deb" Depends | tr ',|' '\n' | sed 's/(.*)//; s/[[:space:]]//g' | sed '/^$/d')
# shellcheck disable=SC2086
closure=$(apt-cache depends --recurse --no-recommends --no-suggests --no-conflicts --no-breaks \
    --no-replaces --no-enhances $depends 2>/dev/null | sed -n 's/^[[:space:]]*\(Pre\)\{0,1\}Depends: //p; /^[a-z0-9]/p' |
    tr -d '<>|' | sed 's/:any$//' | sort -u)
missing=""
for owner in $(tr ', ' '\n' <<<"$owners" | sed 's/:.*//' | sed '/^$/d' | sort -u); do
    grep -qx "$owner" <<<"$closure" || missing+=" $owner"
done
[ -z "$missing" ] || fail "the running program needs packages the .deb does not bring:$missing"
step "the ${#libraries[@]} libraries and fonts it mapped come from packages the .deb depends on"
if [ "$keep" = 1 ]; then cp "$shot" "$root/../brevlin-deb-screen.png" && step "screenshot: $root/../brevlin-deb-screen.png"; fi
step "PASS"
