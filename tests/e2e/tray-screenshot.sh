#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Takes docs/app-tray-menu.png: the panel and the tray menu with its Language submenu open, on a
# private X server with a tray host.   tests/e2e/tray-screenshot.sh [path/to/vorrik] [out.png]
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)"
app="$(realpath "${1:-$root/build/default/src/app/vorrik}")"
out="$(realpath -m "${2:-$root/docs/app-tray-menu.png}")"
exec "$root/tests/e2e/with-xvfb.sh" --tray -- bash -c '
  scratch=$(mktemp -d); export TMPDIR=$scratch XDG_CONFIG_HOME=$scratch XDG_RUNTIME_DIR=$scratch
  "$1" & app=$!
  sleep 1.5
  for w in $(xdotool search --classname "^vorrik$"); do
    eval "$(xdotool getwindowgeometry --shell "$w")"
    [ "$WIDTH" -lt 16 ] || [ "$WIDTH" -gt 64 ] || [ "$X" -eq 0 ] || break
  done
  xdotool mousemove $((X + WIDTH / 2)) $((Y + HEIGHT / 2)) click 1
  sleep 0.4
  xdotool mousemove_relative --sync -- -60 100  # onto Language, which opens its submenu
  sleep 0.6
  import -window root "$2"
  kill $app; rm -rf "$scratch"' _ "$app" "$out"
