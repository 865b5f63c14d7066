#!/usr/bin/env bash
# Builds Vimbo in Release (installing missing Debian packages first) and runs `vimbo ARGS…`.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
"$here/scripts/setup.sh"
cmake -S "$here" -B "$here/build/release" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DVIMBO_TESTS=OFF -DVIMBO_BENCH=OFF >/dev/null
cmake --build "$here/build/release" --target vimbo >&2
exec "$here/build/release/app/vimbo" "$@"
