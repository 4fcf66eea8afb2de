#!/usr/bin/env bash
# Plays presenter with the timer over real full-screen slide shows, on several window managers, each on
# its own private Xvfb: is the panel visible over the show, does the keyboard go back to the show after
# a time is typed, does the next key advance the slide. Prints a table and writes screenshots to
# build/stage-shots/. Not part of `make test`: it installs office software and takes minutes.
#
#   scripts/stage.sh [path/to/brevlin]       (without a path: `make build`, then build/default/bin/brevlin)
#
# STAGE_WMS and STAGE_SHOWS pick the rows (defaults below). A row that does not finish in time is
# killed and recorded as such; the next one runs.
set -u
here=$(cd "$(dirname "$0")" && pwd)
repo=$(cd "$here/.." && pwd)

# shellcheck source=SCRIPTDIR/virtual-display.sh
. "$here/virtual-display.sh"

# shellcheck source=SCRIPTDIR/wait-for.sh
. "$here/wait-for.sh"

active_window() { xprop -root _NET_ACTIVE_WINDOW 2>/dev/null | awk '{print $NF}'; }
# The client (the window with a WM_CLASS) holding the keyboard, in decimal.
focus_window() { timeout 5 xdotool getwindowfocus 2>/dev/null; }
window_class() { xprop -id "$1" WM_CLASS 2>/dev/null | cut -d= -f2; }

# Fraction of the pixels of a rectangle of a screenshot that are near white and near black.
white_fraction() { convert "$1" -crop "$2" +repage -fuzz 12% -fill black +opaque white -format '%[fx:mean]' info: 2>/dev/null; }
# Pixels that differ between two screenshots outside a rectangle (x y w h).
changed_outside() {
    local a=$1 b=$2 x=$3 y=$4 w=$5 h=$6 masked="${1%.png}"
    convert "$a" -fill black -draw "rectangle $x,$y $((x + w)),$((y + h))" "$masked-a.mask.png"
    convert "$b" -fill black -draw "rectangle $x,$y $((x + w)),$((y + h))" "$masked-b.mask.png"
    compare -metric AE -fuzz 8% "$masked-a.mask.png" "$masked-b.mask.png" null: 2>&1 | cut -d' ' -f1
    rm -f "$masked-a.mask.png" "$masked-b.mask.png"
}

# One row: window manager $1, show $2. Prints "visible keyboard advanced notes" on its last line.
run_row() {
    local wm=$1 show=$2 app=$3 deck=$4 shots=$5
    local show_window="" panel="" notes=""
    pids=()
    row_root=$(mktemp -d "${TMPDIR:-/tmp}/brevlin-stage.XXXXXX")
    local root=$row_root
    trap 'for p in "${pids[@]}"; do kill "$p" 2>/dev/null; done; rm -rf "$row_root"' EXIT
    export HOME="$root/home" XDG_RUNTIME_DIR="$root/runtime"
    export XDG_CONFIG_HOME="$HOME/.config" XDG_DATA_HOME="$HOME/.local/share" XDG_CACHE_HOME="$HOME/.cache"
    mkdir -p "$XDG_CONFIG_HOME" "$XDG_DATA_HOME" "$XDG_CACHE_HOME" "$XDG_RUNTIME_DIR"
    chmod 700 "$XDG_RUNTIME_DIR"
    export LC_ALL=C.UTF-8 LANG=C.UTF-8 NO_AT_BRIDGE=1
    unset WAYLAND_DISPLAY SESSION_MANAGER DBUS_SESSION_BUS_ADDRESS
    BREVLIN_WM=$wm start_virtual_display "$root" >"$root/display.err" 2>&1 || {
        echo "no no no $wm-did-not-start"
        return
    }
    local tag="$shots/$wm-$show" class
    case "$show" in
    impress)
        class=soffice
        cp "$deck.fodp" "$root/deck.fodp"
        SAL_USE_VCLPLUGIN=gtk3 soffice --nologo --norestore --nodefault --show "$root/deck.fodp" \
            >"$root/show.log" 2>&1 &
        ;;
    evince)
        class=evince
        evince --presentation "$deck.pdf" >"$root/show.log" 2>&1 &
        ;;
    pdfpc)
        class=pdfpc
        pdfpc --single-screen --windowed=none "$deck.pdf" >"$root/show.log" 2>&1 &
        ;;
    fake)
        class=fakeslideshow
        # Its stdin stays open as long as this row runs.
        mkfifo "$root/show.stdin"
        "$FAKE_SLIDESHOW" <"$root/show.stdin" >"$root/show.log" 2>&1 &
        exec 7>"$root/show.stdin"
        ;;
    esac
    pids+=($!)
    # The show's full-screen window: the largest visible window of its class.
    find_show() {
        local w best="" area=0 g
        for w in $(xdotool search --onlyvisible --class "$class" 2>/dev/null); do
            g=$(xdotool getwindowgeometry --shell "$w" 2>/dev/null) || continue
            eval "$g"
            if [ $((WIDTH * HEIGHT)) -gt "$area" ]; then area=$((WIDTH * HEIGHT)) best=$w; fi
        done
        [ "$area" -ge $((1280 * 700)) ] && echo "$best"
    }
    wait_for 60 find_show || {
        import -window root "$tag-noshow.png" 2>/dev/null
        echo "no no no show-not-full-screen"
        return
    }
    sleep 2
    show_window=$(find_show)
    timeout 5 xdotool windowactivate --sync "$show_window" >/dev/null 2>&1
    sleep 1
    import -window root "$tag-0-show.png"

    "$app" >"$root/app.log" 2>&1 &
    pids+=($!)
    wait_for 20 xdotool search --class brevlin || {
        echo "no no no panel-not-mapped"
        return
    }
    sleep 2
    panel=""
    local g
    for w in $(xdotool search --class brevlin 2>/dev/null); do
        g=$(xdotool getwindowgeometry --shell "$w" 2>/dev/null) || continue
        eval "$g"
        [ "$WIDTH" -gt 60 ] && [ "$HEIGHT" -gt 30 ] && [ "$WIDTH" -lt 1000 ] && panel="$X $Y $WIDTH $HEIGHT" && break
    done
    [ -n "$panel" ] || {
        echo "no no no panel-geometry-unknown"
        return
    }
    read -r px py pw ph <<<"$panel"
    local rect="${pw}x${ph}+${px}+${py}"
    import -window root "$tag-1-launch.png"
    local launch_focus launch_class
    launch_focus=$(focus_window)
    launch_class=$(window_class "$launch_focus")
    [[ "$launch_class" == *"$class"* ]] || notes+="launch-focus:${launch_class:-none};"
    local white_launch
    white_launch=$(white_fraction "$tag-1-launch.png" "$rect")

    # Type a time as the presenter does: click into it, replace it, Return.
    xdotool mousemove $((px + pw / 2)) $((py + ph / 2)) click 1
    sleep 0.7
    xdotool key ctrl+a type --delay 60 0:0:30
    xdotool key Return
    sleep 1.5
    local after_focus after_class after_active
    after_focus=$(focus_window)
    after_class=$(window_class "$after_focus")
    after_active=$(active_window)
    import -window root "$tag-2-typed.png"
    local keyboard=no
    [[ "$after_class" == *"$class"* ]] && keyboard=yes
    notes+="focus:${after_class:-none};active:$after_active;"

    xdotool key Right
    sleep 2
    import -window root "$tag-3-next.png"
    local changed advanced=no
    changed=$(changed_outside "$tag-2-typed.png" "$tag-3-next.png" "$px" "$py" "$pw" "$ph")
    [ "${changed:-0}" -gt 2000 ] 2>/dev/null && advanced=yes
    notes+="changed:${changed:-?};"

    local white_end visible=no
    white_end=$(white_fraction "$tag-3-next.png" "$rect")
    # The panel's own white background covering a good part of its rectangle, at launch and at the end.
    awk -v a="${white_launch:-0}" -v b="${white_end:-0}" 'BEGIN { exit !(a > 0.3 && b > 0.3) }' && visible=yes
    notes+="white:${white_launch:-?}/${white_end:-?}"
    [ "$show" = fake ] && notes+=";keys:$(grep -c '^key' "$root/show.log")"
    echo "$visible $keyboard $advanced $notes"
}

# One row under a Wayland compositor, run inside its lab session (tests/support/lab): the show runs natively
# on Wayland, the timer as it chooses. Input and screenshots go through the compositor (lab_driver); where
# the keyboard is can only be told from what the keys do. Prints "visible keyboard advanced notes".
run_wayland_row() {
    local show=$1 app=$2 deck=$3 shots=$4 compositor=$BREVLIN_LAB_COMPOSITOR notes=""
    local root tag reply
    row_root=$(mktemp -d "${TMPDIR:-/tmp}/brevlin-stage.XXXXXX")
    root=$row_root
    tag="$shots/$compositor-$show"
    pids=()
    trap 'for p in "${pids[@]}"; do kill "$p" 2>/dev/null; done; rm -rf "$row_root"' EXIT
    coproc DRIVER { "$LAB_DRIVER" 2>/dev/null; }
    pids+=("$DRIVER_PID")
    drive() {
        echo "$*" >&"${DRIVER[1]}"
        reply=""
        read -r -t 30 reply <&"${DRIVER[0]}"
    }
    read -r -t 30 reply <&"${DRIVER[0]}"
    [ "$reply" = "ok ready" ] || { echo "no no no driver:${reply:-none}"; return; }
    drive shot "$root/desktop.png"

    case "$show" in
    impress)
        cp "$deck.fodp" "$root/deck.fodp"
        SAL_USE_VCLPLUGIN=gtk3 GDK_BACKEND=wayland soffice --nologo --norestore --nodefault --show \
            "$root/deck.fodp" >"$root/show.log" 2>&1 &
        ;;
    evince) GDK_BACKEND=wayland evince --presentation "$deck.pdf" >"$root/show.log" 2>&1 & ;;
    pdfpc) GDK_BACKEND=wayland pdfpc --single-screen --windowed=none "$deck.pdf" >"$root/show.log" 2>&1 & ;;
    fake)
        mkfifo "$root/show.stdin"
        QT_QPA_PLATFORM=wayland "$STAGE_SHOW" <"$root/show.stdin" >"$root/show.log" 2>&1 &
        exec 7>"$root/show.stdin"
        ;;
    esac
    pids+=($!)
    # Full screen: most of the screen differs from the bare desktop, and has settled.
    local i changed previous=""
    for ((i = 0; i < 60; i++)); do
        sleep 1
        drive shot "$root/now.png"
        drive changed "$root/desktop.png" "$root/now.png" 0 0 0 0
        changed=${reply#ok }
        if [ "${changed:-0}" -gt 700000 ] 2>/dev/null; then
            [ -n "$previous" ] && break
            previous=$changed
        fi
    done
    ((i < 60)) || { cp "$root/now.png" "$tag-noshow.png"; echo "no no no show-not-full-screen"; return; }
    sleep 2
    drive shot "$tag-0-show.png"

    "$app" >"$root/app.log" 2>&1 &
    pids+=($!)
    local panel=""
    for ((i = 0; i < 40; i++)); do
        sleep 0.5
        drive panel
        [ "$reply" != "ok none" ] && [ "${reply%% *}" = ok ] && panel=${reply#ok } && break
    done
    [ -n "$panel" ] || { drive shot "$tag-1-nopanel.png"; echo "no no no panel-not-in-sight"; return; }
    sleep 1.5
    local px py pw ph
    read -r px py pw ph <<<"$panel"
    drive shot "$tag-1-launch.png"

    # Type a time as the presenter does: click into it, replace it, Return.
    drive click $((px + pw * 35 / 100)) $((py + ph / 2))
    sleep 0.7
    drive key ctrl+a
    drive type 0:0:30
    drive key Return
    sleep 1.5
    drive shot "$tag-2-typed.png"
    local stored typed=no
    stored=$(sed -n 's/^BRVCountdownTime=//p' "$HOME/.config/Brevlin/Brevlin.conf" 2>/dev/null)
    [ "$stored" = "00:00:30" ] && typed=yes
    notes+="typed:${stored:-none};"

    drive key Right
    sleep 2
    drive shot "$tag-3-next.png"
    drive changed "$tag-2-typed.png" "$tag-3-next.png" "$px" "$py" "$pw" "$ph"
    changed=${reply#ok }
    local advanced=no keyboard=no visible=no
    [ "${changed:-0}" -gt 2000 ] 2>/dev/null && advanced=yes
    [ "$typed" = yes ] && [ "$advanced" = yes ] && keyboard=yes
    notes+="changed:${changed:-?};"
    drive panel
    [ "$reply" != "ok none" ] && [ "${reply%% *}" = ok ] && visible=yes
    [ "$show" = fake ] && notes+="keys:$(grep -c '^key' "$root/show.log")"
    echo "$visible $keyboard $advanced $notes"
}

if [ "${1:-}" = "--wayland-row" ]; then
    shift
    run_wayland_row "$@"
    exit 0
fi

if [ "${1:-}" = "--row" ]; then
    shift
    run_row "$@"
    exit 0
fi

app=${1:-}
"$repo/scripts/install-deps.sh" || exit 1
stage_packages=(libreoffice-impress libreoffice-gtk3 evince pdfpc openbox xfwm4 metacity marco mate-settings-daemon-common
    kwin-x11 kwin-wayland dbus
    xdotool imagemagick x11-utils xvfb)
missing=()
for package in "${stage_packages[@]}"; do
    [ "$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null)" = "install ok installed" ] || missing+=("$package")
done
if [ ${#missing[@]} -gt 0 ]; then
    sudo=""
    [ "$(id -u)" -ne 0 ] && sudo=sudo
    echo "Installing: ${missing[*]}"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null || exit 1
fi
if [ -z "$app" ]; then
    make -C "$repo" build || exit 1
    app="$repo/build/default/bin/brevlin"
fi
app=$(cd "$(dirname "$app")" && pwd)/$(basename "$app")
export FAKE_SLIDESHOW="${FAKE_SLIDESHOW:-$(dirname "$app")/../tests/support/fake_slideshow}"
export STAGE_SHOW="${STAGE_SHOW:-$(dirname "$app")/../tests/support/stage_show}"
export LAB_DRIVER="${LAB_DRIVER:-$(dirname "$app")/../tests/app/lab_driver}"

shots="$repo/build/stage-shots"
rm -rf "$shots"
mkdir -p "$shots"
deckdir=$(mktemp -d "${TMPDIR:-/tmp}/brevlin-deck.XXXXXX")
trap 'rm -rf "$deckdir"' EXIT
cp "$here/stage/deck.fodp" "$deckdir/deck.fodp"
HOME="$deckdir" timeout 120 soffice --headless --convert-to pdf --outdir "$deckdir" "$deckdir/deck.fodp" >/dev/null 2>&1
[ -f "$deckdir/deck.pdf" ] || { echo "stage: could not convert the deck to PDF" >&2; exit 1; }

wms=${STAGE_WMS:-openbox metacity xfwm4 kwin_x11 marco gnome-shell sway kwin}
shows=${STAGE_SHOWS:-impress evince pdfpc}
[ -x "$FAKE_SLIDESHOW" ] && [ -z "${STAGE_SHOWS:-}" ] && shows="fake $shows"
results="$shots/results.txt"
: >"$results"
printf '%-9s %-8s %-8s %-13s %-15s %s\n' "wm" "show" "visible" "keyboard back" "slide advanced" "notes"
for wm in $wms; do
    for show in $shows; do
        case "$wm" in
        gnome-shell | sway | kwin)
            # A Wayland compositor with its lab session (tests/support/lab/gnome-shell.sh).
            line=$(timeout -k 5 150 "$repo/tests/support/lab/$wm.sh" -- "$0" --wayland-row "$show" "$app" \
                "$deckdir/deck" "$shots" 2>/dev/null | tail -n1)
            ;;
        *) line=$(timeout -k 5 150 "$0" --row "$wm" "$show" "$app" "$deckdir/deck" "$shots" 2>/dev/null | tail -n1) ;;
        esac
        [ -n "$line" ] || line="no no no timed-out"
        read -r visible keyboard advanced notes <<<"$line"
        printf '%-9s %-8s %-8s %-13s %-15s %s\n' "$wm" "$show" "$visible" "$keyboard" "$advanced" "$notes" |
            tee -a "$results"
    done
done
echo "Screenshots and results: $shots"
