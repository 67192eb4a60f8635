#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a command on a private headless GNOME Shell (Wayland, with Xwayland as a desktop session
# has it) with its desktop portal, then stops everything.
#   with-gnome.sh [--hand PATH] [--app VORRIK] [--size WxH] [--second WxH[@SCALE]] [--media-keys]
#                 [--no-x11] -- command...
# The command runs inside a private D-Bus session with a private HOME, XDG_RUNTIME_DIR and
# system bus, and finds WAYLAND_DISPLAY, XDG_CURRENT_DESKTOP=GNOME, the running PipeWire and
# the RemoteDesktop portal answering. --hand names the gnome_hand test program, used to leave
# the overview the shell starts in; without it the overview stays open. --media-keys also runs
# gsd-media-keys, which runs the custom keyboard shortcuts. DISPLAY and XAUTHORITY name the
# shell's Xwayland; --no-x11 starts none and leaves DISPLAY unset. --app installs the desktop
# entry of that built vorrik, as an installed Vorrik has one, so that the portal knows its
# application ID. --second adds a monitor of that many pixels right of the first, at that scale
# (default 1); the first stays primary, where the hand and the desktop's dialogs are.
set -euo pipefail
# shellcheck source=desktop-session.sh
. "$(dirname "${BASH_SOURCE[0]}")/desktop-session.sh"

size="1280x800"
second=""
hand=""
app=""
media_keys=""
no_x11=""
while [ $# -gt 0 ]; do
  case "$1" in
    --hand) hand="$2"; shift 2 ;;
    --app) app="$2"; shift 2 ;;
    --size) size="$2"; shift 2 ;;
    --second) second="$2"; shift 2 ;;
    --media-keys) media_keys=1; shift ;;
    --no-x11) no_x11=1; shift ;;
    --) shift; break ;;
    *) break ;;
  esac
done
[ $# -gt 0 ] || { echo "usage: $0 [--hand PATH] [--size WxH] [--second WxH[@SCALE]] -- command..." >&2; exit 2; }

media_keys_daemon=/usr/libexec/gsd-media-keys
need_tools dbus-run-session dbus-daemon gnome-shell pipewire gdbus fusermount3 Xwayland xdpyinfo \
  /usr/libexec/xdg-desktop-portal /usr/libexec/xdg-desktop-portal-gnome \
  ${media_keys:+"$media_keys_daemon"}

# Everything below runs once more inside its own session bus.
if [ -z "${VORRIK_GNOME_INNER:-}" ]; then
  export VORRIK_GNOME_INNER=1
  exec dbus-run-session -- "$0" --hand "$hand" --app "$app" --size "$size" \
    ${second:+--second "$second"} ${media_keys:+--media-keys} \
    ${no_x11:+--no-x11} -- "$@"
fi
unset VORRIK_GNOME_INNER

session_begin with-gnome
# Services the bus started for us, stopped through whoever owns their names at the end.
activated=(org.freedesktop.portal.Desktop org.freedesktop.impl.portal.desktop.gnome
  org.freedesktop.impl.portal.desktop.gtk org.freedesktop.portal.Documents
  org.freedesktop.impl.portal.PermissionStore)
stop_bus_services() {
  local name pid
  for name in "${activated[@]}"; do
    # A name nobody owns is no error: under set -e it would end the cleanup here.
    pid=$(bus_call GetConnectionUnixProcessID "$name" 2>/dev/null |
      sed -n 's/^(uint32 \([0-9]*\),)$/\1/p') || continue
    kill "$pid" 2>/dev/null || true
  done
}

session_home "$app"
export XDG_CURRENT_DESKTOP=GNOME XDG_SESSION_TYPE=wayland XDG_SESSION_DESKTOP=gnome
unset DISPLAY WAYLAND_DISPLAY XAUTHORITY
# No accessibility bus, no GVfs daemons: nothing here needs them and they only slow start-up.
export NO_AT_BRIDGE=1 GTK_A11Y=none GIO_USE_VFS=local

start_system_bus
# Absolute pointer motion needs a screen-cast stream.
start_pipewire
update_activation_environment GTK_A11Y GIO_USE_VFS || true

# The shell refuses to start Xwayland without a socket directory that all can write to: a fresh
# /tmp has none, and a stray server run with a strict umask may leave one without; its usual
# mode puts that right.
if [ -z "$no_x11" ] && [ "$(stat -c %a /tmp/.X11-unix 2>/dev/null)" != 1777 ]; then
  { mkdir -p /tmp/.X11-unix && chmod 1777 /tmp/.X11-unix; } 2>/dev/null ||
    fail "/tmp/.X11-unix is not writable by all (mode $(stat -c %a /tmp/.X11-unix)): Xwayland will not start"
fi

wayland="wayland-vorrik-$$"
gnome-shell --headless --wayland ${no_x11:+--no-x11} --wayland-display "$wayland" \
  --virtual-monitor "$size" ${second:+--virtual-monitor "${second%@*}"} >"$tmp/gnome-shell.log" 2>&1 &
shell=$!
pids+=("$shell")

# GNOME Shell 43 runs JavaScript in the child of each spawn before it execs (to restore the
# file limit); a fork taken while another of the shell's threads held GLib's type lock hangs
# there for good, and the shell waits for that child with its main loop stopped: no dialog, no
# input, no answer (seen under load, mostly when a second consent dialog opened). A child still
# running the shell's own image after 10 s is such a fork; killing it fails that one spawn and
# lets the shell go on.
unstick_spawns() {
  local child exe
  exe=$(readlink "/proc/$shell/exe") || return 0
  while kill -0 "$shell" 2>/dev/null; do
    for child in $(pgrep -P "$shell"); do
      [ "$(readlink "/proc/$child/exe" 2>/dev/null)" = "$exe" ] || continue
      [ "$(ps -o etimes= -p "$child" 2>/dev/null | tr -d ' ')" -ge 10 ] 2>/dev/null || continue
      kill -9 "$child" 2>/dev/null &&
        echo "with-gnome: killed gnome-shell's spawn child $child, stuck before exec" >&2
    done
    sleep 2
  done
}
unstick_spawns 2>>"$tmp/gnome-shell.log" &
pids+=("$!")
until_ok 60 test -S "$XDG_RUNTIME_DIR/$wayland" || fail "gnome-shell did not start"
export WAYLAND_DISPLAY="$wayland"
until_ok 60 has_name org.gnome.Mutter.RemoteDesktop || fail "gnome-shell offers no remote desktop"
dbus-update-activation-environment WAYLAND_DISPLAY 2>/dev/null || true

# The shell makes the larger monitor primary and puts it left: the first goes back there, the
# second right of it at its scale, in a layout of logical pixels.
display_config() {
  gdbus call --session --dest org.gnome.Mutter.DisplayConfig \
    --object-path /org/gnome/Mutter/DisplayConfig --method "org.gnome.Mutter.DisplayConfig.$1" "${@:2}"
}
second_placed() {
  display_config GetCurrentState |
    grep -Eq "\(${size%x*}, 0, ${scale}, (uint32 )?0, false, \[\('Meta-1'"
}
if [ -n "$second" ]; then
  [[ "$second" =~ ^[0-9]+x[0-9]+(@([0-9.]+))?$ ]] || fail "--second takes WxH[@SCALE], not '$second'"
  scale=$(printf '%.1f' "${BASH_REMATCH[2]:-1}")
  until_ok 30 has_name org.gnome.Mutter.DisplayConfig || fail "gnome-shell offers no display configuration"
  state=$(display_config GetCurrentState)
  serial=$(sed -n 's/^(uint32 \([0-9]*\),.*/\1/p' <<<"$state")
  mode() { sed -n "s/.*(('Meta-$1'[^)]*), \[('\([^']*\)'.*/\1/p" <<<"$state"; }
  # Method 1: for this session only, no question asked.
  display_config ApplyMonitorsConfig "$serial" 1 \
    "[(0, 0, 1.0, 0, true, [('Meta-0', '$(mode 0)', @a{sv} {})]),
      (${size%x*}, 0, $scale, 0, false, [('Meta-1', '$(mode 1)', @a{sv} {})])]" '{}' \
    >"$tmp/display-config.log" 2>&1 || fail "the shell refused the second monitor at scale $scale"
  until_ok 10 second_placed || fail "the second monitor is not right of the first at scale $scale"
fi

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
start_service() { bus_call StartServiceByName "$1" 0; }
gnome_half=org.freedesktop.impl.portal.desktop.gnome
settled_owner=""
settled_since=0
gnome_half_settled() {
  gdbus introspect --session --dest "$gnome_half" --object-path /org/freedesktop/portal/desktop \
    2>/dev/null | grep -q 'interface org.freedesktop.impl.portal.RemoteDesktop ' || return 1
  local owner
  owner=$(bus_call GetNameOwner "$gnome_half" 2>/dev/null) || return 1
  if [ "$owner" != "$settled_owner" ]; then
    settled_owner=$owner
    settled_since=$SECONDS
  fi
  [ $((SECONDS - settled_since)) -ge 2 ]
}
until_ok 30 start_service "$gnome_half" || fail "the bus did not start xdg-desktop-portal-gnome"
until_ok 60 gnome_half_settled || fail "xdg-desktop-portal-gnome offers no remote desktop"
until_ok 30 start_service org.freedesktop.portal.Desktop || fail "the bus did not start xdg-desktop-portal"
until_ok 30 remote_desktop_version || fail "the RemoteDesktop portal does not answer"

run_command "$@"
