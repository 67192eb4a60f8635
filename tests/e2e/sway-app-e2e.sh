#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Under with-sway.sh: the whole program on sway. Vorrik chooses the wlroots backend and binds F6
# through sway's IPC; F6 (typed through the compositor) and `vorrik --toggle/--start/--stop` from a
# shell start and stop runs whose clicks land at the cursor in another client's window; SIGTERM
# in the middle of a run leaves no button held.
#   sway-app-e2e.sh VORRIK WAYLAND_RECEIVER
set -euo pipefail
app="$1" receiver="$2"
scratch="$VORRIK_SWAY_TMP/app"
mkdir -p "$scratch"
export XDG_CONFIG_HOME="$scratch"
out="$scratch/receiver.out"
trap 'kill $(jobs -p) 2>/dev/null || true' EXIT

fail() { echo "FAIL: $*" >&2; echo "receiver saw:" >&2; cat "$out" >&2; exit 1; }
within() {  # SECONDS COMMAND...: retries COMMAND until it succeeds or time runs out
  local deadline=$((SECONDS + $1)); shift
  until "$@"; do [ $SECONDS -lt $deadline ] || return 1; sleep 0.05; done
}
# Qt reports a press soon after the last one at the same spot as a double click.
presses() { grep -cE '^(press|double) left' "$out" || true; }
releases() { grep -c '^release left' "$out" || true; }
more_than() { [ "$(presses)" -gt "$1" ]; }
# No press for a second: the run is over.
quiet() { local n; n=$(presses); sleep 1; [ "$(presses)" = "$n" ]; }
mapped() { swaymsg -t get_tree | grep -q "\"pid\": $1,"; }

# The receiver first, as a window the user already has open: Vorrik's virtual pointer is the
# seat's first pointer, and nothing moves it before the first run.
: >"$out"
"$receiver" >>"$out" & receiver_pid=$!
within 20 grep -q '^ready' "$out" || fail "the receiver did not start"
"$app" 2>"$scratch/stderr" & pid=$!
within 20 mapped "$pid" || fail "no Vorrik window: $(cat "$scratch/stderr")"
grep -q "not bound" "$scratch/stderr" && fail "F6 is not bound: $(cat "$scratch/stderr")"
within 20 grep -q '^enter' "$out" || fail "the pointer never came onto the receiver"

# F6 as the user types it: sway runs `vorrik --toggle`. Every click lands, all at one spot.
wtype -k F6
within 10 more_than 2 || fail "F6 started no run"
wtype -k F6
within 10 quiet || fail "F6 did not stop the run"
n=$(presses)
[ "$n" = "$(releases)" ] || fail "$n presses, $(releases) releases"
[ "$(grep -E '^(press|double)' "$out" | cut -d' ' -f3,4 | sort -u | wc -l)" = 1 ] ||
  fail "the clicks of one run at the cursor landed at different spots"

# The same from a shell, where the pointer was put.
swaymsg -q seat - cursor set 300 200
: >"$out"
"$app" --toggle || fail "--toggle: $?"
within 10 more_than 0 || fail "--toggle started no run"
"$app" --stop || fail "--stop: $?"
within 10 quiet || fail "--stop did not stop the run"
grep -E '^(press|double)' "$out" | grep -qvE '^(press|double) left 300 200 ' &&
  fail "a click away from the cursor"

# SIGTERM during a run: Vorrik ends and every press has its release.
"$app" --start || fail "--start: $?"
n=$(presses)
within 10 more_than "$n" || fail "--start started no run"
kill -TERM "$pid"
within 10 eval '! kill -0 "$pid" 2>/dev/null' || fail "SIGTERM did not end Vorrik"
within 10 quiet
[ "$(presses)" = "$(releases)" ] || fail "$(presses) presses, $(releases) releases after SIGTERM"
kill "$receiver_pid"
echo "ok: $(presses) clicks, each released"
