#!/usr/bin/env bash
# Builds the producer and lmmocktl, then shows the built-in configuration from the outside: the
# tree lmmocktl lists, and a few frames of each of the four default streams written as PNG files
# into demo-output/.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/install-deps.sh"
build="$root/build/release"
echo "Building LmMockTL.cti and lmmocktl (release) in $build ..."
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
if ! cmake --build "$build" -j "$(nproc)" --target LmMockTL lmmocktl >"$build/demo-build.log" 2>&1; then
  cat "$build/demo-build.log"
  exit 1
fi
out="$root/demo-output"
rm -rf "$out"
lmmocktl="$build/tools/lmmocktl"
# Run from an empty directory so that no LmMockTL.json there changes the configuration.
cd "$(mktemp -d)"
unset LMMOCKTL_CONFIG
echo
echo "\$ lmmocktl list"
"$lmmocktl" list
echo
echo "\$ lmmocktl features SourceSelector=Source3 PixelFormat Width Height PayloadSize"
"$lmmocktl" features SourceSelector=Source3 PixelFormat Width Height PayloadSize
echo
echo "\$ lmmocktl grab --stream all --count 3 --out demo-output"
"$lmmocktl" grab --stream all --count 3 --out "$out"
echo
echo "The pictures are in $out"
