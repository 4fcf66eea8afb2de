#!/usr/bin/env bash
# Installs the Debian packages Brevlin needs to build, run and test, and only those that are missing.
# Silent when nothing is missing. Works as root or through sudo. --run installs only what building and
# running the application needs; --bench adds what the benchmarks need.
set -euo pipefail

packages=(
    # build
    g++ cmake ninja-build pkg-config make
    qt6-base-dev qt6-base-dev-tools libgl-dev libxcb1-dev
    # build: the sound library (libpulse to play on Linux, libsndfile to decode)
    libpulse-dev libsndfile1-dev
    # run: the X11 and offscreen platform plugins, a font, Qt's own translations for its dialogs
    qt6-qpa-plugins fonts-dejavu-core qt6-translations-l10n
    # run without a display (make run on a server): a virtual one with a window manager, and xprop
    # (x11-utils), with which scripts/virtual-display.sh waits for the window manager to announce itself
    xvfb xauth openbox x11-utils
)

# make run stops here: what building and running the application needs. Everything else is for the
# package, the tests and the fuzzers.
if [ "${1:-}" != "--run" ]; then
    packages+=(
        # package: CPack's dependency computation (dpkg-shlibdeps, file), the desktop entry and metainfo
        # validators, and Debian's package checker
        dpkg-dev file desktop-file-utils appstream lintian
        # test: a second window manager (metacity; openbox is above),
        # input and window inspection (xwininfo and xprop are in x11-utils, above), monitors (xrandr), screenshots,
        # a sound server with a null sink, sound analysis, and the Windows cross compiler for the Win32 code
        metacity xdotool wmctrl x11-xserver-utils imagemagick pulseaudio pulseaudio-utils sox g++-mingw-w64-x86-64
        # test: the Wayland lab (tests/support/lab): headless GNOME Shell with XWayland in private namespaces and
        # buses, its settings store, Qt's Wayland platform for the stand-in show, and D-Bus for Qt's tests
        gnome-shell xwayland qt6-wayland dbus-daemon dbus-bin libglib2.0-bin dconf-gsettings-backend dconf-service
        gsettings-desktop-schemas iproute2 util-linux
        # test: the Wayland lab's sway (wlroots) session, its screenshots, and its drivers' Wayland client code
        # (sway's virtual keyboard and pointer, KDE's fake input for the KWin driver)
        sway grim libwayland-dev libwayland-bin libxkbcommon-dev plasma-wayland-protocols
        # test: the fuzz targets (make fuzz): Debian's clang with libFuzzer and the sanitizer runtimes, and
        # Qt Multimedia, whose output the sound target links (it plays on the systems without libpulse)
        clang-14 libclang-rt-14-dev qt6-multimedia-dev
    )
fi

# make bench also compares with two timers users already have, formats its table with python3, counts the
# timer's wake-ups with strace and watches what reaches the X server through the Damage extension.
if [ "${1:-}" = "--bench" ]; then
    packages+=(python3 gnome-clocks kteatime strace libxcb-damage0-dev)
fi

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
    [ "$status" = "install ok installed" ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

if ! command -v apt-get >/dev/null; then
    echo "These packages are missing and this is not a Debian-like system: ${missing[*]}" >&2
    exit 1
fi
sudo=""
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "Missing packages (${missing[*]}); run as root or install sudo." >&2; exit 1; }
    sudo="sudo"
fi
echo "Installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
# fonts-urw-base35 (drawn in by ImageMagick) writes its fonts.dir after fontconfig's trigger has built the font
# caches, so that folder's cache is stale until some program rebuilds it; on a fresh machine the first test
# window on an X server was then not mapped within 5 s.
if command -v fc-cache >/dev/null; then
    $sudo fc-cache
fi
