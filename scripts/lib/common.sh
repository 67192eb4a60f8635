# SPDX-License-Identifier: MIT
# Shared by the entry-point scripts: installs what is missing, idempotently.

VORRIK_ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)"

# Everything a fresh Debian 12 needs to build, run, test and benchmark Vorrik.
VORRIK_BUILD_PACKAGES=(
  g++ cmake ninja-build make pkg-config ccache
  qt6-base-dev libgl-dev libx11-dev libxtst-dev libxi-dev libx11-xcb-dev libxcb-xtest0-dev
  libdbus-1-dev
  libwayland-dev libwayland-bin wayland-protocols
  libgtest-dev libgmock-dev libbenchmark-dev
  fonts-dejavu-core
)
# What the tests run, on either release.
VORRIK_DESKTOP_TEST_PACKAGES=(
  xvfb xauth xdotool x11-utils xinput trayer imagemagick python3
  dpkg-dev file appstream desktop-file-utils
  util-linux procps rtkit polkitd
  sway qt6-wayland wtype
  # Headless GNOME Shell with its desktop portal, for the portal backend (about 400 MiB).
  gnome-shell mutter xdg-desktop-portal xdg-desktop-portal-gnome pipewire dbus-daemon dbus-bin
  libglib2.0-bin fuse3 gnome-settings-daemon
  # Its Xwayland, which picking there uses.
  xwayland
  # Screenshots of that session (scripts/screenshot --gnome).
  wireplumber gstreamer1.0-pipewire gstreamer1.0-tools
)
# Debian 13 adds libei, KDE Plasma 6 with its portal, labwc and Wayfire.
VORRIK_DEBIAN13_PACKAGES=(
  libei-dev
  kwin-wayland kwin-common plasma-integration plasma-workspace xdg-desktop-portal-kde
  libkf6service-bin
  labwc wayfire
)
VORRIK_TEST_PACKAGES=("${VORRIK_DESKTOP_TEST_PACKAGES[@]}" clang-format clang-tidy)
# Which Debian this is: the Debian 13 tier's desktops are tested on the host when it is one.
VORRIK_CODENAME=$(. /etc/os-release 2>/dev/null && echo "${VERSION_CODENAME:-}")
if [ "$VORRIK_CODENAME" != bookworm ]; then
  VORRIK_TEST_PACKAGES+=("${VORRIK_DEBIAN13_PACKAGES[@]}")
fi
VORRIK_RUN_PACKAGES=(xvfb xauth qt6-wayland)

info() { printf '\033[1m==> %s\033[0m\n' "$*"; }

# ensure_packages PKG...: installs those that dpkg does not report as installed.
ensure_packages() {
  local missing=() pkg
  for pkg in "$@"; do
    # dpkg-query rather than `dpkg -s | grep -q`: grep leaving early fails that pipe now and then.
    [ "$(dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null)" = "install ok installed" ] ||
      missing+=("$pkg")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  info "Installing missing packages: ${missing[*]}"
  local sudo=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "Need root or sudo to install: ${missing[*]}" >&2; exit 1; }
    sudo=(sudo)
  fi
  "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq
  "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

# build_preset NAME [TARGET...]: configures (once) and builds a CMake preset.
build_preset() {
  local preset="$1"; shift
  local dir="$VORRIK_ROOT/build/$preset"
  cd "$VORRIK_ROOT"
  if [ ! -f "$dir/CMakeCache.txt" ]; then
    cmake --preset "$preset" -DCMAKE_CXX_COMPILER_LAUNCHER=ccache >/dev/null
  fi
  if [ $# -gt 0 ]; then
    local targets=()
    for t in "$@"; do targets+=(--target "$t"); done
    cmake --build --preset "$preset" "${targets[@]}"
  else
    cmake --build --preset "$preset"
  fi
}
