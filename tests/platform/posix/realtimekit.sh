#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The click timer's real-time request, run as an unprivileged user without RLIMIT_RTPRIO:
# RealtimeKit grants it on a private system bus, and with no bus it runs at normal priority and
# says so once on stderr.
#   realtimekit.sh PATH/TO/realtime_probe
set -euo pipefail
[ "$(id -u)" -eq 0 ] || { echo "realtimekit.sh: needs root to switch users" >&2; exit 1; }
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
tmp="$(mktemp -d)"
trap 'rm -rf "$tmp"' EXIT
chmod 755 "$tmp"
install -m 755 "$1" "$tmp/probe"
# Able to read what a sanitizer's options name in a checkout nobody could not enter otherwise;
# reading files grants no scheduling right.
nobody=(prlimit --rtprio=0:0 setpriv --reuid=65534 --regid=65534 --clear-groups
        --inh-caps=+dac_read_search --ambient-caps=+dac_read_search)

"$here/../../../scripts/sessions/with-realtimekit.sh" -- "${nobody[@]}" "$tmp/probe" RealtimeKit

DBUS_SYSTEM_BUS_ADDRESS="unix:path=$tmp/no-bus" "${nobody[@]}" "$tmp/probe" none 2>"$tmp/err"
grep -c 'no real-time priority for the click timer' "$tmp/err" | grep -qx 1 || {
  echo "expected one notice of normal priority, got:" >&2; cat "$tmp/err" >&2; exit 1
}
echo "RealtimeKit granted; refused cleanly without it"
