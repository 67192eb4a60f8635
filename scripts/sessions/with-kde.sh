#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a command on a private KDE Plasma compositor (kwin_wayland with Xwayland, as a Plasma
# session has it) with its desktop portal, then stops everything.
#   with-kde.sh [--app VORRIK] [--size WxH] -- command args...
# kwin runs nested in a private Xvfb, which is the machine under it: xdotool there is the user's
# hand, and a screenshot of its root window shows the desktop. The command runs inside a private
# D-Bus session with a private HOME, XDG_RUNTIME_DIR and system bus, and finds WAYLAND_DISPLAY,
# XDG_CURRENT_DESKTOP=KDE, the running PipeWire and the RemoteDesktop portal answering. DISPLAY
# names kwin's Xwayland; VORRIK_HOST_DISPLAY names the Xvfb. --app installs the desktop entry of
# that built vorrik, as an installed Vorrik has one, so that the portal knows its application ID.
set -euo pipefail

size="1280x800"
app=""
while [ $# -gt 0 ]; do
  case "$1" in
    --size) size="$2"; shift 2 ;;
    --app) app="$2"; shift 2 ;;
    --) shift; break ;;
    *) break ;;
  esac
done
[ $# -gt 0 ] || { echo "usage: $0 [--size WxH] -- command..." >&2; exit 2; }
[[ "$size" =~ ^([0-9]+)x([0-9]+)$ ]] || { echo "with-kde: --size takes WxH, not '$size'" >&2; exit 2; }
width="${BASH_REMATCH[1]}" height="${BASH_REMATCH[2]}"

for tool in dbus-run-session dbus-daemon kwin_wayland Xvfb Xwayland pipewire gdbus fusermount3 \
  xdpyinfo kbuildsycoca6; do
  command -v "$tool" >/dev/null || { echo "$tool is not installed (run scripts/test once)" >&2; exit 1; }
done
portal=/usr/libexec/xdg-desktop-portal
# KDE keeps its helpers in the multiarch libexec.
portal_kde=/usr/libexec/xdg-desktop-portal-kde
for candidate in /usr/lib/*/libexec/xdg-desktop-portal-kde; do
  [ -x "$candidate" ] && portal_kde="$candidate"
done
for tool in "$portal" "$portal_kde"; do
  [ -x "$tool" ] || { echo "$tool is not installed (run scripts/test once)" >&2; exit 1; }
done

# Everything below runs once more inside its own session bus.
if [ -z "${VORRIK_KDE_INNER:-}" ]; then
  export VORRIK_KDE_INNER=1
  exec dbus-run-session -- "$0" --size "$size" --app "$app" -- "$@"
fi
unset VORRIK_KDE_INNER

tmp=$(mktemp -d)
chmod 700 "$tmp"
pids=()
# The private bus, started by dbus-run-session beside this script.
bus=""
for proc in /proc/[0-9]*; do
  if [ "$(cat "$proc/comm" 2>/dev/null)" = dbus-daemon ] &&
    [ "$(cut -d' ' -f4 "$proc/stat" 2>/dev/null)" = "$PPID" ]; then
    bus="${proc#/proc/}"
  fi
done
# What the private bus started on demand: the portals, and Plasma's stand-in for a notification
# server, which waits a minute for one and would hold the command's output open that long.
bus_services() {
  [ -n "$bus" ] || return 0
  # The bus starts each through a helper process of its own: every descendant, then.
  local proc parent
  local -A children=()
  for proc in /proc/[0-9]*; do
    parent=$(cut -d' ' -f4 "$proc/stat" 2>/dev/null) || continue
    children[$parent]+=" ${proc#/proc/}"
  done
  local queue=("$bus") pid
  while [ ${#queue[@]} -gt 0 ]; do
    pid="${queue[0]}"
    queue=("${queue[@]:1}")
    for proc in ${children[$pid]:-}; do
      echo "$proc"
      queue+=("$proc")
    done
  done
}
cleanup() {
  local i
  for i in $(bus_services); do pids+=("$i"); done
  # Newest first: the portals before the compositor, the compositor before its X server.
  for ((i = ${#pids[@]} - 1; i >= 0; i--)); do kill "${pids[$i]}" 2>/dev/null || true; done
  for ((i = ${#pids[@]} - 1; i >= 0; i--)); do wait "${pids[$i]}" 2>/dev/null || true; done
  # The document portal, which the bus started for xdg-desktop-portal, mounts a FUSE file
  # system in the runtime directory.
  fusermount3 -u -z "$tmp/run/doc" 2>/dev/null || true
  rm -rf "$tmp" 2>/dev/null || true
}
trap cleanup EXIT INT TERM

fail() {
  echo "with-kde: $1" >&2
  for log in "$tmp"/*.log; do
    [ -s "$log" ] || continue
    echo "--- $(basename "$log")" >&2
    tail -n 30 "$log" >&2
  done
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

export HOME="$tmp/home"
export XDG_RUNTIME_DIR="$tmp/run"
export XDG_CONFIG_HOME="$HOME/.config" XDG_DATA_HOME="$HOME/.local/share" XDG_CACHE_HOME="$HOME/.cache"
mkdir -p "$HOME" "$XDG_RUNTIME_DIR" "$XDG_CONFIG_HOME/menus" "$XDG_DATA_HOME" "$XDG_CACHE_HOME"
[ -z "$app" ] || "$(dirname "${BASH_SOURCE[0]}")/install-desktop-entry.sh" "$app" >/dev/null
chmod 700 "$XDG_RUNTIME_DIR"
export XDG_CURRENT_DESKTOP=KDE XDG_SESSION_TYPE=wayland XDG_SESSION_DESKTOP=KDE KDE_FULL_SESSION=true
export KDE_SESSION_VERSION=6
unset DISPLAY WAYLAND_DISPLAY XAUTHORITY
export NO_AT_BRIDGE=1 QT_ACCESSIBILITY=0

# kwin wants a system bus to watch for logind and friends; an empty one does.
sed "s|@SOCKET@|$tmp/system_bus_socket|" "$(dirname "${BASH_SOURCE[0]}")/system-bus.conf" >"$tmp/system.conf"
dbus-daemon --config-file="$tmp/system.conf" --nofork --nopidfile >"$tmp/system-bus.log" 2>&1 &
pids+=($!)
export DBUS_SYSTEM_BUS_ADDRESS="unix:path=$tmp/system_bus_socket"
until_ok 10 test -S "$tmp/system_bus_socket" || fail "the private system bus did not start"

# Screen-cast streams (which the portal's remote desktop is made of) live in PipeWire.
pipewire >"$tmp/pipewire.log" 2>&1 &
pids+=($!)
until_ok 10 test -S "$XDG_RUNTIME_DIR/pipewire-0" || fail "pipewire did not start"

# kwin grants its privileged protocols (the portal's screen cast among them) to programs whose
# desktop file asks for them, found through the service cache; the cache sees desktop files
# through an application menu, which a bare system has not.
cat >"$XDG_CONFIG_HOME/menus/applications.menu" <<'EOF'
<!DOCTYPE Menu PUBLIC "-//freedesktop//DTD Menu 1.0//EN"
 "http://www.freedesktop.org/standards/menu-spec/1.0/menu.dtd">
<Menu>
  <Name>Applications</Name>
  <DefaultAppDirs/>
  <DefaultDirectoryDirs/>
  <Include><All/></Include>
</Menu>
EOF
kbuildsycoca6 --noincremental >"$tmp/sycoca.log" 2>&1 || fail "kbuildsycoca6 failed"

# The machine under the desktop: kwin draws into one window here and takes its input from it.
mkfifo "$tmp/displayfd"
Xvfb -displayfd 3 -screen 0 "${width}x${height}x24" -nolisten tcp -noreset +extension XTEST \
  3>"$tmp/displayfd" >"$tmp/xvfb.log" 2>&1 &
pids+=($!)
read -r -t 30 host <"$tmp/displayfd" || fail "Xvfb did not start"
export VORRIK_HOST_DISPLAY=":$host"

# kwin wakes the portal as soon as it starts, and the portal finds the compositor through the
# activation environment: WAYLAND_DISPLAY must be there first.
wayland="wayland-vorrik-$$"
dbus-update-activation-environment HOME XDG_RUNTIME_DIR XDG_CONFIG_HOME XDG_DATA_HOME \
  XDG_CACHE_HOME XDG_CURRENT_DESKTOP XDG_SESSION_TYPE XDG_SESSION_DESKTOP KDE_FULL_SESSION \
  KDE_SESSION_VERSION DBUS_SYSTEM_BUS_ADDRESS NO_AT_BRIDGE QT_ACCESSIBILITY \
  WAYLAND_DISPLAY="$wayland" >/dev/null 2>&1 || fail "could not set the activation environment"

# kwin starts its Xwayland on a free display, with a cookie of its own, when an X client first
# connects, and tells only the programs it starts itself: one of those passes them on.
printf '#!/bin/sh\nprintf "%%s\\n%%s\\n" "$DISPLAY" "${XAUTHORITY:-}" >"%s.tmp" && mv "%s.tmp" "%s"\n' \
  "$tmp/x11" "$tmp/x11" "$tmp/x11" >"$tmp/tell-x11.sh"
chmod 755 "$tmp/tell-x11.sh"
DISPLAY="$VORRIK_HOST_DISPLAY" kwin_wayland --x11-display "$VORRIK_HOST_DISPLAY" --no-lockscreen \
  --xwayland --width "$width" --height "$height" --socket "$wayland" "$tmp/tell-x11.sh" \
  >"$tmp/kwin.log" 2>&1 &
pids+=($!)
until_ok 60 test -S "$XDG_RUNTIME_DIR/$wayland" || fail "kwin_wayland did not start"
export WAYLAND_DISPLAY="$wayland"
has_name() {
  gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
    --method org.freedesktop.DBus.NameHasOwner "$1" | grep -q true
}
until_ok 60 has_name org.kde.KWin || fail "kwin_wayland never owned its name"
until_ok 60 test -s "$tmp/x11" || fail "kwin_wayland started no Xwayland"
DISPLAY=$(sed -n 1p "$tmp/x11")
XAUTHORITY=$(sed -n 2p "$tmp/x11")
export DISPLAY
if [ -n "$XAUTHORITY" ]; then export XAUTHORITY; else unset XAUTHORITY; fi
until_ok 60 xdpyinfo || fail "Xwayland on $DISPLAY does not answer"

# kwin may have woken the portals already; a call starts them otherwise.
remote_desktop_version() {
  gdbus call --session --dest org.freedesktop.portal.Desktop \
    --object-path /org/freedesktop/portal/desktop --method org.freedesktop.DBus.Properties.Get \
    org.freedesktop.portal.RemoteDesktop version | grep -q uint32
}
until_ok 60 remote_desktop_version || fail "the RemoteDesktop portal does not answer"

set +e
"$@"
rc=$?
set -e
exit $rc
