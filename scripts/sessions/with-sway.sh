#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a command against a private headless sway, then stops the compositor.
#   with-sway.sh [--config FILE] -- command args...
# Sway refuses to run as root, so as root both sway and the command run as the user nobody,
# with a private runtime directory and home; a command that user cannot reach is copied to a
# private directory first. WAYLAND_DISPLAY, SWAYSOCK, XDG_RUNTIME_DIR and
# QT_QPA_PLATFORM=wayland are set for the command; VORRIK_SWAY_TMP names a scratch directory
# both can write.
set -euo pipefail

extra_config=""
while [ $# -gt 0 ]; do
  case "$1" in
    --config) extra_config="$2"; shift 2 ;;
    --) shift; break ;;
    *) break ;;
  esac
done
[ $# -gt 0 ] || { echo "usage: $0 [--config FILE] -- command..." >&2; exit 2; }
for tool in sway swaymsg setpriv; do
  command -v "$tool" >/dev/null || { echo "$tool is not installed (run scripts/test once)" >&2; exit 1; }
done

tmp=$(mktemp -d)
chmod 755 "$tmp"
sway_pid=""
keyboard_pid=""
cleanup() {
  [ -z "$keyboard_pid" ] || kill "$keyboard_pid" 2>/dev/null || true
  if [ -n "$sway_pid" ]; then
    kill "$sway_pid" 2>/dev/null || true
    wait "$sway_pid" 2>/dev/null || true
  fi
  rm -rf "$tmp"
}
trap cleanup EXIT INT TERM

as_user=()
if [ "$(id -u)" -eq 0 ]; then
  as_user=(setpriv --reuid=65534 --regid=65534 --clear-groups)
fi
mkdir -p "$tmp/run" "$tmp/home" "$tmp/scratch" "$tmp/bin"
chmod 700 "$tmp/run" "$tmp/home"
chmod 777 "$tmp/scratch"
if [ ${#as_user[@]} -gt 0 ]; then
  chown 65534:65534 "$tmp/run" "$tmp/home"
fi

{
  echo "xwayland disable"
  echo "default_border none"
  echo "focus_follows_mouse no"
  [ -n "$extra_config" ] && cat "$extra_config"
} >"$tmp/sway.conf"

export XDG_RUNTIME_DIR="$tmp/run" HOME="$tmp/home" VORRIK_SWAY_TMP="$tmp/scratch"
unset DISPLAY WAYLAND_DISPLAY SWAYSOCK DBUS_SESSION_BUS_ADDRESS
WLR_BACKENDS=headless WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman \
  "${as_user[@]}" sway -c "$tmp/sway.conf" >"$tmp/sway.log" 2>&1 &
sway_pid=$!

# Ready once both sockets exist and the IPC answers.
ready=0
for _ in $(seq 1 200); do
  sock=$(ls "$tmp/run"/sway-ipc.*.sock 2>/dev/null | head -n1 || true)
  wl=$(cd "$tmp/run" && ls wayland-* 2>/dev/null | grep -v lock | head -n1 || true)
  if [ -n "$sock" ] && [ -n "$wl" ] && swaymsg -s "$sock" -t get_version >/dev/null 2>&1; then
    ready=1; break
  fi
  kill -0 "$sway_pid" 2>/dev/null || break
  sleep 0.05
done
[ "$ready" = 1 ] || { echo "sway did not start:" >&2; cat "$tmp/sway.log" >&2; exit 1; }
export WAYLAND_DISPLAY="$wl" SWAYSOCK="$sock" QT_QPA_PLATFORM=wayland

# A seat with a keyboard from the start, as a real one has: clients bind it once, and every
# later key from wtype reaches them.
if command -v wtype >/dev/null; then
  "${as_user[@]}" wtype -s 2000000000 >/dev/null 2>&1 &
  keyboard_pid=$!
fi

# The command itself, where the user running sway can reach it.
cmd=("$@")
if [ ${#as_user[@]} -gt 0 ] && [[ "${cmd[0]}" == */* ]] && ! "${as_user[@]}" test -x "${cmd[0]}"; then
  cp "${cmd[0]}" "$tmp/bin/" && chmod 755 "$tmp/bin" "$tmp/bin/$(basename "${cmd[0]}")"
  cmd[0]="$tmp/bin/$(basename "${cmd[0]}")"
fi

set +e
"${as_user[@]}" "${cmd[@]}"
rc=$?
set -e
exit $rc
