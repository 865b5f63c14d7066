#!/usr/bin/env bash
# Photographs the real program under Xvfb on the sample media, in the light and the dark
# palette, into docs/screenshots/: the empty window; the editor on a saved project of mixed clips
# (trimmed, sped up, muted, a missing file) with one video, several clips and nothing selected;
# the photo picker; the export sheet with and without a fast export; the export bar running and
# done. One function per shot: add a shot_NAME function and list it in `shots` to get
# NAME-light.png and NAME-dark.png.
#
#   scripts/screenshots.sh            build in Release and photograph
#   VIMBO_BINARY=path scripts/...     photograph that build instead
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
out="$here/docs/screenshots"
media="${VIMBO_SAMPLE_MEDIA:-$here/../shared/media}"
shots=(empty editor picker export export_fast)

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

# A fresh home for one run: data (the saved project), settings, runtime folder, Pictures and
# a Videos folder holding the clips under the names a person gives them.
fresh_home() {
  local home="$work/home-$1"
  rm -rf "$home"
  mkdir -p "$home"/{data/Vimbo,config,runtime,Pictures,Videos}
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

key() {
  xdotool key --clearmodifiers "$@"
  sleep 0.5
}

# The main window's area of the screen (dialogs over it included), with the pointer parked
# where it shows no tooltip.
photograph() {
  local name=$1
  xdotool mousemove 1279 879
  sleep 0.3
  eval "$(xdotool getwindowgeometry --shell "$window")"
  import -window root -crop "${WIDTH}x${HEIGHT}+${X}+${Y}" +repage "$out/$name.png"
  echo "wrote docs/screenshots/$name.png"
}

# A click at a point of the window, in window coordinates.
click_at() {
  eval "$(xdotool getwindowgeometry --shell "$window")"
  xdotool mousemove --sync $((X + $1)) $((Y + $2)) click 1
  sleep 0.5
}

# Copies a sample into the home's Videos folder under a person's name; prints its path.
clip() {
  local home=$1 sample=$2 name=$3
  cp "$media/$sample" "$home/Videos/$name"
  echo "$home/Videos/$name"
}

# Writes the saved project the program restores at start. Each argument is
# "PATH|trimStart|trimEnd|speed|muted"; a path that does not exist stays a missing clip.
saved_project() {
  local home=$1
  shift
  local clips="" added=0 spec path trim_start trim_end speed muted
  for spec in "$@"; do
    IFS='|' read -r path trim_start trim_end speed muted <<<"$spec"
    [[ -n $clips ]] && clips+=","
    clips+="{\"id\":\"$(tr a-f A-F </proc/sys/kernel/random/uuid)\","
    clips+="\"url\":\"file://${path// /%20}\",\"added\":$added,\"imported\":false,"
    clips+="\"edits\":{\"trimStart\":${trim_start:-0},\"trimEnd\":${trim_end:-0},"
    clips+="\"speed\":${speed:-1},\"muted\":${muted:-false},\"quarterTurns\":0,"
    clips+="\"photoDuration\":3}}"
    added=$((added + 1))
  done
  echo "{\"clips\":[$clips],\"layout\":{\"shape\":\"auto\",\"fill\":\"fit\"},\"nextAdded\":$added}" \
    >"$home/data/Vimbo/Session.json"
}

# The typed path of the save dialog, then Return: the export runs.
export_to() {
  key Return
  sleep 1
  key ctrl+a
  xdotool type --delay 10 "$1"
  key Return
}

shot_empty() {
  start "$(fresh_home empty)" "$1"
  photograph "empty-$1"
  stop
}

# The tiles start at the strip's left edge; the second one is the trimmed, sped-up video.
shot_editor() {
  local home
  home=$(fresh_home editor)
  saved_project "$home" \
    "$(clip "$home" Landscape_1.jpg Waterfall.jpg)" \
    "$(clip "$home" bbb_800x640_768kbps_30fps_avc_2b_firstpts_10_sec.mp4 Meadow.mp4)|0.5|0.5|2" \
    "$(clip "$home" sample_with_colr_mdcv_and_clli.mp4 'Mountain pass.mp4')|0|0|1|true" \
    "$(clip "$home" london.jpg London.jpg)" \
    "$home/Videos/Birthday party.mov" \
    "$(clip "$home" sample.mp4 Interview.mp4)|0|0|0.5|true" \
    "$(clip "$home" rotate-buck-bunny.mp4 'Bunny on the phone.mp4')" \
    "$(clip "$home" portrait.jpg 'Summer holiday at the lake, day two.jpg')"
  start "$home" "$1"
  sleep 3 # thumbnails and the preview fill in
  eval "$(xdotool getwindowgeometry --shell "$window")"
  click_at 210 $((HEIGHT - 70))
  sleep 1
  photograph "editor-$1"
  key ctrl+a
  photograph "editor-several-$1"
  key Escape # the strip has the keyboard since the click; Escape clears the selection
  photograph "editor-merged-$1"
  stop
}

shot_picker() {
  local home
  home=$(fresh_home picker)
  cp "$media/Landscape_1.jpg" "$media/Portrait_0.jpg" "$media/london.jpg" \
    "$media/denali.webp" "$media/sample.mp4" "$home/Pictures/"
  start "$home" "$1"
  key ctrl+shift+o
  sleep 3
  photograph "picker-$1"
  stop
}

# Clips that must be re-encoded: the sheet says which one and why; the bar while it runs.
shot_export() {
  local home
  home=$(fresh_home export)
  start "$home" "$1" "$media/sample_with_colr_mdcv_and_clli.mp4" "$media/rotate-buck-bunny.mp4" \
    "$media/Landscape_6.jpg" "$media/sample.mp4"
  sleep 2
  key ctrl+e
  sleep 2
  photograph "export-$1"
  export_to "$home/Videos/Merged Video.mp4"
  sleep 6 # long enough for an estimate of the time left
  photograph "exporting-$1"
  stop
}

# Two clips from one camera: a fast export, then the bar when it is done.
shot_export_fast() {
  local home
  home=$(fresh_home export-fast)
  start "$home" "$1" "$(clip "$home" video-h265.mp4 'Harbour at dusk.mp4')" \
    "$(clip "$home" video-h265.mp4 'Harbour, later.mp4')"
  sleep 2
  key ctrl+e
  sleep 2
  photograph "export-fast-$1"
  export_to "$home/Videos/Harbour.mp4"
  sleep 3
  photograph "exported-$1"
  stop
}

for palette in light dark; do
  for shot in "${shots[@]}"; do
    "shot_$shot" "$palette"
  done
done
