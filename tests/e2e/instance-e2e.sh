#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Under with-xvfb.sh --tray, with real processes: the command line; Hide keeps Vorrik running, a
# second launch shows the panel and exits with 0, Quit exits with 0; two launches at once give
# one panel; a killed copy does not block the next one; places other users own or the shared
# temporary directory cannot stop a launch or take its commands; --toggle, --start and --stop
# drive the run of the running copy, whose clicks land in an xev window under the pointer.
set -euo pipefail
app="$1"
. "$(dirname "$0")/e2e-lib.sh"
# Private runtime, cache, settings and temporary directories: nothing of the user's is touched.
mkdir -m 700 "$scratch/run" "$scratch/cache" "$scratch/config" "$scratch/tmp"
export XDG_RUNTIME_DIR="$scratch/run" XDG_CACHE_HOME="$scratch/cache"
export XDG_CONFIG_HOME="$scratch/config" TMPDIR="$scratch/tmp" QT_QPA_PLATFORM=xcb
root=0; [ "$(id -u)" = 0 ] && root=1
nobody=(setpriv --reuid=65534 --regid=65534 --clear-groups)

quits_with_0() { within 10 ended "$1" || fail "did not quit"; wait "$1" || fail "status $?"; }
killed() { kill -"${2:-TERM}" "$1"; { wait "$1"; } 2>/dev/null || true; within 5 shown 0 || fail "a killed panel stayed"; }

# --- The command line, with no copy running and no display.
out=$(env -u DISPLAY "$app" --help) || fail "--help: status $?"
grep -q -- '--toggle' <<<"$out" || fail "--help printed no usage"
out=$(env -u DISPLAY "$app" --version) || fail "--version: status $?"
[[ "$out" =~ ^vorrik\ [0-9]+\.[0-9]+$ ]] || fail "--version printed '$out'"
for bad in --bogus "--start --stop" toggle -x; do
  set +e; out=$(env -u DISPLAY "$app" $bad 2>"$scratch/err"); status=$?; set -e
  [ "$status" = 2 ] && [ -z "$out" ] && grep -q Usage "$scratch/err" ||
    fail "'$bad' gave status $status, stdout '$out', stderr '$(cat "$scratch/err")'"
done
set +e; "$app" --stop 2>"$scratch/err"; status=$?; set -e
[ "$status" != 0 ] && [ -s "$scratch/err" ] || fail "--stop with nothing running: status $status"
shown 0 || fail "--stop with nothing running showed a panel"

# --- Hide, show again from a second launch, quit from the tray.
"$app" & first=$!
within 10 shown 1 || fail "no panel"
within 5 has_keyboard || fail "the panel did not take the keyboard at launch"
xdotool key ctrl+h
within 5 shown 0 || fail "Ctrl+H did not hide the panel"
kill -0 "$first" || fail "hiding the panel ended Vorrik"
timeout 10 "$app" || fail "the second launch ended with status $?"
within 5 shown 1 || fail "the second launch did not show the panel"
# A launch on another display says where Vorrik runs.
DISPLAY=:elsewhere timeout 10 "$app" 2>"$scratch/err" || fail "a launch elsewhere: status $?"
grep -q "already runs on display $DISPLAY" "$scratch/err" || fail "elsewhere: $(cat "$scratch/err")"
# The tray icon: Vorrik's small window inside the tray host, away from the origin.
for w in $(xdotool search --classname '^vorrik$'); do
  eval "$(xdotool getwindowgeometry --shell "$w")"
  [ "$WIDTH" -lt 16 ] || [ "$WIDTH" -gt 64 ] || [ "$X" -eq 0 ] || break
done
xdotool mousemove $((X + WIDTH / 2)) $((Y + HEIGHT / 2)) click 3
sleep 0.5
xdotool key Up Return  # the menu's last item, Quit
quits_with_0 "$first"

# --- Two launches at the same instant: one panel, the other hands over and ends with 0. Each
# round ends with kill -9, so the next one also starts over a killed copy's socket.
one=0
launch_at_go() { while [ ! -e "$scratch/go" ]; do :; done; exec "$app" 2>/dev/null; }
for round in $(seq 10); do
  rm -f "$scratch/go"
  launch_at_go & a=$!
  launch_at_go & b=$!
  sleep 0.2; touch "$scratch/go"
  within 10 shown 1 || fail "round $round: no panel"
  sleep 0.5
  alive=0; for p in $a $b; do ended "$p" || { alive=$((alive + 1)); survivor=$p; }; done
  other=$a; [ "$survivor" = "$a" ] && other=$b
  if shown 1 && [ $alive = 1 ] && wait "$other"; then one=$((one + 1)); fi
  kill -9 $a $b 2>/dev/null || true; { wait $a $b; } 2>/dev/null || true
  within 5 shown 0 || fail "round $round: a killed panel stayed"
done
echo "two launches at once: one panel in $one of 10 rounds"
[ $one = 10 ] || fail "two launches at once gave one panel in only $one of 10 rounds"

# --- The shared temporary directory plays no part: missing, or a plain file where the old
# socket was.
TMPDIR=/nonexistent/tmp "$app" & first=$!
within 10 shown 1 || fail "no panel with TMPDIR missing"
TMPDIR=/nonexistent/tmp timeout 10 "$app" || fail "second launch with TMPDIR missing: status $?"
touch "$TMPDIR/vorrik-$(id -u)"
timeout 10 "$app" || fail "second launch beside a plain file in TMPDIR: status $?"
sleep 0.5
shown 1 && ! ended "$first" || fail "with TMPDIR missing a second copy ran"
killed "$first"
ls "$TMPDIR" | grep -qv "^vorrik-$(id -u)$" && fail "something was left in TMPDIR: $(ls "$TMPDIR")"

# --- Places that are not the user's own: the runtime directory is passed over, the cache
# fallback refused with a message, and a panel appears all the same.
launch_says() {  # WORDS ENV...: a launch with ENV shows a panel and says WORDS on stderr
  local words="$1"; shift
  env "$@" "$app" 2>"$scratch/err" & first=$!
  within 10 shown 1 || fail "no panel with $*: $(cat "$scratch/err")"
  grep -q "$words" "$scratch/err" || fail "with $* stderr said: $(cat "$scratch/err")"
  killed "$first"
}
mkdir -m 1777 "$scratch/shared"
launch_says "is open to other users" XDG_RUNTIME_DIR="$scratch/shared"
if [ $root = 1 ]; then
  # Another user squats the runtime directory and the old name in the temporary directory,
  # and answers every launch "ok".
  mkdir -m 700 "$scratch/squat"; chown 65534:65534 "$scratch/squat"; chmod 755 "$scratch"
  for socket in "$scratch/squat/vorrik.socket" "$scratch/shared/vorrik-0"; do
    "${nobody[@]}" /usr/bin/python3 -c 'import os, socket, sys
s = socket.socket(socket.AF_UNIX); s.bind(sys.argv[1]); os.chmod(sys.argv[1], 0o777); s.listen()
while True:
    c, _ = s.accept(); c.recv(64); c.sendall(b"ok\n"); c.close()' "$socket" &
  done
  within 5 test -S "$scratch/shared/vorrik-0" || fail "the squatter did not start"
  launch_says "belongs to another user" XDG_RUNTIME_DIR="$scratch/squat" TMPDIR="$scratch/shared"
  mkdir -m 700 "$scratch/cache2"; mkdir -m 700 "$scratch/cache2/vorrik"
  chown 65534:65534 "$scratch/cache2/vorrik"
  launch_says "running without it" XDG_RUNTIME_DIR= XDG_CACHE_HOME="$scratch/cache2"
else
  echo "note: not root, so squatting by another user is left to the unit tests"
fi

# --- --toggle, --start and --stop drive the running copy's run; --toggle starts a copy first.
xev -geometry 300x300+0+300 -event button >"$scratch/xev.log" &
within 5 xdotool search --name '^Event Tester$' >/dev/null || fail "no xev window"
xdotool mousemove 150 450
presses() { grep -c '^ButtonPress' "$scratch/xev.log" || true; }
more_than() { [ "$(presses)" -gt "$1" ]; }
running() { within 5 more_than $(($(presses) + 2)); }  # presses keep arriving
stopped() {  # no press arrives for half a second
  sleep 0.3; local before; before=$(presses); sleep 0.5; [ "$(presses)" = "$before" ]
}
cli() { timeout 15 "$app" "$@" || fail "vorrik $*: status $?"; }
"$app" --toggle & first=$!
within 10 shown 1 || fail "--toggle with nothing running showed no panel"
running || fail "--toggle with nothing running did not start a run"
cli --toggle; stopped || fail "--toggle did not stop the run"
cli --stop; stopped || fail "--stop started a run"
cli --start; running || fail "--start did not start a run"
cli --start; running || fail "a second --start stopped the run"
if [ $root = 1 ]; then
  # Another user who can reach the socket is turned away without an answer.
  chmod 755 "$scratch" "$XDG_RUNTIME_DIR"; chmod 666 "$XDG_RUNTIME_DIR/vorrik.socket"
  "${nobody[@]}" /usr/bin/python3 -c 'import socket, sys
s = socket.socket(socket.AF_UNIX); s.connect(sys.argv[1]); s.settimeout(5)
try:
    s.sendall(b"stop\n"); sys.exit(1 if s.recv(64) else 0)
except (BrokenPipeError, ConnectionResetError):
    pass' "$XDG_RUNTIME_DIR/vorrik.socket" || fail "another user's stop was answered"
  chmod 700 "$scratch" "$XDG_RUNTIME_DIR"
  running || fail "another user's stop was obeyed"
fi
cli --stop; stopped || fail "--stop did not stop the run"
shown 1 && ! ended "$first" || fail "the commands ended the running copy"
killed "$first"
echo PASS
