#!/usr/bin/env bash
# Builds Vimbo with AddressSanitizer and UndefinedBehaviorSanitizer (installing missing Debian
# packages first) and runs every test through CTest.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
"$here/scripts/setup.sh"
build="$here/build/sanitize"
cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVIMBO_SANITIZE=ON \
  -DVIMBO_BENCH=OFF >/dev/null
cmake --build "$build"
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=0:strict_string_checks=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
# Allocations that system libraries keep for the life of the process; inherited by the
# program runs the tests start.
export LSAN_OPTIONS=suppressions=$here/tests/lsan.supp
cd "$build"
ctest --output-on-failure --timeout 600 -j "$(nproc)" "$@"
