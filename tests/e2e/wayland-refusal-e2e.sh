#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Under with-xvfb.sh: started as on a Wayland desktop that no backend serves (the private X
# server standing in for its Xwayland), Vorrik says so at start-up in the stored language, in
# an alert and on stderr, and F6 starts no run. The same F6 on an X11 session clicks, so the
# silence is the refusal, not a lost key.
set -euo pipefail
app="$1"
. "$(dirname "$0")/e2e-lib.sh"
# Private socket, settings and runtime directories; French chosen at an earlier launch.
export TMPDIR="$scratch" XDG_CONFIG_HOME="$scratch" XDG_RUNTIME_DIR="$scratch" QT_QPA_PLATFORM=xcb
chmod 700 "$scratch"
mkdir "$scratch/Vorrik"
printf '[General]\nvorrik_lang=fr\n' >"$scratch/Vorrik/Vorrik.conf"

presses() { grep -c 'RawButtonPress' "$scratch/xi2" || true; }
pressed() { [ "$(presses)" -gt 0 ]; }
# Another application to press F6 in: Vorrik's own windows keep their keys.
xmessage -geometry +0+700 "another application" 2>/dev/null & other=$!
within 10 xdotool search --onlyvisible --name '^xmessage$' >/dev/null || fail "no xmessage"
# Runs Vorrik with the environment given, presses F6 in the other application once Vorrik's
# windows are up and records the raw button presses that follow; leaves it running as $vorrik.
launch() {  # WINDOWS ENV...
  local windows="$1"; shift
  env "$@" "$app" 2>"$scratch/err" & vorrik=$!
  within 10 shown "$windows" || fail "$* showed no $windows window(s)"
  xdotool search --name '^xmessage$' windowfocus --sync
  xdotool mousemove 5 5  # clicks at the cursor land on the bare root window
  xinput test-xi2 --root >"$scratch/xi2" 2>&1 & watch=$!
  sleep 0.3
  xdotool key F6
}
finish() {
  kill "$watch" "$vorrik" 2>/dev/null || true
  wait "$watch" "$vorrik" 2>/dev/null || true
}

launch 1 XDG_SESSION_TYPE=x11
within 5 pressed || fail "F6 on an X11 session started no clicks"
finish

# The panel and the alert above it.
launch 2 WAYLAND_DISPLAY=wayland-x XDG_SESSION_TYPE=wayland
grep -q "Vorrik ne peut pas cliquer sur ce bureau Wayland" "$scratch/err" ||
  fail "no French refusal at start-up: $(cat "$scratch/err")"
sleep 2
[ "$(presses)" = 0 ] || fail "F6 on an unserved Wayland desktop clicked"
finish
kill "$other"
wait "$other" 2>/dev/null || true
echo PASS
