#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs Vorrik's desktop entry into a private data directory with Exec set to a built binary,
# so that the desktop portal can give that binary its application ID (org.vorrik.Vorrik), as it
# does for an installed Vorrik.   install-desktop-entry.sh BINARY [DATA_HOME]
# DATA_HOME defaults to $XDG_DATA_HOME; the desktop (its portal) must see the same directory.
set -euo pipefail
[ $# -ge 1 ] || { echo "usage: $0 BINARY [DATA_HOME]" >&2; exit 2; }
binary=$(realpath -e "$1") || { echo "$0: no binary at $1" >&2; exit 2; }
[ -x "$binary" ] || { echo "$0: $binary is not executable" >&2; exit 2; }
data_home=${2:-${XDG_DATA_HOME:?neither DATA_HOME nor XDG_DATA_HOME is set}}
source_entry="$(dirname "$0")/../../data/org.vorrik.Vorrik.desktop"
mkdir -p "$data_home/applications"
# Exec quoting as the desktop entry format has it: a quoted argument escapes " ` $ and \.
quoted=$(printf '%s' "$binary" | sed 's/[\\"`$]/\\\\&/g')
sed "s|^Exec=.*|Exec=\"$quoted\"|" "$source_entry" >"$data_home/applications/org.vorrik.Vorrik.desktop"
echo "$data_home/applications/org.vorrik.Vorrik.desktop"
