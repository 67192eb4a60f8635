# SPDX-License-Identifier: MIT
# Sourced by the shell end-to-end tests: a scratch directory that goes at exit together with
# every background job, and waiting for a state instead of sleeping a fixed time.
scratch=$(mktemp -d)
trap 'kill -9 $(jobs -p) 2>/dev/null || true; rm -rf "$scratch"' EXIT

fail() { echo "FAIL: $*" >&2; exit 1; }
within() {  # SECONDS COMMAND...: retries COMMAND until it succeeds or time runs out
  local deadline=$((SECONDS + $1)); shift
  until "$@"; do [ $SECONDS -lt $deadline ] || return 1; sleep 0.05; done
}
# Exactly N visible windows named Vorrik.
shown() { [ "$(xdotool search --onlyvisible --name '^Vorrik$' 2>/dev/null | wc -l)" = "$1" ]; }
# The panel holds the keyboard focus: a key pressed before that goes to nobody.
has_keyboard() {
  local focus; focus=$(xdotool getwindowfocus 2>/dev/null) || return 1
  xdotool search --onlyvisible --name '^Vorrik$' 2>/dev/null | grep -qx "$focus"
}
ended() { ! state=$(ps -o stat= -p "$1") || [[ "$state" == Z* ]]; }
