#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Start-up time: from exec of the built application to its panel window being mapped, on a
# private Xvfb, several launches; prints every figure, the median and the maximum.
#   bench/startup.sh [path/to/vorrik] [runs]      (defaults: build/default/src/app/vorrik, 15)
# The map is seen by an X client listening for MapNotify on the root window (xev), so the
# figure includes nothing of a polling interval.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
app="$(realpath "${1:-$root/build/default/src/app/vorrik}")"
runs="${2:-15}"
[ -x "$app" ] || { echo "no application at $app: build it first" >&2; exit 1; }

if [ -z "${VORRIK_STARTUP_INNER:-}" ]; then
  VORRIK_STARTUP_INNER=1 exec "$root/scripts/sessions/with-xvfb.sh" -- "$0" "$app" "$runs"
fi

scratch=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$scratch"' EXIT
export TMPDIR="$scratch/tmp" XDG_CONFIG_HOME="$scratch/config" XDG_RUNTIME_DIR="$scratch/run"
mkdir -p "$TMPDIR" "$XDG_CONFIG_HOME" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
export QT_QPA_PLATFORM=xcb

now_us() { local t=${EPOCHREALTIME/./}; echo "$t"; }

figures=()
for i in $(seq 1 "$runs"); do
  coproc XEV { stdbuf -oL xev -root -event substructure 2>/dev/null; }
  # Give xev time to select its events. Without a tray host the panel is the only window
  # Vorrik maps, so the first MapNotify is the panel's.
  sleep 0.3
  start=$(now_us)
  "$app" >/dev/null 2>&1 &
  pid=$!
  while IFS= read -r -t 10 line <&"${XEV[0]}"; do
    [[ "$line" == MapNotify* ]] && break
  done
  end=$(now_us)
  kill "$pid" 2>/dev/null || true
  wait "$pid" 2>/dev/null || true
  kill "$XEV_PID" 2>/dev/null || true
  wait "$XEV_PID" 2>/dev/null || true
  figures+=("$(( (end - start) / 1000 )).$(( (end - start) % 1000 / 100 ))")
  printf 'run %2d: %s ms\n' "$i" "${figures[-1]}"
done

sorted=($(printf '%s\n' "${figures[@]}" | sort -n))
count=${#sorted[@]}
if (( count % 2 )); then
  median=${sorted[count / 2]}
else
  median=$(awk -v a="${sorted[count / 2 - 1]}" -v b="${sorted[count / 2]}" 'BEGIN{printf "%.1f", (a+b)/2}')
fi
echo "start-up to mapped panel over $count launches: median $median ms, max ${sorted[-1]} ms"
