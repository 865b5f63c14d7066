#!/usr/bin/env bash
# Renders the editing views (filmstrip, inspector, export sheet and bar) with real media into
# docs/screenshots/*.png, light and dark, on the offscreen platform (no display needed).
# Usage: scripts/view-screenshots.sh [OUTDIR]
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
out=${1:-$here/docs/screenshots}
build="$here/build/screenshots"
"$here/scripts/setup.sh"
cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DVIMBO_BENCH=OFF >/dev/null
cmake --build "$build" -j "${JOBS:-2}" --target vimbo_view_shots >&2
QT_QPA_PLATFORM=offscreen "$build/tests/ui/vimbo_view_shots" "$out"
