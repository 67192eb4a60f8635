#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Packs the built tree with cpack, unpacks the .deb into a fresh root and runs that binary under
# a private X server.   deb-e2e.sh BUILD_DIR WITH_XVFB
set -euo pipefail
. "$(dirname "$0")/e2e-lib.sh"

cpack -G DEB --config "$1/CPackConfig.cmake" -B "$scratch/pack" >/dev/null 2>&1 || fail "cpack"
deb=$(ls "$scratch"/pack/vorrik_*.deb)
for lib in libqt6widgets6 libx11-6 libx11-xcb1 libxcb-xtest0; do
  dpkg-deb -f "$deb" Depends | grep -q "$lib" || fail "Depends lacks $lib"
done
apt-get install -s "$deb" >/dev/null || fail "its dependencies do not resolve"

root="$scratch/root"
dpkg -x "$deb" "$root"
share="$root/usr/share"
appstreamcli validate --pedantic --no-net "$share/metainfo/org.vorrik.Vorrik.metainfo.xml" >/dev/null ||
  fail "AppStream data"
[ -s "$share/applications/org.vorrik.Vorrik.desktop" ] || fail "no desktop entry"
[ -s "$share/icons/hicolor/scalable/apps/org.vorrik.Vorrik.svg" ] || fail "no icon"
[ -s "$share/doc/vorrik/help.html" ] || fail "no help page"

export TMPDIR="$scratch" XDG_CONFIG_HOME="$scratch" XDG_RUNTIME_DIR="$scratch" QT_QPA_PLATFORM=xcb
chmod 700 "$scratch"
# The session runs a new shell: it gets the checks it needs from this one.
export -f within has_keyboard
"$2" -- bash -c '"$1" & app=$!
  for _ in $(seq 200); do xdotool search --onlyvisible --name "^Vorrik$" && break; sleep 0.05; done
  xdotool search --onlyvisible --name "^Vorrik$" || exit 1
  # Ctrl+Q reaches the panel only once it holds the keyboard.
  within 5 has_keyboard
  xdotool key ctrl+q
  wait "$app"' _ "$root/usr/bin/vorrik" >/dev/null || fail "the unpacked binary did not run and quit"
echo PASS
