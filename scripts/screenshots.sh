#!/usr/bin/env bash
# Photographs the real program under Xvfb on the sample media, in the light and the dark
# palette, into docs/screenshots/: the empty window, the editor with mixed clips, the photo
# picker and the export sheet. One function per shot: add a shot_NAME function and list it in
# `shots` to get NAME-light.png and NAME-dark.png.
#
#   scripts/screenshots.sh            build in Release and photograph
#   VIMBO_BINARY=path scripts/...     photograph that build instead
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
out="$here/docs/screenshots"
media="${VIMBO_SAMPLE_MEDIA:-$here/../shared/media}"
shots=(empty editor picker export)

# Everything below runs on its own X server, sized like a laptop screen.
if [[ -z ${SCREENSHOTS_ON_XVFB:-} ]]; then
  "$here/scripts/setup.sh"
  if [[ -z ${VIMBO_BINARY:-} ]]; then
    cmake -S "$here" -B "$here/build/release" -G Ninja -DCMAKE_BUILD_TYPE=Release \
      -DVIMBO_TESTS=OFF -DVIMBO_BENCH=OFF >/dev/null
    cmake --build "$here/build/release" --target vimbo >&2
    export VIMBO_BINARY="$here/build/release/app/vimbo"
  fi
  export SCREENSHOTS_ON_XVFB=1
  exec xvfb-run -a -s "-screen 0 1280x880x24 -dpi 96" "$0" "$@"
fi

work=$(mktemp -d)
pid=""
trap '[[ -n $pid ]] && kill "$pid" 2>/dev/null; rm -rf "$work"' EXIT
mkdir -p "$out"

# A fresh home for one run: data (the saved project), settings, runtime folder and Pictures.
fresh_home() {
  local home="$work/home-$1"
  rm -rf "$home"
  mkdir -p "$home"/{data,config,runtime,Pictures}
  chmod 700 "$home/runtime"
  echo "XDG_PICTURES_DIR=\"$home/Pictures\"" >"$home/config/user-dirs.dirs"
  echo "$home"
}

# Starts vimbo in the home, with the palette and any files; sets `pid` and `window`.
start() {
  local home=$1 palette=$2
  shift 2
  local theme=""
  [[ $palette == dark ]] && theme="Adwaita:dark"
  XDG_DATA_HOME="$home/data" XDG_CONFIG_HOME="$home/config" XDG_RUNTIME_DIR="$home/runtime" \
    GTK_THEME="$theme" HOME="$home" "$VIMBO_BINARY" "$@" >"$work/log" 2>&1 &
  pid=$!
  window=$(timeout 20 xdotool search --sync --onlyvisible --name '^Vimbo' | head -1)
  xdotool windowfocus --sync "$window" 2>/dev/null || true
  sleep 1
}

stop() {
  kill -TERM "$pid" 2>/dev/null || true
  wait "$pid" 2>/dev/null || true
  pid=""
}

# The main window's area of the screen (dialogs over it included).
photograph() {
  local name=$1
  eval "$(xdotool getwindowgeometry --shell "$window")"
  import -window root -crop "${WIDTH}x${HEIGHT}+${X}+${Y}" +repage "$out/$name.png"
  echo "wrote docs/screenshots/$name.png"
}

mixed_clips=("$media/Landscape_6.jpg" "$media/sample.mp4" "$media/Portrait_3.jpg"
  "$media/rotate-buck-bunny.mp4" "$media/london.jpg" "$media/pug.heic")

shot_empty() {
  start "$(fresh_home empty)" "$1"
  photograph "empty-$1"
  stop
}

shot_editor() {
  start "$(fresh_home editor)" "$1" "${mixed_clips[@]}"
  sleep 3 # thumbnails and the preview fill in
  photograph "editor-$1"
  stop
}

shot_picker() {
  local home
  home=$(fresh_home picker)
  cp "$media/Landscape_1.jpg" "$media/Portrait_0.jpg" "$media/london.jpg" \
    "$media/denali.webp" "$media/sample.mp4" "$home/Pictures/"
  start "$home" "$1"
  xdotool key --clearmodifiers ctrl+shift+o
  sleep 3
  photograph "picker-$1"
  stop
}

shot_export() {
  start "$(fresh_home export)" "$1" "${mixed_clips[@]}"
  sleep 2
  xdotool key --clearmodifiers ctrl+e
  sleep 2
  photograph "export-$1"
  stop
}

for palette in light dark; do
  for shot in "${shots[@]}"; do
    "shot_$shot" "$palette"
  done
done
