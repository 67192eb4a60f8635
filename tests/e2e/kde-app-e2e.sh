#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Under with-kde.sh: the whole program on KDE Plasma. Vorrik's word that the desktop will ask is
# put off; `vorrik --start` asks the desktop, whose dialog the hand accepts; the next --start runs, its clicks landing at the cursor in another
# client's window; SIGTERM in the middle of the run leaves no button held.
#   kde-app-e2e.sh VORRIK WAYLAND_RECEIVER HAND
set -euo pipefail
app="$1" receiver="$2" hand="$3"
scratch=$(mktemp -d)
export XDG_CONFIG_HOME="$scratch/config"
out="$scratch/receiver.out"
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$scratch"' EXIT

fail() {
  echo "FAIL: $*" >&2
  echo "receiver saw:" >&2; cat "$out" >&2
  echo "Vorrik said:" >&2; cat "$scratch/stderr" >&2
  exit 1
}
within() {  # SECONDS COMMAND...: retries COMMAND until it succeeds or time runs out
  local deadline=$((SECONDS + $1)); shift
  until "$@"; do [ $SECONDS -lt $deadline ] || return 1; sleep 0.05; done
}
presses() { grep -cE '^(press|double) left' "$out" || true; }
releases() { grep -c '^release left' "$out" || true; }
more_than() { [ "$(presses)" -gt "$1" ]; }
quiet() { local n; n=$(presses); sleep 1; [ "$(presses)" = "$n" ]; }
focus() { [ "$(grep -E '^(focus|blur)$' "$out" | tail -n 1)" = "$1" ]; }
hand() { [ "$(printf '%s\n' "$@" | "$hand" | grep -vc '^ok$')" = 0 ] || fail "the hand failed: $*"; }

# The receiver first: Vorrik's own window, and its word that the desktop will ask, come over it.
: >"$out"
"$receiver" >"$out" & receiver_pid=$!
within 20 grep -q '^ready' "$out" || fail "the receiver did not start"
within 20 focus focus || fail "the receiver never had the keyboard"
"$app" 2>"$scratch/stderr" & pid=$!
within 20 focus blur || fail "no Vorrik window took the keyboard"
within 20 grep -q 'Your desktop asks' "$scratch/stderr" || fail "Vorrik did not say the desktop asks"
# "Later", then the user clicks into the receiver's window, where the run will click.
hand "key Escape" "move 300 200" "click left"
within 10 focus focus || fail "the receiver did not take the keyboard back"
# The first Start asks; the dialog takes the keyboard until it is answered.
"$app" --start || fail "--start: $?"
within 30 focus blur || fail "no consent dialog: $(cat "$scratch/stderr")"
# Again when its controls did not take input yet, before they were drawn.
for _ in 1 2 3; do
  hand "consent accept"
  within 10 focus focus && break
done
focus focus || fail "the consent dialog stayed"
[ "$(presses)" = 1 ] || fail "a click while the desktop was asking"

# SIGTERM during a run: Vorrik ends and every press has its release.
within 20 eval '"$app" --start && within 3 more_than 1' || fail "--start started no run"
within 10 more_than 3 || fail "the run stopped early"
kill -TERM "$pid"
within 10 eval '! kill -0 "$pid" 2>/dev/null' || fail "SIGTERM did not end Vorrik"
within 10 quiet
[ "$(presses)" = "$(releases)" ] || fail "$(presses) presses, $(releases) releases after SIGTERM"
grep -E '^(press|double)' "$out" | grep -qvE '^(press|double) left 300 200 ' &&
  fail "a click away from the cursor"
kill "$receiver_pid"
echo "ok: $(presses) clicks, each released"
