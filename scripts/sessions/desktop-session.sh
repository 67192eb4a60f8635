# shellcheck shell=bash
# SPDX-License-Identifier: MIT
# What with-gnome.sh and with-kde.sh share; sourced, not run. The sourcing script defines
# stop_bus_services, which the cleanup runs first to stop what the private session bus started
# on demand.

sessions_dir=$(dirname "${BASH_SOURCE[0]}")

# need_tools TOOL...: exits 1 naming the first TOOL (a command, or a path with a slash) missing.
need_tools() {
  local tool
  for tool in "$@"; do
    if [[ "$tool" == */* ]]; then
      [ -x "$tool" ] && continue
    else
      command -v "$tool" >/dev/null && continue
    fi
    echo "$tool is not installed (run scripts/test once)" >&2
    exit 1
  done
}

# session_begin NAME: makes $tmp and pids, cleans up at exit, prefixes failures with NAME.
session_begin() {
  session_name=$1
  tmp=$(mktemp -d)
  chmod 700 "$tmp"
  pids=()
  trap session_cleanup EXIT INT TERM
}

# session_cleanup: stops the bus's services, then pids newest first, unmounts, removes $tmp.
session_cleanup() {
  local i
  stop_bus_services
  # Newest first: the portals before the compositor, the compositor before the servers under it.
  for ((i = ${#pids[@]} - 1; i >= 0; i--)); do kill "${pids[$i]}" 2>/dev/null || true; done
  for ((i = ${#pids[@]} - 1; i >= 0; i--)); do wait "${pids[$i]}" 2>/dev/null || true; done
  # The document portal, which the bus started for xdg-desktop-portal, mounts a FUSE file
  # system in the runtime directory.
  fusermount3 -u -z "$tmp/run/doc" 2>/dev/null || true
  rm -rf "$tmp" 2>/dev/null || true
}

# show_logs: the tails of the session's logs, which go with $tmp at exit.
show_logs() {
  local log
  for log in "$tmp"/*.log; do
    [ -s "$log" ] || continue
    echo "--- $session_name: $(basename "$log")" >&2
    tail -n 40 "$log" >&2
  done
}

# fail MESSAGE: says MESSAGE and the tails of the session's logs, then exits 1.
fail() {
  echo "$session_name: $1" >&2
  show_logs
  exit 1
}

# until_ok SECONDS COMMAND...: retries the command every 50 ms until it succeeds or time runs out.
until_ok() {
  local deadline=$((SECONDS + $1))
  shift
  until "$@" >/dev/null 2>&1; do
    [ $SECONDS -lt $deadline ] || return 1
    sleep 0.05
  done
}

# session_home [VORRIK]: exports a private HOME and XDG dirs; installs VORRIK's desktop entry.
session_home() {
  export HOME="$tmp/home"
  export XDG_RUNTIME_DIR="$tmp/run"
  export XDG_CONFIG_HOME="$HOME/.config" XDG_DATA_HOME="$HOME/.local/share" XDG_CACHE_HOME="$HOME/.cache"
  mkdir -p "$HOME" "$XDG_RUNTIME_DIR" "$XDG_CONFIG_HOME"
  [ -z "${1:-}" ] || "$sessions_dir/install-desktop-entry.sh" "$1" >/dev/null
  chmod 700 "$XDG_RUNTIME_DIR"
}

# start_system_bus: an empty system bus (compositors watch it for logind), exported.
start_system_bus() {
  sed "s|@SOCKET@|$tmp/system_bus_socket|" "$sessions_dir/system-bus.conf" >"$tmp/system.conf"
  dbus-daemon --config-file="$tmp/system.conf" --nofork --nopidfile >"$tmp/system-bus.log" 2>&1 &
  pids+=($!)
  export DBUS_SYSTEM_BUS_ADDRESS="unix:path=$tmp/system_bus_socket"
  until_ok 10 test -S "$tmp/system_bus_socket" || fail "the private system bus did not start"
}

# start_pipewire: PipeWire in the runtime directory, where the portals' screen-cast streams live.
start_pipewire() {
  pipewire >"$tmp/pipewire.log" 2>&1 &
  pids+=($!)
  until_ok 10 test -S "$XDG_RUNTIME_DIR/pipewire-0" || fail "pipewire did not start"
}

# update_activation_environment [NAME[=VALUE]...]: gives the bus's services the session's names.
update_activation_environment() {
  dbus-update-activation-environment HOME XDG_RUNTIME_DIR XDG_CONFIG_HOME XDG_DATA_HOME \
    XDG_CACHE_HOME XDG_CURRENT_DESKTOP XDG_SESSION_TYPE DBUS_SYSTEM_BUS_ADDRESS NO_AT_BRIDGE \
    "$@" >/dev/null 2>&1
}

# bus_call METHOD ARG...: calls org.freedesktop.DBus.METHOD on the session bus, printing the reply.
bus_call() {
  local method=$1
  shift
  gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
    --method "org.freedesktop.DBus.$method" "$@"
}

# has_name NAME: succeeds when someone owns NAME on the session bus.
has_name() { bus_call NameHasOwner "$1" | grep -q true; }

# remote_desktop_version: succeeds when the RemoteDesktop portal answers with its version.
remote_desktop_version() {
  gdbus call --session --dest org.freedesktop.portal.Desktop \
    --object-path /org/freedesktop/portal/desktop --method org.freedesktop.DBus.Properties.Get \
    org.freedesktop.portal.RemoteDesktop version | grep -q uint32
}

# run_command COMMAND...: runs the command and exits with its status; when it failed, the
# desktop's own logs say what the desktop was doing meanwhile.
run_command() {
  local rc
  set +e
  "$@"
  rc=$?
  set -e
  [ $rc -eq 0 ] || show_logs
  exit $rc
}
