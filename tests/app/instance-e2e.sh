#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The application as a process, under with-xvfb.sh --tray: closing the panel keeps it running,
# a second launch brings the panel back and exits with 0, Quit from the tray menu and Ctrl+Q
# end it with 0, and a copy killed mid-run does not block the next launch.
#   instance-e2e.sh path/to/vorrik
set -euo pipefail
app="$1"

scratch=$(mktemp -d)
cleanup() {
  kill -9 $(jobs -p) 2>/dev/null || true
  rm -rf "$scratch"
}
trap cleanup EXIT
# A private socket directory, settings and runtime directory: nothing of the user's is touched.
export TMPDIR="$scratch/tmp" XDG_CONFIG_HOME="$scratch/config" XDG_RUNTIME_DIR="$scratch/run"
mkdir -p "$TMPDIR" "$XDG_CONFIG_HOME" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
export QT_QPA_PLATFORM=xcb

fail() { echo "FAIL: $*" >&2; exit 1; }
# until SECONDS COMMAND...: retries COMMAND every 50 ms until it succeeds or time runs out.
until_ok() {
  local deadline=$((SECONDS + $1)); shift
  until "$@"; do [ $SECONDS -lt $deadline ] || return 1; sleep 0.05; done
}
panel_shown() { xdotool search --onlyvisible --name '^Vorrik$' >/dev/null 2>&1; }
panel_hidden() { ! panel_shown; }
# The tray icon is Vorrik's icon-sized window away from the origin, inside the tray host.
tray_icon() {
  local w
  for w in $(xdotool search --classname '^vorrik$' 2>/dev/null); do
    eval "$(xdotool getwindowgeometry --shell "$w")"
    if [ "$WIDTH" -ge 16 ] && [ "$WIDTH" -le 64 ] && [ "$X" -gt 0 ]; then
      echo "$X $Y $WIDTH $HEIGHT"
      return 0
    fi
  done
  return 1
}
ended() {  # PID: gone, or a zombie waiting to be reaped
  local state
  state=$(ps -o stat= -p "$1" 2>/dev/null) || return 0
  [[ "$state" == Z* ]]
}
exits_with_zero() {  # PID: waits at most 10 s for it to end, and checks its status
  local rc=0
  until_ok 10 ended "$1" || fail "the application did not end"
  wait "$1" || rc=$?
  [ "$rc" -eq 0 ] || fail "the application ended with status $rc"
}

"$app" &
first=$!
until_ok 10 panel_shown || fail "the panel did not appear"
until_ok 10 tray_icon >/dev/null || fail "the tray icon did not dock"

# Hide (Ctrl+H) closes the panel; the application stays.
xdotool key ctrl+h
until_ok 5 panel_hidden || fail "Ctrl+H did not hide the panel"
sleep 0.2
kill -0 "$first" || fail "hiding the panel ended the application"

# A second launch shows the running panel and ends at once with 0.
rc=0
timeout 10 "$app" || rc=$?
[ "$rc" -eq 0 ] || fail "the second launch ended with status $rc"
until_ok 5 panel_shown || fail "the second launch did not bring the panel back"
[ "$(xdotool search --onlyvisible --name '^Vorrik$' | wc -l)" -eq 1 ] || fail "two panels"

# Quit from the tray menu: open it on the icon, then pick its last item with the keyboard.
read -r x y w h < <(tray_icon)
xdotool mousemove $((x + w / 2)) $((y + h / 2)) click 3
sleep 0.5
xdotool key Up Return
exits_with_zero "$first"

# A copy killed without cleaning up leaves its socket; the next launch takes it over.
"$app" &
crashed=$!
until_ok 10 panel_shown || fail "the panel did not appear after a restart"
kill -9 "$crashed"
wait "$crashed" 2>/dev/null || true
until_ok 5 panel_hidden || fail "the killed copy's panel stayed"
"$app" &
revived=$!
until_ok 10 panel_shown || fail "a stale socket blocked the next launch"

# Ctrl+Q quits from the panel's menu bar.
xdotool key ctrl+q
exits_with_zero "$revived"
echo "PASS"
