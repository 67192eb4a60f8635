#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a command with a private system bus carrying RealtimeKit (rtkit-daemon) and polkit, the
# way a desktop session has them; DBUS_SYSTEM_BUS_ADDRESS names that bus for the command, and
# the daemons stop however it ends. Needs root: both daemons start as root and drop privileges.
#   with-realtimekit.sh -- command args...
# Outside a login session polkit refuses RealtimeKit's actions (they allow active and inactive
# sessions only), so while the command runs a polkit rule allowing them stands in for the
# session; it is removed afterwards.
set -euo pipefail

[ "${1:-}" = -- ] && shift
[ $# -gt 0 ] || { echo "usage: $0 -- command..." >&2; exit 2; }
[ "$(id -u)" -eq 0 ] || { echo "with-realtimekit.sh: needs root" >&2; exit 1; }
rtkit=/usr/libexec/rtkit-daemon
polkitd=/usr/lib/polkit-1/polkitd
for program in dbus-daemon dbus-send "$rtkit" "$polkitd"; do
  command -v "$program" >/dev/null || {
    echo "with-realtimekit.sh: $program is missing (run scripts/test once)" >&2
    exit 1
  }
done

tmp="$(mktemp -d)"
chmod 755 "$tmp"
rule="/etc/polkit-1/rules.d/49-vorrik-realtimekit-test-$$.rules"
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  for pid in "${pids[@]}"; do wait "$pid" 2>/dev/null || true; done
  rm -f "$rule"
  rm -rf "$tmp"
}
trap cleanup EXIT INT TERM

sed "s|@SOCKET@|$tmp/system_bus_socket|" "$(dirname "${BASH_SOURCE[0]}")/system-bus.conf" >"$tmp/bus.conf"
dbus-daemon --config-file="$tmp/bus.conf" --nofork --nopidfile --print-address=3 \
  3>"$tmp/address" 2>"$tmp/bus.log" &
pids+=($!)
for _ in $(seq 1 100); do [ -s "$tmp/address" ] && break; sleep 0.05; done
[ -s "$tmp/address" ] || { echo "the private system bus did not start:" >&2; cat "$tmp/bus.log" >&2; exit 1; }
DBUS_SYSTEM_BUS_ADDRESS="$(head -n 1 "$tmp/address")"
export DBUS_SYSTEM_BUS_ADDRESS

mkdir -p "$(dirname "$rule")"
cat >"$rule" <<'RULE'
// Stands in for an active desktop session during Vorrik's RealtimeKit tests; removed after them.
polkit.addRule(function(action, subject) {
  if (action.id.indexOf("org.freedesktop.RealtimeKit1.") === 0) { return polkit.Result.YES; }
});
RULE
# Their logs go through a pipe: rtkit-daemon sets RLIMIT_FSIZE to 0 for itself.
"$polkitd" --no-debug > >(cat >"$tmp/polkit.log") 2>&1 &
pids+=($!)
"$rtkit" --stderr --no-canary > >(cat >"$tmp/rtkit.log") 2>&1 &
pids+=($!)

has_owner() {
  dbus-send --system --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus \
    org.freedesktop.DBus.NameHasOwner "string:$1" 2>/dev/null | grep -q 'boolean true'
}
for _ in $(seq 1 100); do
  has_owner org.freedesktop.PolicyKit1 && has_owner org.freedesktop.RealtimeKit1 && break
  sleep 0.1
done
has_owner org.freedesktop.RealtimeKit1 || {
  echo "rtkit-daemon did not start:" >&2; cat "$tmp/rtkit.log" >&2; exit 1
}

set +e
"$@"
rc=$?
set -e
if [ "${VORRIK_SHOW_REALTIMEKIT_LOG:-0}" = 1 ]; then cat "$tmp/rtkit.log" >&2; fi
exit $rc
