#!/usr/bin/env bash
# Validates the desktop entry and the AppStream metainfo as the desktops and software centres read them.
#   validate-metadata.sh DESKTOP-FILE METAINFO-FILE [VERSION]
# With a version, the metainfo's newest release must be that version.
# Exit code 77 (skipped) where desktop-file-validate or appstreamcli is not installed.
set -u
[ $# -eq 2 ] || [ $# -eq 3 ] || { echo "usage: $0 DESKTOP-FILE METAINFO-FILE [VERSION]" >&2; exit 2; }
desktop=$1 metainfo=$2 version=${3:-}

for tool in desktop-file-validate appstreamcli; do
    command -v "$tool" >/dev/null || { echo "validate-metadata: $tool is missing (make deps installs it)"; exit 77; }
done

status=0
# desktop-file-validate exits 0 on hints; any line it prints is an error or a warning we want fixed.
if ! out=$(desktop-file-validate "$desktop" 2>&1) || [ -n "$out" ]; then
    echo "validate-metadata: $desktop:"; echo "$out"; status=1
fi
# --no-net: the screenshot and the links are checked for form only. Pedantic notes (an rDNS id with
# capitals) are not failures; errors, warnings and infos (a missing content rating) are.
if ! out=$(appstreamcli validate --no-net --no-color "$metainfo" 2>&1); then
    echo "validate-metadata: $metainfo:"; echo "$out"; status=1
elif grep -qE '^[[:space:]]*[WEI]:' <<<"$out"; then
    echo "validate-metadata: $metainfo has remarks:"; echo "$out"; status=1
fi
# What a software centre shows besides: a screenshot, the age rating, the release.
for element in '<content_rating type="oars-1.1"' '<screenshot type="default">' '<image>https://' '<release version='; do
    grep -qF "$element" "$metainfo" || { echo "validate-metadata: $metainfo lacks $element"; status=1; }
done
release=$(sed -n 's:.*<release version="\([^"]*\)".*:\1:p' "$metainfo" | head -n1)
if [ -n "$version" ] && [ "$release" != "$version" ]; then
    echo "validate-metadata: the newest release is '$release', the project's version is $version"; status=1
fi
# The metainfo must name the desktop entry it describes, and its id must be the entry's name.
id=$(sed -n 's:.*<id>\(.*\)</id>.*:\1:p' "$metainfo")
if [ "$(basename "$desktop")" != "$id.desktop" ] || ! grep -q "<launchable type=\"desktop-id\">$id.desktop<" "$metainfo"; then
    echo "validate-metadata: the metainfo id '$id' does not match the desktop entry $(basename "$desktop")"; status=1
fi
[ $status -eq 0 ] && echo "validate-metadata: $(basename "$desktop") and $(basename "$metainfo") are valid"
exit $status
