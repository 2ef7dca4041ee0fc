#!/usr/bin/env bash
# Builds the producer and runs the demo consumer against it on the built-in configuration.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/install-deps.sh"
cmake -S "$root" -B "$root/build/release" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$root/build/release" -j "$(nproc)" --target LmMockTL lmmocktl_demo
# Run from an empty directory so that no LmMockTL.json there changes the configuration.
cd "$(mktemp -d)"
env -u LMMOCKTL_CONFIG "$root/build/release/tools/lmmocktl_demo" "$root/build/release/LmMockTL.cti"
