#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Under with-xvfb.sh --tray: Hide keeps Vorrik running, a second launch shows the panel and exits
# with 0, Quit (tray menu, then Ctrl+Q) exits with 0, a killed copy does not block the next one.
set -euo pipefail
app="$1"
scratch=$(mktemp -d)
trap 'kill -9 $(jobs -p) 2>/dev/null || true; rm -rf "$scratch"' EXIT
# Private socket, settings and runtime directories: nothing of the user's is touched.
export TMPDIR="$scratch" XDG_CONFIG_HOME="$scratch" XDG_RUNTIME_DIR="$scratch" QT_QPA_PLATFORM=xcb
chmod 700 "$scratch"

fail() { echo "FAIL: $*" >&2; exit 1; }
within() {  # SECONDS COMMAND...: retries COMMAND until it succeeds or time runs out
  local deadline=$((SECONDS + $1)); shift
  until "$@"; do [ $SECONDS -lt $deadline ] || return 1; sleep 0.05; done
}
shown() { [ "$(xdotool search --onlyvisible --name '^Vorrik$' 2>/dev/null | wc -l)" = "$1" ]; }
ended() { ! state=$(ps -o stat= -p "$1") || [[ "$state" == Z* ]]; }
quits_with_0() { within 10 ended "$1" || fail "did not quit"; wait "$1" || fail "status $?"; }

"$app" & first=$!
within 10 shown 1 || fail "no panel"
xdotool key ctrl+h
within 5 shown 0 || fail "Ctrl+H did not hide the panel"
kill -0 "$first" || fail "hiding the panel ended Vorrik"
timeout 10 "$app" || fail "the second launch ended with status $?"
within 5 shown 1 || fail "the second launch did not show the panel"

# The tray icon: Vorrik's small window inside the tray host, away from the origin.
for w in $(xdotool search --classname '^vorrik$'); do
  eval "$(xdotool getwindowgeometry --shell "$w")"
  [ "$WIDTH" -lt 16 ] || [ "$WIDTH" -gt 64 ] || [ "$X" -eq 0 ] || break
done
xdotool mousemove $((X + WIDTH / 2)) $((Y + HEIGHT / 2)) click 3
sleep 0.5
xdotool key Up Return  # the menu's last item, Quit
quits_with_0 "$first"

"$app" & crashed=$!
within 10 shown 1 || fail "no panel after a restart"
kill -9 "$crashed"
{ wait "$crashed"; } 2>/dev/null || true
within 5 shown 0 || fail "the killed copy's panel stayed"
"$app" & revived=$!
within 10 shown 1 || fail "a killed copy's socket blocked the next launch"
xdotool key ctrl+q
quits_with_0 "$revived"
echo PASS
