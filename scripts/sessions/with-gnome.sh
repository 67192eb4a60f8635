#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a command on a private headless GNOME Shell (Wayland, with Xwayland as a desktop session
# has it) with its desktop portal, then stops everything.
#   with-gnome.sh [--hand PATH] [--app VORRIK] [--size WxH] [--media-keys] [--no-x11] -- command...
# The command runs inside a private D-Bus session with a private HOME, XDG_RUNTIME_DIR and
# system bus, and finds WAYLAND_DISPLAY, XDG_CURRENT_DESKTOP=GNOME, the running PipeWire and
# the RemoteDesktop portal answering. --hand names the gnome_hand test program, used to leave
# the overview the shell starts in; without it the overview stays open. --media-keys also runs
# gsd-media-keys, which runs the custom keyboard shortcuts. DISPLAY and XAUTHORITY name the
# shell's Xwayland; --no-x11 starts none and leaves DISPLAY unset. --app installs the desktop
# entry of that built vorrik, as an installed Vorrik has one, so that the portal knows its
# application ID.
set -euo pipefail

size="1280x800"
hand=""
app=""
media_keys=""
no_x11=""
while [ $# -gt 0 ]; do
  case "$1" in
    --hand) hand="$2"; shift 2 ;;
    --app) app="$2"; shift 2 ;;
    --size) size="$2"; shift 2 ;;
    --media-keys) media_keys=1; shift ;;
    --no-x11) no_x11=1; shift ;;
    --) shift; break ;;
    *) break ;;
  esac
done
[ $# -gt 0 ] || { echo "usage: $0 [--hand PATH] [--size WxH] -- command..." >&2; exit 2; }

for tool in dbus-run-session dbus-daemon gnome-shell pipewire gdbus fusermount3 Xwayland xdpyinfo; do
  command -v "$tool" >/dev/null || { echo "$tool is not installed (run scripts/test once)" >&2; exit 1; }
done
media_keys_daemon=/usr/libexec/gsd-media-keys
for tool in /usr/libexec/xdg-desktop-portal /usr/libexec/xdg-desktop-portal-gnome ${media_keys:+"$media_keys_daemon"}; do
  [ -x "$tool" ] || { echo "$tool is not installed (run scripts/test once)" >&2; exit 1; }
done

# Everything below runs once more inside its own session bus.
if [ -z "${VORRIK_GNOME_INNER:-}" ]; then
  export VORRIK_GNOME_INNER=1
  exec dbus-run-session -- "$0" --hand "$hand" --app "$app" --size "$size" ${media_keys:+--media-keys} \
    ${no_x11:+--no-x11} -- "$@"
fi
unset VORRIK_GNOME_INNER

tmp=$(mktemp -d)
chmod 700 "$tmp"
pids=()
# Services the bus started for us, stopped through whoever owns their names at the end.
activated=(org.freedesktop.portal.Desktop org.freedesktop.impl.portal.desktop.gnome
  org.freedesktop.impl.portal.desktop.gtk org.freedesktop.portal.Documents
  org.freedesktop.impl.portal.PermissionStore)
owner_pid() {
  gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
    --method org.freedesktop.DBus.GetConnectionUnixProcessID "$1" 2>/dev/null |
    sed -n 's/^(uint32 \([0-9]*\),)$/\1/p'
}
cleanup() {
  local i name pid
  for name in "${activated[@]}"; do
    pid=$(owner_pid "$name")
    [ -n "$pid" ] && kill "$pid" 2>/dev/null || true
  done
  # Newest first: the portals before the shell, the shell before the buses it uses.
  for ((i = ${#pids[@]} - 1; i >= 0; i--)); do kill "${pids[$i]}" 2>/dev/null || true; done
  for ((i = ${#pids[@]} - 1; i >= 0; i--)); do wait "${pids[$i]}" 2>/dev/null || true; done
  # The document portal, which the bus started for xdg-desktop-portal, mounts a FUSE file
  # system in the runtime directory.
  fusermount3 -u -z "$tmp/run/doc" 2>/dev/null || true
  rm -rf "$tmp" 2>/dev/null || true
}
trap cleanup EXIT INT TERM

fail() {
  echo "with-gnome: $1" >&2
  for log in "$tmp"/*.log; do
    [ -s "$log" ] || continue
    echo "--- $(basename "$log")" >&2
    tail -n 30 "$log" >&2
  done
  exit 1
}

# until SECONDS COMMAND...: retries the command every 50 ms until it succeeds or time runs out.
until_ok() {
  local deadline=$((SECONDS + $1))
  shift
  until "$@" >/dev/null 2>&1; do
    [ $SECONDS -lt $deadline ] || return 1
    sleep 0.05
  done
}

export HOME="$tmp/home"
export XDG_RUNTIME_DIR="$tmp/run"
export XDG_CONFIG_HOME="$HOME/.config" XDG_DATA_HOME="$HOME/.local/share" XDG_CACHE_HOME="$HOME/.cache"
mkdir -p "$HOME" "$XDG_RUNTIME_DIR" "$XDG_CONFIG_HOME"
[ -z "$app" ] || "$(dirname "${BASH_SOURCE[0]}")/install-desktop-entry.sh" "$app" >/dev/null
chmod 700 "$XDG_RUNTIME_DIR"
export XDG_CURRENT_DESKTOP=GNOME XDG_SESSION_TYPE=wayland XDG_SESSION_DESKTOP=gnome
unset DISPLAY WAYLAND_DISPLAY XAUTHORITY
# No accessibility bus, no GVfs daemons: nothing here needs them and they only slow start-up.
export NO_AT_BRIDGE=1 GTK_A11Y=none GIO_USE_VFS=local

# The shell wants a system bus to watch for logind and friends; an empty one does.
sed "s|@SOCKET@|$tmp/system_bus_socket|" "$(dirname "${BASH_SOURCE[0]}")/system-bus.conf" >"$tmp/system.conf"
dbus-daemon --config-file="$tmp/system.conf" --nofork --nopidfile >"$tmp/system-bus.log" 2>&1 &
pids+=($!)
export DBUS_SYSTEM_BUS_ADDRESS="unix:path=$tmp/system_bus_socket"
until_ok 10 test -S "$tmp/system_bus_socket" || fail "the private system bus did not start"

# Screen-cast streams (which absolute pointer motion needs) live in PipeWire.
pipewire >"$tmp/pipewire.log" 2>&1 &
pids+=($!)
until_ok 10 test -S "$XDG_RUNTIME_DIR/pipewire-0" || fail "pipewire did not start"

# The activation environment must match, for services the bus starts on demand.
dbus-update-activation-environment HOME XDG_RUNTIME_DIR XDG_CONFIG_HOME XDG_DATA_HOME \
  XDG_CACHE_HOME XDG_CURRENT_DESKTOP XDG_SESSION_TYPE DBUS_SYSTEM_BUS_ADDRESS NO_AT_BRIDGE \
  GTK_A11Y GIO_USE_VFS 2>/dev/null || true

# The shell refuses to start Xwayland without a socket directory that all can write to: a fresh
# /tmp has none, and a stray server run with a strict umask may leave one without; its usual
# mode puts that right.
if [ -z "$no_x11" ] && [ "$(stat -c %a /tmp/.X11-unix 2>/dev/null)" != 1777 ]; then
  { mkdir -p /tmp/.X11-unix && chmod 1777 /tmp/.X11-unix; } 2>/dev/null ||
    fail "/tmp/.X11-unix is not writable by all (mode $(stat -c %a /tmp/.X11-unix)): Xwayland will not start"
fi

wayland="wayland-vorrik-$$"
gnome-shell --headless --wayland ${no_x11:+--no-x11} --wayland-display "$wayland" \
  --virtual-monitor "$size" >"$tmp/gnome-shell.log" 2>&1 &
shell=$!
pids+=($shell)
until_ok 60 test -S "$XDG_RUNTIME_DIR/$wayland" || fail "gnome-shell did not start"
export WAYLAND_DISPLAY="$wayland"
has_name() {
  gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
    --method org.freedesktop.DBus.NameHasOwner "$1" | grep -q true
}
until_ok 60 has_name org.gnome.Mutter.RemoteDesktop || fail "gnome-shell offers no remote desktop"
dbus-update-activation-environment WAYLAND_DISPLAY 2>/dev/null || true

# The shell starts its Xwayland on a free display with a cookie of its own; without gnome-session
# nobody passes them on, so read them from the server's command line.
xwayland_args() {
  local proc
  for proc in /proc/[0-9]*; do
    [ "$(cat "$proc/comm" 2>/dev/null)" = Xwayland ] || continue
    [ "$(cut -d' ' -f4 "$proc/stat" 2>/dev/null)" = "$shell" ] || continue
    tr '\0' '\n' <"$proc/cmdline"
    return 0
  done
  return 1
}
if [ -z "$no_x11" ]; then
  until_ok 30 xwayland_args || fail "gnome-shell started no Xwayland"
  x11_args=$(xwayland_args)
  DISPLAY=$(grep -m1 '^:' <<<"$x11_args")
  XAUTHORITY=$(grep -A1 -x -- -auth <<<"$x11_args" | tail -n 1)
  export DISPLAY XAUTHORITY
  until_ok 30 xdpyinfo || fail "Xwayland on $DISPLAY does not answer"
fi

# The shell starts in the overview; Escape leaves it, once the shell shows it and takes keys,
# so again until it is gone.
overview_active() {
  gdbus call --session --dest org.gnome.Shell --object-path /org/gnome/Shell \
    --method org.freedesktop.DBus.Properties.Get org.gnome.Shell OverviewActive | grep -q true
}
overview_gone() { ! overview_active; }
if [ -n "$hand" ]; then
  until_ok 30 has_name org.gnome.Shell || fail "gnome-shell never owned its name"
  until_ok 30 overview_active || true
  left=""
  for _ in 1 2 3 4 5 6 7 8 9 10; do
    printf 'key Escape\n' | "$hand" >>"$tmp/hand.log" 2>&1 || fail "the hand could not press Escape"
    if until_ok 5 overview_gone; then
      left=1
      break
    fi
  done
  [ -n "$left" ] || fail "could not leave the overview"
fi

if [ -n "$media_keys" ]; then
  "$media_keys_daemon" >"$tmp/media-keys.log" 2>&1 &
  pids+=($!)
  until_ok 30 has_name org.gnome.SettingsDaemon.MediaKeys || fail "gsd-media-keys did not start"
fi

# The portal's GNOME half takes its Wayland connection from the shell, which keeps one such
# client: a second copy (newer shells' Xwayland wakes one through the bus already) would take
# the connection from the first. So only the bus starts it, once the shell is up and the bus's
# activation environment names the display, and it counts as started when it offers remote
# desktops and the same process has owned its name for 2 s.
start_service() {
  gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
    --method org.freedesktop.DBus.StartServiceByName "$1" 0
}
name_owner() {
  gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
    --method org.freedesktop.DBus.GetNameOwner "$1" 2>/dev/null
}
gnome_half=org.freedesktop.impl.portal.desktop.gnome
settled_owner=""
settled_since=0
gnome_half_settled() {
  gdbus introspect --session --dest "$gnome_half" --object-path /org/freedesktop/portal/desktop \
    2>/dev/null | grep -q 'interface org.freedesktop.impl.portal.RemoteDesktop ' || return 1
  local owner
  owner=$(name_owner "$gnome_half") || return 1
  if [ "$owner" != "$settled_owner" ]; then
    settled_owner=$owner
    settled_since=$SECONDS
  fi
  [ $((SECONDS - settled_since)) -ge 2 ]
}
until_ok 30 start_service "$gnome_half" || fail "the bus did not start xdg-desktop-portal-gnome"
until_ok 60 gnome_half_settled || fail "xdg-desktop-portal-gnome offers no remote desktop"
until_ok 30 start_service org.freedesktop.portal.Desktop || fail "the bus did not start xdg-desktop-portal"
remote_desktop_version() {
  gdbus call --session --dest org.freedesktop.portal.Desktop \
    --object-path /org/freedesktop/portal/desktop --method org.freedesktop.DBus.Properties.Get \
    org.freedesktop.portal.RemoteDesktop version | grep -q uint32
}
until_ok 30 remote_desktop_version || fail "the RemoteDesktop portal does not answer"

set +e
"$@"
rc=$?
set -e
exit $rc
