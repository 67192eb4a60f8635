#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs the paired click-timing benchmark: two private X servers, and a world-readable copy of
# the programs so that the clickers can run as an unprivileged user whatever the checkout's
# permissions.
#   bench/paired.sh BIN_DIR [--no-realtimekit] [vorrik_click_timing options...]
# Run as root, it gives the clickers a private system bus with RealtimeKit on it, as a desktop
# session has (scripts/sessions/with-realtimekit.sh); otherwise they see the machine's own system bus.
# --no-realtimekit leaves them no bus at all, so that only SCHED_FIFO itself could be had.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
xvfb="$here/../scripts/sessions/with-xvfb.sh"

case "${1:-}" in
  --inside-second)  # both servers are up: the first's name is given, the second is DISPLAY
    first="$2" tmp="$3"
    shift 3
    exec "$tmp/vorrik_click_timing" --vorrik-display "$first" --reference-display "$DISPLAY" \
      --clicker "$tmp/vorrik_bench_clicker" --shim "$tmp/libvorrik_flush_shim.so" \
      --work "$tmp/work" "$@"
    ;;
  --inside-first)
    tmp="$2"
    shift 2
    exec "$xvfb" -- "$0" --inside-second "$DISPLAY" "$tmp" "$@"
    ;;
esac

[ $# -ge 1 ] || { echo "usage: $0 BIN_DIR [--no-realtimekit] [options...]" >&2; exit 2; }
bin="$1"
shift
wrap=()
if [ "${1:-}" = --no-realtimekit ]; then
  export DBUS_SYSTEM_BUS_ADDRESS="unix:path=/nonexistent/vorrik-bench"
  shift
elif [ "$(id -u)" -eq 0 ]; then
  wrap=("$here/../scripts/sessions/with-realtimekit.sh" --)
fi
tmp="$(mktemp -d)"
trap 'rm -rf "$tmp"' EXIT
chmod 755 "$tmp"
install -m 755 "$bin/vorrik_click_timing" "$bin/vorrik_bench_clicker" \
  "$bin/libvorrik_flush_shim.so" "$tmp/"
mkdir -m 1777 "$tmp/work"
"${wrap[@]}" "$xvfb" -- "$0" --inside-first "$tmp" "$@"
