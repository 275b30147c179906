#!/usr/bin/env bash
# Installs every Debian package that building, testing and running the console need.
# Idempotent: when everything is present it only checks, quietly, and returns. With --fuzz it
# also installs what the fuzz targets need.
set -euo pipefail

packages=(
  # build
  cmake ninja-build g++ pkg-config
  # engine
  libicu-dev libplist-dev libplist++-dev
  # velmoractl reads and writes JSON
  nlohmann-json3-dev
  # the server: sd-bus for its notifications, sd_notify for the service manager; logger (in
  # bsdutils) sends it syslog in the tests and the demonstration
  libsystemd-dev bsdutils
  # GUI: widgets, D-Bus, printing, sound, SVG
  qt6-base-dev qt6-base-dev-tools qt6-multimedia-dev qt6-svg-dev libqt6svg6
  qt6-qpa-plugins
  # the popup sound: Qt Multimedia's GStreamer backend with the WAV, Ogg and FLAC decoders
  # (base, good) and the AIFF demuxer (libav)
  gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-libav
  # tests and benchmarks
  libgtest-dev libgmock-dev libbenchmark-dev python3
  # headless GUI and bus in tests, PDF checks; libxcb closes the real console's window in a
  # test as a window manager does
  xvfb xauth dbus libglib2.0-bin poppler-utils libxcb1-dev
  # validation of the desktop entry and the AppStream metadata; building the Debian package
  desktop-file-utils appstream dpkg-dev
)
# The fuzz targets need clang and its sanitizer runtimes; only for those who run them
# (scripts/setup-deps.sh --fuzz), since the tests and the console do not.
if [ "${1:-}" = "--fuzz" ]; then
  packages+=(clang libclang-rt-14-dev)
fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

[ ${#missing[@]} -eq 0 ] && exit 0

echo "setup-deps: installing ${missing[*]}" >&2
sudo_cmd=()
[ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
