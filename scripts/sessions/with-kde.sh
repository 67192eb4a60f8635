#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a command on a private KDE Plasma compositor (kwin_wayland with Xwayland, as a Plasma
# session has it) with its desktop portal, then stops everything.
#   with-kde.sh [--app VORRIK] [--size WxH] [--second WxH[@SCALE]] -- command args...
# kwin runs nested in a private Xvfb, which is the machine under it: xdotool there is the user's
# hand, and a screenshot of its root window shows the desktop. The command runs inside a private
# D-Bus session with a private HOME, XDG_RUNTIME_DIR and system bus, and finds WAYLAND_DISPLAY,
# XDG_CURRENT_DESKTOP=KDE, the running PipeWire and the RemoteDesktop portal answering. DISPLAY
# names kwin's Xwayland; VORRIK_HOST_DISPLAY names the Xvfb. --app installs the desktop entry of
# that built vorrik, as an installed Vorrik has one, so that the portal knows its application ID.
# --second adds an output right of the first, at that scale (default 1); nested kwin makes it as
# many pixels as the first, so its logical size is theirs divided by the scale.
set -euo pipefail
# shellcheck source=desktop-session.sh
. "$(dirname "${BASH_SOURCE[0]}")/desktop-session.sh"

size="1280x800"
second=""
app=""
while [ $# -gt 0 ]; do
  case "$1" in
    --size) size="$2"; shift 2 ;;
    --second) second="$2"; shift 2 ;;
    --app) app="$2"; shift 2 ;;
    --) shift; break ;;
    *) break ;;
  esac
done
[ $# -gt 0 ] || { echo "usage: $0 [--size WxH] [--second WxH[@SCALE]] -- command..." >&2; exit 2; }
[[ "$size" =~ ^([0-9]+)x([0-9]+)$ ]] || { echo "with-kde: --size takes WxH, not '$size'" >&2; exit 2; }
width="${BASH_REMATCH[1]}" height="${BASH_REMATCH[2]}"

portal=/usr/libexec/xdg-desktop-portal
# KDE keeps its helpers in the multiarch libexec.
portal_kde=/usr/libexec/xdg-desktop-portal-kde
for candidate in /usr/lib/*/libexec/xdg-desktop-portal-kde; do
  [ -x "$candidate" ] && portal_kde="$candidate"
done
need_tools dbus-run-session dbus-daemon kwin_wayland Xvfb Xwayland pipewire gdbus fusermount3 \
  xdpyinfo kbuildsycoca6 "$portal" "$portal_kde" ${second:+xdotool xprop}

# Everything below runs once more inside its own session bus.
if [ -z "${VORRIK_KDE_INNER:-}" ]; then
  export VORRIK_KDE_INNER=1
  exec dbus-run-session -- "$0" --size "$size" ${second:+--second "$second"} --app "$app" -- "$@"
fi
unset VORRIK_KDE_INNER

session_begin with-kde
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
stop_bus_services() {
  local services i
  mapfile -t services < <(bus_services)
  # Deepest first, as the rest of the cleanup goes.
  for ((i = ${#services[@]} - 1; i >= 0; i--)); do kill "${services[$i]}" 2>/dev/null || true; done
}

session_home "$app"
mkdir -p "$XDG_CONFIG_HOME/menus" "$XDG_DATA_HOME" "$XDG_CACHE_HOME"
export XDG_CURRENT_DESKTOP=KDE XDG_SESSION_TYPE=wayland XDG_SESSION_DESKTOP=KDE KDE_FULL_SESSION=true
export KDE_SESSION_VERSION=6
unset DISPLAY WAYLAND_DISPLAY XAUTHORITY
export NO_AT_BRIDGE=1 QT_ACCESSIBILITY=0

start_system_bus
# The portal's remote desktop is made of screen-cast streams.
start_pipewire

# kwin grants its privileged protocols (the portal's screen cast among them) to programs whose
# desktop file asks for them, found through the service cache; the cache sees desktop files
# through an application menu, which a bare system has not.
cat >"$XDG_CONFIG_HOME/menus/applications.menu" <<'EOF'
<Menu>
  <Name>Applications</Name>
  <DefaultAppDirs/>
  <DefaultDirectoryDirs/>
  <Include><All/></Include>
</Menu>
EOF
kbuildsycoca6 --noincremental >"$tmp/sycoca.log" 2>&1 || fail "kbuildsycoca6 failed"

# A second output, right of the first at its own scale, through the configuration kwin keeps
# for its outputs by connector name. Nested kwin gives every output the window's size.
host_width="$width"
if [ -n "$second" ]; then
  [[ "$second" =~ ^([0-9]+x[0-9]+)(@([0-9.]+))?$ ]] || fail "--second takes WxH[@SCALE], not '$second'"
  [ "${BASH_REMATCH[1]}" = "$size" ] || fail "nested kwin's outputs all have the size $size"
  scale="${BASH_REMATCH[3]:-1}"
  host_width=$((2 * width))
  output() {
    printf '{"connectorName": "X11-%s", "mode": {"width": %s, "height": %s, "refreshRate": 60000}, "scale": %s}' \
      "$1" "$width" "$height" "$2"
  }
  placed() {
    printf '{"enabled": true, "outputIndex": %s, "position": {"x": %s, "y": 0}, "priority": %s}' \
      "$1" "$2" "$1"
  }
  cat >"$XDG_CONFIG_HOME/kwinoutputconfig.json" <<EOF
[{"name": "outputs", "data": [$(output 0 1), $(output 1 "$scale")]},
 {"name": "setups", "data": [{"lidClosed": false, "outputs": [$(placed 0 0), $(placed 1 "$width")]}]}]
EOF
fi

# The machine under the desktop: kwin draws into one window here and takes its input from it.
mkfifo "$tmp/displayfd"
Xvfb -displayfd 3 -screen 0 "${host_width}x${height}x24" -nolisten tcp -noreset +extension XTEST \
  3>"$tmp/displayfd" >"$tmp/xvfb.log" 2>&1 &
pids+=($!)
read -r -t 30 host <"$tmp/displayfd" || fail "Xvfb did not start"
export VORRIK_HOST_DISPLAY=":$host"

# kwin wakes the portal as soon as it starts, and the portal finds the compositor through the
# activation environment: WAYLAND_DISPLAY must be there first.
wayland="wayland-vorrik-$$"
update_activation_environment XDG_SESSION_DESKTOP KDE_FULL_SESSION KDE_SESSION_VERSION \
  QT_ACCESSIBILITY WAYLAND_DISPLAY="$wayland" || fail "could not set the activation environment"

# kwin starts its Xwayland on a free display, with a cookie of its own, when an X client first
# connects, and tells only the programs it starts itself: one of those passes them on.
printf '#!/bin/sh\nprintf "%%s\\n%%s\\n" "$DISPLAY" "${XAUTHORITY:-}" >"%s.tmp" && mv "%s.tmp" "%s"\n' \
  "$tmp/x11" "$tmp/x11" "$tmp/x11" >"$tmp/tell-x11.sh"
chmod 755 "$tmp/tell-x11.sh"
DISPLAY="$VORRIK_HOST_DISPLAY" kwin_wayland --x11-display "$VORRIK_HOST_DISPLAY" --no-lockscreen \
  --xwayland --width "$width" --height "$height" ${second:+--output-count 2} --socket "$wayland" "$tmp/tell-x11.sh" \
  >"$tmp/kwin.log" 2>&1 &
pids+=($!)
until_ok 60 test -S "$XDG_RUNTIME_DIR/$wayland" || fail "kwin_wayland did not start"
export WAYLAND_DISPLAY="$wayland"
until_ok 60 has_name org.kde.KWin || fail "kwin_wayland never owned its name"
# The outputs' windows open on top of each other: the second goes right of the first, where
# its pixels are in the layout, so that the hand's point is the desktop's.
if [ -n "$second" ]; then
  # kwin names them only through _NET_WM_NAME, which xdotool's search does not read.
  output_windows() {
    local window
    for window in $(DISPLAY="$VORRIK_HOST_DISPLAY" xdotool search --maxdepth 1 --name '' | sort -n); do
      DISPLAY="$VORRIK_HOST_DISPLAY" xprop -id "$window" _NET_WM_NAME |
        grep -q '"KDE Wayland Compositor' && echo "$window"
    done
    return 0
  }
  two_outputs() { [ "$(output_windows | wc -l)" -eq 2 ]; }
  until_ok 30 two_outputs || fail "kwin_wayland opened no second output"
  DISPLAY="$VORRIK_HOST_DISPLAY" xdotool windowmove "$(output_windows | tail -n 1)" "$width" 0 ||
    fail "could not place kwin's second output"
fi
until_ok 60 test -s "$tmp/x11" || fail "kwin_wayland started no Xwayland"
DISPLAY=$(sed -n 1p "$tmp/x11")
XAUTHORITY=$(sed -n 2p "$tmp/x11")
export DISPLAY
if [ -n "$XAUTHORITY" ]; then export XAUTHORITY; else unset XAUTHORITY; fi
until_ok 60 xdpyinfo || fail "Xwayland on $DISPLAY does not answer"

# kwin may have woken the portals already; a call starts them otherwise.
until_ok 60 remote_desktop_version || fail "the RemoteDesktop portal does not answer"

run_command "$@"
