#!/usr/bin/env bash
# Installs the Debian packages that building, running and testing Vimbo need.
# Idempotent: when everything is present it only asks dpkg and returns at once.
set -euo pipefail

packages=(
  # toolchain
  build-essential cmake ninja-build pkg-config clang-format
  # Qt 6: core, gui, widgets, concurrency, D-Bus, multimedia, image plug-ins, undo (QtGui)
  qt6-base-dev qt6-multimedia-dev qt6-image-formats-plugins qt6-qpa-plugins libgl-dev
  # Qt 6: SVG (the icon engine that draws the bundled icons), Linguist (translations)
  libqt6svg6 qt6-svg-dev qt6-tools-dev qt6-l10n-tools qt6-tools-dev-tools
  # media
  libavformat-dev libavcodec-dev libavutil-dev libswscale-dev libswresample-dev libavfilter-dev
  libheif-dev libexiv2-dev libraw-dev libjxl-dev
  # the desktop: Email… in the share menu (xdg-email), the icons the screenshots are drawn with
  xdg-utils adwaita-icon-theme
  # tests and benchmarks
  libgtest-dev libbenchmark-dev ffmpeg libimage-exiftool-perl xvfb xauth
  # the window's journey and screenshots under Xvfb, the desktop entry's check, the package
  xdotool imagemagick desktop-file-utils dpkg-dev
)
# `--bench`: the benchmarks' extras too: a real browser that plays the exported movies
# (bench/SmartCutBench.cpp). The tests do without it.
[[ ${1:-} == --bench ]] && packages+=(chromium)

missing=()
for p in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${db:Status-Status}' "$p" 2>/dev/null || true)
  [[ "$status" == installed ]] || missing+=("$p")
done

if ((${#missing[@]})); then
  echo "setup: installing ${missing[*]}" >&2
  sudo=""
  [[ $(id -u) -eq 0 ]] || sudo="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
