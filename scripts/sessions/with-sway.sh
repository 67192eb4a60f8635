#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a command against a private headless wlroots compositor (sway unless told otherwise),
# then stops the compositor.
#   with-sway.sh [--compositor sway|labwc|wayfire] [--config FILE] -- command args...
# VORRIK_WLROOTS_COMPOSITOR gives the compositor when --compositor does not; --config adds FILE
# to sway's configuration. Sway refuses to run as root, so as root the compositor and the
# command run as the user nobody, with a private runtime directory and home, and with
# CAP_DAC_READ_SEARCH: the checkout and build tree may lie under a directory nobody cannot
# enter. WAYLAND_DISPLAY, XDG_RUNTIME_DIR, QT_QPA_PLATFORM=wayland (and SWAYSOCK on sway) are
# set for the command; VORRIK_SWAY_TMP names a scratch directory both can write.
set -euo pipefail

compositor="${VORRIK_WLROOTS_COMPOSITOR:-sway}"
extra_config=""
while [ $# -gt 0 ]; do
  case "$1" in
    --compositor) compositor="$2"; shift 2 ;;
    --config) extra_config="$2"; shift 2 ;;
    --) shift; break ;;
    *) break ;;
  esac
done
usage="usage: $0 [--compositor sway|labwc|wayfire] [--config FILE] -- command..."
[ $# -gt 0 ] || { echo "$usage" >&2; exit 2; }
case "$compositor" in
  sway) tools=(sway swaymsg) ;;
  labwc | wayfire) tools=("$compositor") ;;
  *) echo "with-sway.sh: unknown compositor '$compositor'; $usage" >&2; exit 2 ;;
esac
for tool in "${tools[@]}" setpriv; do
  command -v "$tool" >/dev/null || { echo "$tool is not installed (run scripts/test once)" >&2; exit 1; }
done

tmp=$(mktemp -d)
chmod 755 "$tmp"
compositor_pid=""
keyboard_pid=""
cleanup() {
  [ -z "$keyboard_pid" ] || kill "$keyboard_pid" 2>/dev/null || true
  if [ -n "$compositor_pid" ]; then
    kill "$compositor_pid" 2>/dev/null || true
    wait "$compositor_pid" 2>/dev/null || true
  fi
  rm -rf "$tmp"
}
trap cleanup EXIT INT TERM

as_user=()
if [ "$(id -u)" -eq 0 ]; then
  as_user=(setpriv --reuid=65534 --regid=65534 --clear-groups
           --inh-caps=+dac_read_search --ambient-caps=+dac_read_search)
fi
mkdir -p "$tmp/run" "$tmp/home" "$tmp/scratch"
chmod 700 "$tmp/run" "$tmp/home"
chmod 777 "$tmp/scratch"
if [ ${#as_user[@]} -gt 0 ]; then
  chown 65534:65534 "$tmp/run" "$tmp/home"
fi

export XDG_RUNTIME_DIR="$tmp/run" HOME="$tmp/home" VORRIK_SWAY_TMP="$tmp/scratch"
unset DISPLAY WAYLAND_DISPLAY SWAYSOCK DBUS_SESSION_BUS_ADDRESS
export WLR_BACKENDS=headless WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman
case "$compositor" in
  sway)
    {
      echo "xwayland disable"
      echo "default_border none"
      echo "focus_follows_mouse no"
      [ -n "$extra_config" ] && cat "$extra_config"
    } >"$tmp/sway.conf"
    start=(sway -c "$tmp/sway.conf")
    ;;
  labwc)
    # Its defaults, with no configuration of the user's.
    mkdir -p "$tmp/labwc"
    start=(labwc -C "$tmp/labwc")
    ;;
  wayfire)
    printf '[core]\nxwayland = false\n' >"$tmp/wayfire.ini"
    start=(wayfire -c "$tmp/wayfire.ini")
    ;;
esac
"${as_user[@]}" "${start[@]}" >"$tmp/compositor.log" 2>&1 &
compositor_pid=$!

# Ready once its Wayland socket exists (and on sway the IPC answers).
ready=0
for _ in $(seq 1 400); do
  wl=$(cd "$tmp/run" && ls wayland-* 2>/dev/null | grep -v lock | head -n1 || true)
  if [ "$compositor" = sway ]; then
    sock=$(ls "$tmp/run"/sway-ipc.*.sock 2>/dev/null | head -n1 || true)
    if [ -n "$sock" ] && [ -n "$wl" ] && swaymsg -s "$sock" -t get_version >/dev/null 2>&1; then
      ready=1; break
    fi
  elif [ -n "$wl" ]; then
    ready=1; break
  fi
  kill -0 "$compositor_pid" 2>/dev/null || break
  sleep 0.05
done
[ "$ready" = 1 ] || { echo "$compositor did not start:" >&2; cat "$tmp/compositor.log" >&2; exit 1; }
export WAYLAND_DISPLAY="$wl" QT_QPA_PLATFORM=wayland
[ "$compositor" != sway ] || export SWAYSOCK="$sock"

# A seat with a keyboard from the start, as a real one has: clients bind it once, and every
# later key from wtype reaches them.
if command -v wtype >/dev/null; then
  "${as_user[@]}" wtype -s 2000000000 >/dev/null 2>&1 &
  keyboard_pid=$!
fi

set +e
"${as_user[@]}" "$@"
rc=$?
set -e
exit $rc
