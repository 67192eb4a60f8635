#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a command against a private Xvfb on a free display number, then stops the server.
#   with-xvfb.sh [--tray] [--size WxHxD] [--screens N] -- command args...
# --tray also starts a trayer system tray host; --screens 2 gives the server a second X screen
# of the same size (two root windows, no Xinerama). DISPLAY is set for the command; the server
# and tray host are stopped however the command ends.
set -euo pipefail

size="1280x800x24"
tray=0
screens=1
while [ $# -gt 0 ]; do
  case "$1" in
    --tray) tray=1; shift ;;
    --size) size="$2"; shift 2 ;;
    --screens) screens="$2"; shift 2 ;;
    --) shift; break ;;
    *) break ;;
  esac
done
[ $# -gt 0 ] || { echo "usage: $0 [--tray] [--size WxHxD] [--screens N] -- command..." >&2; exit 2; }
screenArgs=()
for ((n = 0; n < screens; n++)); do screenArgs+=(-screen "$n" "$size"); done

command -v Xvfb >/dev/null || { echo "Xvfb is not installed (run scripts/test once)" >&2; exit 1; }

tmp=$(mktemp -d)
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  for pid in "${pids[@]}"; do wait "$pid" 2>/dev/null || true; done
  rm -rf "$tmp"
}
trap cleanup EXIT INT TERM

# -displayfd makes Xvfb pick a free display number itself and report it once it is ready.
mkfifo "$tmp/fd"
Xvfb -displayfd 3 "${screenArgs[@]}" -nolisten tcp -noreset +extension XTEST +extension XInputExtension \
  3>"$tmp/fd" >"$tmp/xvfb.log" 2>&1 &
pids+=($!)
read -r -t 20 display <"$tmp/fd" || { echo "Xvfb did not start:" >&2; cat "$tmp/xvfb.log" >&2; exit 1; }
export DISPLAY=":$display"
# The private server is an X11 session, whatever session the caller runs in.
unset WAYLAND_DISPLAY
export XDG_SESSION_TYPE=x11

if [ "$tray" = 1 ]; then
  trayer --edge top --align right --widthtype request --height 24 --transparent false \
    >"$tmp/trayer.log" 2>&1 &
  pids+=($!)
  # Wait until the tray host owns the system tray selection.
  for _ in $(seq 1 100); do
    if xprop -root _NET_SUPPORTING_WM_CHECK >/dev/null 2>&1 && \
       xdpyinfo >/dev/null 2>&1 && \
       [ -n "$(xwininfo -root -tree 2>/dev/null | grep -i trayer)" ]; then break; fi
    sleep 0.05
  done
fi

set +e
"$@"
rc=$?
set -e
exit $rc
