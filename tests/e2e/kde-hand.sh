#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The user's hand on the KDE Plasma compositor of with-kde.sh: xdotool on the X server kwin runs
# nested in (VORRIK_HOST_DISPLAY), whose pixels are the desktop's output's. Speaks gnome_hand's
# protocol: one command a line on stdin, "ok" (or "error: why") on stdout once the X server has
# taken it:
#   key NAME, keydown NAME, keyup NAME   (Escape, Return, F6, ... as X names keys)
#   move X Y; press|release|click left|right; sleep MS
#   consent accept|refuse   answer the desktop's remote-control dialog as a user would
set -uo pipefail

export DISPLAY="${VORRIK_HOST_DISPLAY:?the X server under kwin (with-kde.sh sets it)}"
command -v xdotool >/dev/null || { echo "kde-hand: xdotool is not installed" >&2; exit 1; }

button() {
  case "$1" in
    left) echo 1 ;;
    right) echo 3 ;;
    *) return 1 ;;
  esac
}

# One command; prints why it failed, if it did.
run() {
  local verb="${1:-}"
  case "$verb:$#" in
    :0) ;;
    key:2) xdotool key --clearmodifiers "$2" 2>&1 ;;
    keydown:2) xdotool keydown "$2" 2>&1 ;;
    keyup:2) xdotool keyup "$2" 2>&1 ;;
    move:3)
      [[ "$2$3" =~ ^[0-9]+$ ]] || { echo "bad point"; return 1; }
      xdotool mousemove "$2" "$3" 2>&1
      ;;
    press:2 | release:2 | click:2)
      local b
      b=$(button "$2") || { echo "unknown button"; return 1; }
      case "$verb" in
        press) xdotool mousedown "$b" 2>&1 ;;
        release) xdotool mouseup "$b" 2>&1 ;;
        click) xdotool mousedown "$b" sleep 0.02 mouseup "$b" 2>&1 ;;
      esac
      ;;
    sleep:2)
      [[ "$2" =~ ^[0-9]+$ ]] || { echo "bad duration"; return 1; }
      sleep "$(printf '%d.%03d' $(($2 / 1000)) $(($2 % 1000)))"
      ;;
    # Plasma's dialog opens with its Share button focused and closes on Escape.
    consent:2)
      case "$2" in
        # As a user, who reads the dialog first: a Return typed the moment the dialog takes the
        # keyboard, before its buttons are there, is lost.
        accept) xdotool sleep 0.5 key Return 2>&1 ;;
        refuse) xdotool key Escape 2>&1 ;;
        *) echo "consent accept or consent refuse"; return 1 ;;
      esac
      ;;
    *) echo "unknown command"; return 1 ;;
  esac
}

status=0
while read -r -a words; do
  if why=$(run "${words[@]}"); then
    echo ok
  else
    echo "error: ${why:-failed}" | head -n 1
    status=1
  fi
done
exit $status
