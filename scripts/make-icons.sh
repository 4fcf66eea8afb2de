#!/usr/bin/env bash
# Renders the application icon from resources/icons/brevlin.svg into the PNG sizes the desktops ask for,
# the Windows .ico and the macOS .icns, all beside the SVG. The results are committed: run this again
# only after changing the SVG. Needs librsvg2-bin (rsvg-convert), imagemagick and icnsutils (png2icns).
set -euo pipefail
cd "$(dirname "$0")/../resources/icons"

missing=()
command -v rsvg-convert >/dev/null || missing+=(librsvg2-bin)
command -v convert >/dev/null || missing+=(imagemagick)
command -v png2icns >/dev/null || missing+=(icnsutils)
if [ ${#missing[@]} -gt 0 ]; then
    echo "make-icons: install ${missing[*]} first (apt-get install ${missing[*]})" >&2
    exit 1
fi

sizes=(16 22 24 32 48 64 128 256 512)
for size in "${sizes[@]}"; do
    rsvg-convert --width "$size" --height "$size" --format png brevlin.svg --output "brevlin-$size.png"
done

# Windows shows 16 to 48 in lists and the taskbar, 256 in large icon views.
convert brevlin-16.png brevlin-24.png brevlin-32.png brevlin-48.png brevlin-64.png brevlin-256.png brevlin.ico
# png2icns picks the icon type by the image size; 16, 32, 48, 128, 256 and 512 all have one.
png2icns brevlin.icns brevlin-16.png brevlin-32.png brevlin-48.png brevlin-128.png brevlin-256.png \
    brevlin-512.png >/dev/null
echo "make-icons: wrote ${#sizes[@]} PNG sizes, brevlin.ico and brevlin.icns in resources/icons"
