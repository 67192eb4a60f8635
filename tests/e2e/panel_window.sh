#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The panel window as a window manager and the user see it, on the private display that
# scripts/sessions/with-xvfb.sh provides: its hints, the keyboard only after a click in a text field,
# and Return starting and stopping a run.   panel_window.sh path/to/vorrik-panel
set -euo pipefail
exe="$1"
tmp=$(mktemp -d)
XDG_CONFIG_HOME="$tmp" LANGUAGE=en LANG=C.UTF-8 "$exe" 2>"$tmp/log" &
pid=$!
trap 'kill $pid 2>/dev/null || true; wait $pid 2>/dev/null || true; rm -rf "$tmp"' EXIT

fail() { echo "FAIL: $*" >&2; exit 1; }
expect() {  # expect DESCRIPTION COMMAND...: the command's output must match the regex in $want
  local out
  out=$("${@:2}" 2>&1) || true
  [[ "$out" =~ $want ]] || fail "$1: got '$out', wanted /$want/"
  echo "ok: $1"
}
# Waits (up to 10 s) until the lamp, 19 px in from the top-left corner, has colour $1.
lamp() {
  local colour
  for _ in $(seq 1 100); do
    kill -0 "$pid" 2>/dev/null || fail "panel exited: $(cat "$tmp/log")"
    timeout 10 import -window "$window" "$tmp/shot.png"
    colour=$(convert "$tmp/shot.png" -format '%[pixel:p{19,19}]' info:)
    [ "$colour" = "$1" ] && { echo "ok: lamp $1"; return 0; }
    sleep 0.1
  done
  fail "lamp is $colour, wanted $1"
}

window=$(timeout 20 xdotool search --sync --onlyvisible --name '^Vorrik$' | head -n 1) || true
[ -n "$window" ] || fail "no window named Vorrik: $(cat "$tmp/log")"

want='_NET_WM_STATE_STICKY' expect "on every workspace" xprop -id "$window" _NET_WM_STATE
want='_NET_WM_STATE_ABOVE' expect "above other windows" xprop -id "$window" _NET_WM_STATE
want='= 4294967295' expect "on all desktops" xprop -id "$window" _NET_WM_DESKTOP
want='UTILITY' expect "a utility window" xprop -id "$window" _NET_WM_WINDOW_TYPE
want='minimum size: 300 by 480.*maximum size: 300 by 480' \
  expect "not resizable" xprop -id "$window" WM_NORMAL_HINTS
want='input focus: False' expect "keyboard left alone when shown" xprop -id "$window" WM_HINTS
want='^0$' expect "the user time keeps the panel from taking focus" \
  bash -c "xprop -id $window _NET_WM_USER_TIME | sed 's/.*= //'"

lamp "srgb(142,142,147)"
# A click on a button leaves the keyboard where it was.
xdotool mousemove --window "$window" 50 257 click 1
want='input focus: False' expect "keyboard left alone after a button" xprop -id "$window" WM_HINTS
[ "$(xdotool getwindowfocus 2>/dev/null)" != "$window" ] || fail "a button click took the keyboard"
echo "ok: the keyboard stayed where it was"
# A click in the stop-after field takes it.
xdotool mousemove --window "$window" 150 308 click 1
want='input focus: True' expect "keyboard taken by a text field" xprop -id "$window" WM_HINTS
want="^$window\$" expect "panel has the keyboard" xdotool getwindowfocus
# Return in the field starts a run (the clicks land on the field) and stops it again.
xdotool key Return
lamp "srgb(61,232,181)"
xdotool key Return
lamp "srgb(142,142,147)"
kill -0 "$pid" || fail "panel exited: $(cat "$tmp/log")"
