#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the Debian package from a configured, built tree, unpacks it into a fresh root and
# starts the unpacked binary under a private X server.
#   deb-e2e.sh BUILD_DIR WITH_XVFB
set -euo pipefail
build="$1"
with_xvfb="$2"

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

cpack -G DEB --config "$build/CPackConfig.cmake" -B "$scratch/pack" >"$scratch/cpack.log" 2>&1 ||
  { cat "$scratch/cpack.log" >&2; fail "cpack failed"; }
deb=$(ls "$scratch"/pack/vorrik_*.deb)

depends=$(dpkg-deb -f "$deb" Depends)
for lib in libqt6widgets6 libqt6gui6 libx11-6 libxtst6; do
  grep -q "$lib" <<<"$depends" || fail "Depends lacks $lib: $depends"
done
# Every dependency resolves on this system's Debian archive.
if command -v apt-get >/dev/null; then
  apt-get install -s "$deb" >"$scratch/apt.log" 2>&1 || { cat "$scratch/apt.log" >&2; fail "apt"; }
fi

root="$scratch/root"
dpkg -x "$deb" "$root"
for file in usr/bin/vorrik usr/share/applications/example.vorrik.Vorrik.desktop \
  usr/share/icons/hicolor/scalable/apps/example.vorrik.Vorrik.svg \
  usr/share/metainfo/example.vorrik.Vorrik.metainfo.xml; do
  [ -s "$root/$file" ] || fail "the package lacks $file"
done
! ldd "$root/usr/bin/vorrik" | grep -q 'not found' || fail "unresolved libraries"
if command -v appstreamcli >/dev/null; then
  appstreamcli validate --no-net "$root/usr/share/metainfo/example.vorrik.Vorrik.metainfo.xml" \
    >/dev/null || fail "metainfo does not validate"
fi
if command -v desktop-file-validate >/dev/null; then
  desktop-file-validate "$root/usr/share/applications/example.vorrik.Vorrik.desktop" ||
    fail "desktop entry does not validate"
fi

# The unpacked binary starts, shows its panel and quits with 0.
mkdir -p "$scratch/tmp" "$scratch/config" "$scratch/run"
chmod 700 "$scratch/run"
TMPDIR="$scratch/tmp" XDG_CONFIG_HOME="$scratch/config" XDG_RUNTIME_DIR="$scratch/run" \
  QT_QPA_PLATFORM=xcb "$with_xvfb" -- bash -c '
    "$1" & app=$!
    for _ in $(seq 200); do
      xdotool search --onlyvisible --name "^Vorrik$" >/dev/null 2>&1 && break
      sleep 0.05
    done
    xdotool search --onlyvisible --name "^Vorrik$" >/dev/null || { echo "no panel" >&2; exit 1; }
    xdotool key ctrl+q
    wait "$app"' _ "$root/usr/bin/vorrik" || fail "the installed binary did not run and quit"
echo "PASS"
