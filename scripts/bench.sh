#!/usr/bin/env bash
# Builds an optimised LmMockTL and runs the fill benchmark, which prints each pixel-format family's
# fill throughput as a ratio to memcpy and exits non-zero when one misses its target. Timing is
# only meaningful on a quiet machine.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/install-deps.sh"
cmake -S "$root" -B "$root/build/release" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLMMOCKTL_BUILD_BENCH=ON >/dev/null
cmake --build "$root/build/release" -j "$(nproc)" --target lmmocktl_fill_bench
"$root/build/release/bench/lmmocktl_fill_bench"
