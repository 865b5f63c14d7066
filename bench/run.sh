#!/usr/bin/env bash
# Builds Vimbo and its benchmarks in Release (installing missing Debian packages first) and runs
# every benchmark; arguments go to each of them, e.g. --benchmark_filter=probe.
# The test media are generated into the build folder on the first run.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
"$here/scripts/setup.sh" --bench
build="$here/build/bench"
cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DVIMBO_TESTS=OFF \
  -DVIMBO_BENCH=ON >/dev/null
cmake --build "$build" -j "${JOBS:-2}" >&2
# Only the programs: the build also leaves folders of generated sources (…_autogen) here.
for bench in "$build"/bench/vimbo_bench_*; do
  [[ -f $bench && -x $bench ]] || continue
  echo "== ${bench##*/}"
  "$bench" "$@"
done
