#!/usr/bin/env bash
# A person's session with the window, under Xvfb with real key presses and clicks (xdotool):
# start on a saved project, open a file from a second `vimbo FILE`, rotate, undo and redo,
# start over and undo it, export with Ctrl+E, Return, a typed path and Return, quit with Ctrl+Q,
# and find the project as it was left at the next start.
#   Journey.sh VIMBO SAMPLE_MEDIA      (exits 77, "skipped", without xvfb-run or xdotool)
set -euo pipefail
vimbo=$1
media=$2
for tool in xvfb-run xdotool; do
  command -v "$tool" >/dev/null || { echo "skipped: $tool is not installed"; exit 77; }
done
[[ -f $media/sample.mp4 ]] || { echo "skipped: no sample media in $media"; exit 77; }
if [[ -z ${JOURNEY_ON_XVFB:-} ]]; then
  export JOURNEY_ON_XVFB=1
  exec xvfb-run -a -s "-screen 0 1280x880x24" "$0" "$@"
fi

# Under the sanitizers: libxkbcommon-x11 copies names out of X replies with strndup, which
# strict string checks mistake for an overread (the replies are not NUL-terminated).
[[ -n ${ASAN_OPTIONS:-} ]] && export ASAN_OPTIONS="$ASAN_OPTIONS:strict_string_checks=0"

home=$(mktemp -d)
pid=""
trap '[[ -n $pid ]] && kill -9 "$pid" 2>/dev/null; rm -rf "$home"' EXIT
mkdir -p "$home"/{data,config,runtime,files}
chmod 700 "$home/runtime"
export XDG_DATA_HOME=$home/data XDG_CONFIG_HOME=$home/config XDG_RUNTIME_DIR=$home/runtime
export HOME=$home
cp "$media/Landscape_6.jpg" "$media/sample.mp4" "$media/Portrait_3.jpg" "$home/files/"
out=$home/files/journey.mp4

step() { echo "== $*"; }
fail() {
  echo "FAILED: $*" >&2
  "$vimbo" project >&2 || true
  exit 1
}
# Waits (up to 60 s) for a window of ours whose title matches, and gives it the keyboard.
window_named() {
  local id
  id=$(timeout 60 xdotool search --sync --onlyvisible --name "$1" | head -1) ||
    fail "no window titled /$1/"
  xdotool windowfocus --sync "$id" 2>/dev/null || true
  echo "$id"
}
key() {
  xdotool key --clearmodifiers "$@"
  sleep 0.3
}
# Polls `vimbo project` (the saved project as the next start finds it) until it matches the
# pattern, or, after "!", until it no longer does.
saved_matches() {
  local want=0 found i
  [[ $1 == '!' ]] && { want=1; shift; }
  for ((i = 0; i < 100; i++)); do
    if "$vimbo" project 2>/dev/null | grep -Eq "$1"; then found=0; else found=1; fi
    ((found == want)) && return 0
    sleep 0.2
  done
  fail "the saved project never came to match $([[ $want == 1 ]] && echo not) /$1/"
}
quit_and_wait() {
  key ctrl+q
  local i
  for ((i = 0; i < 300; i++)); do
    kill -0 "$pid" 2>/dev/null || break
    sleep 0.1
  done
  kill -0 "$pid" 2>/dev/null && fail "Ctrl+Q did not end the program"
  wait "$pid" || fail "the program ended with an error"
  pid=""
}

step "a saved project of two clips"
"$vimbo" "$home/files/Landscape_6.jpg" "$home/files/sample.mp4" &
pid=$!
window_named '^Vimbo — 2 Clips' >/dev/null
saved_matches 'sample\.mp4'
quit_and_wait

step "start on it"
"$vimbo" &
pid=$!
window=$(window_named '^Vimbo — 2 Clips')

step "a second vimbo FILE hands its file over and ends"
timeout 30 "$vimbo" "$home/files/Portrait_3.jpg" || fail "the second start did not end at once"
[[ $(xdotool search --onlyvisible --name '^Vimbo' | wc -l) -eq 1 ]] || fail "a second window opened"
window_named '^Vimbo — 3 Clips' >/dev/null
saved_matches 'Portrait_3\.jpg'

step "Ctrl+R turns the new clip; Ctrl+Z and Ctrl+Shift+Z undo and redo it"
xdotool windowfocus --sync "$window"
key ctrl+r
saved_matches 'Portrait_3\.jpg.*turned 90°'
key ctrl+z
saved_matches ! 'turned'
key ctrl+shift+z
saved_matches 'Portrait_3\.jpg.*turned 90°'

step "File > Start Over with the mouse, then Ctrl+Z"
eval "$(xdotool getwindowgeometry --shell "$window")"
xdotool mousemove --sync $((X + 20)) $((Y + 9)) click 1
sleep 0.5
key Down Return
window_named '^Vimbo$' >/dev/null
key ctrl+z
window_named '^Vimbo — 3 Clips' >/dev/null

step "Ctrl+E, Return, a typed path, Return: the export runs to its end"
key ctrl+e
sleep 1
key Return
sleep 1
key ctrl+a
xdotool type --delay 20 "$out"
key Return
# Finished once the movie reads as a whole (its index is written last).
duration=""
for ((i = 0; i < 600; i++)); do
  [[ -n $duration ]] && break
  sleep 0.5
  [[ -s $out ]] && duration=$(ffprobe -v error -show_entries format=duration -of csv=p=0 "$out" || true)
done
[[ -n $duration ]] || fail "no exported movie at $out"
echo "exported $duration s"

step "Ctrl+Q; the next start finds the project as it was left"
xdotool windowfocus --sync "$window"
quit_and_wait
"$vimbo" &
pid=$!
window_named '^Vimbo — 3 Clips' >/dev/null
"$vimbo" project | grep -Eq 'Portrait_3\.jpg.*turned 90°' || fail "the turn was lost"
quit_and_wait
echo "journey done"
