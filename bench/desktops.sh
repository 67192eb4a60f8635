#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Times Vorrik's clicks through each backend the same way, side by side: X11 on a private Xvfb,
# wlroots on a private headless sway and the portal on a private headless GNOME Shell and, on
# Debian releases that have KDE Plasma 6 (the Debian 13 root), on a private kwin. Each
# row: the engine clicking at the cursor into a full-screen Qt receiver that stamps every press
# and release on the monotonic clock (bench/DesktopTiming.cpp).
#   bench/desktops.sh BIN_DIR RECEIVER HAND [--nominal MS] [--periods N]
# HAND is gnome_hand; KDE's hand is tests/e2e/kde-hand.sh.
# Every clicker runs with RLIMIT_RTPRIO 0, no RealtimeKit and, as root, without the right to
# raise its priority (as nobody where the session allows it: sway's and the X server's), so that
# every backend meets the same normal priority.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
sessions="$here/../scripts/sessions"

[ $# -ge 3 ] || { echo "usage: $0 BIN_DIR RECEIVER HAND [--nominal MS] [--periods N]" >&2; exit 2; }
bin="$1" receiver="$2" hand="$3"
shift 3

tmp="$(mktemp -d)"
trap 'rm -rf "$tmp"' EXIT
chmod 755 "$tmp"
install -m 755 "$bin/vorrik_desktop_timing" "$receiver" "$hand" "$here/../tests/e2e/kde-hand.sh" "$tmp/"
timing=("$tmp/vorrik_desktop_timing" --receiver "$tmp/$(basename "$receiver")" "$@")
unprivileged=(prlimit --rtprio=0:0)
if [ "$(id -u)" -eq 0 ]; then
  unprivileged+=(setpriv --reuid=65534 --regid=65534 --clear-groups)
fi
export DBUS_SYSTEM_BUS_ADDRESS="unix:path=/nonexistent/vorrik-bench"

printf '%-7s %7s %7s %9s %7s %6s %6s %7s %7s %6s %9s  %s\n' backend nominal presses median \
  bias jit50 jit99 jitmax hold hjit99 shortest priority
failed=0
QT_QPA_PLATFORM=xcb "$sessions/with-xvfb.sh" -- "${unprivileged[@]}" "${timing[@]}" || failed=1
# with-sway.sh itself runs the command as nobody when started as root.
prlimit --rtprio=0:0 "$sessions/with-sway.sh" -- "${timing[@]}" || failed=1
# GNOME's session bus belongs to the user who started it, so the clicker stays that user there,
# only without CAP_SYS_NICE. The portal asks the user through its dialog, which the hand answers.
own=(prlimit --rtprio=0:0)
if [ "$(id -u)" -eq 0 ]; then
  own+=(setpriv --bounding-set=-sys_nice --inh-caps=-sys_nice)
fi
QT_QPA_PLATFORM=wayland "$sessions/with-gnome.sh" --hand "$tmp/$(basename "$hand")" -- \
  "${own[@]}" "${timing[@]}" --hand "$tmp/$(basename "$hand")" || failed=1
if [ "$(. /etc/os-release 2>/dev/null && echo "${VERSION_CODENAME:-}")" != bookworm ]; then
  QT_QPA_PLATFORM=wayland "$sessions/with-kde.sh" -- \
    "${own[@]}" "${timing[@]}" --hand "$tmp/kde-hand.sh" || failed=1
fi
exit "$failed"
