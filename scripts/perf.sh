#!/usr/bin/env bash
# Measures LmMockTL against the machine's limit (memcpy of the same bytes) and against Aravis' fake
# camera in one run: builds optimised with the Aravis peer, runs the fill benchmark and the stream
# benchmark, writes their tables into docs/performance.md (between the figures markers) and draws
# docs/performance.svg with gnuplot. Installs what it needs. Exits 1 when a target is missed.
#
#   bash scripts/perf.sh [runs] [seconds]     (5 runs of 2 s each unless given)
#
# Timing is only meaningful on a quiet machine.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
runs=${1:-5}
seconds=${2:-2}
build="$root/build/perf"
bash "$root/scripts/install-deps.sh" libaravis-dev libusb-1.0-0-dev gnuplot-nox
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLMMOCKTL_BUILD_TESTS=OFF \
  -DLMMOCKTL_BUILD_BENCH=ON -DLMMOCKTL_BENCH_ARAVIS=ON >/dev/null
cmake --build "$build" -j "$(nproc)" --target lmmocktl_fill_bench lmmocktl_stream_bench

results="$build/results.md"
status=0
{
  echo "Measured $(date -u '+%Y-%m-%d %H:%M UTC') with \`bash scripts/perf.sh $runs $seconds\` on"
  echo "$(nproc) cores ($(lscpu | sed -n 's/^Model name: *//p' | head -n 1)), $(uname -sr);"
  echo "load average before the run: $(cut -d ' ' -f 1-3 /proc/loadavg)."
  echo
  echo "### Fill cost per frame, 1920 x 1080, per pixel-format family"
  echo
  echo '```'
} >"$results"
"$build/bench/lmmocktl_fill_bench" >>"$results" || status=1
{
  echo '```'
  echo
} >>"$results"
(cd "$(mktemp -d)" && "$build/bench/lmmocktl_stream_bench" --runs "$runs" --seconds "$seconds" --data "$build") \
  >>"$results" || status=1
printf '\nLoad average after the run: %s.\n' "$(cut -d ' ' -f 1-3 /proc/loadavg)" >>"$results"
cat "$results"

gnuplot <<PLOT
set terminal svg size 960,400 font "sans,11" background rgb "white"
set output "$root/docs/performance.svg"
set multiplot layout 1,2
set title "Unpaced 640 x 480 Mono8 streams over 4 devices"
set xlabel "streams grabbing at once"
set ylabel "aggregate frames/s"
set yrange [0:*]
set xrange [0:17]
set grid ytics
set key outside bottom center
plot "$build/scale.dat" using 1:2:3:4 with yerrorlines linewidth 2 pointtype 7 title "LmMockTL (median, min-max)"
set title "Unpaced 1920 x 1080, 8 buffers, one consumer"
set xlabel ""
set ylabel "frames/s (log scale)"
set logscale y
set yrange [10:*]
set xrange [*:*]
set style data histograms
set style histogram clustered gap 1
set style fill solid 0.8 border -1
set key outside bottom center horizontal
plot "$build/peer.dat" using 2:xtic(1) title "LmMockTL", "" using 3 title "memcpy loop", \
     "" using 4 title "Aravis fake camera"
unset multiplot
PLOT

# The figures section of the document is the run's output, replaced whole.
doc="$root/docs/performance.md"
if [ -f "$doc" ]; then
  awk -v results="$results" '
    /<!-- figures:begin -->/ { print; while ((getline line < results) > 0) print line; skip = 1; next }
    /<!-- figures:end -->/ { skip = 0 }
    !skip { print }' "$doc" >"$doc.new"
  mv "$doc.new" "$doc"
fi
[ "$status" -eq 0 ] || echo "perf: a target was missed (see the tables above)"
exit "$status"
