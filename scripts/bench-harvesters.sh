#!/usr/bin/env bash
# Grabs 1920 x 1080 Mono8 unpaced through harvesters and through lmmocktl in one run and reports
# both frame rates and the producer's share of a harvesters frame, from a perf profile
# (bench/harvesters_bench.py). Uses the Python environment of scripts/test-python.sh.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/install-deps.sh" linux-perf
cmake -S "$root" -B "$root/build/release" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$root/build/release" -j "$(nproc)" --target LmMockTL lmmocktl
[ -x "$root/build/python/test-env/bin/python" ] || bash "$root/scripts/test-python.sh"
"$root/build/python/test-env/bin/python" "$root/bench/harvesters_bench.py" \
  --cti "$root/build/release/LmMockTL.cti" --lmmocktl "$root/build/release/tools/lmmocktl" "$@"
