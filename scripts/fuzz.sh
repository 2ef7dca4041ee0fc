#!/usr/bin/env bash
# Builds the libFuzzer harnesses (clang, with the core under AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs each for the given number of seconds over its seed corpus in
# fuzz/corpus/. Fails on any crash, leak, sanitizer report or broken expectation; the input that
# caused it is kept in build/fuzz/findings/. New inputs found on the way go to a scratch copy of the
# corpus and are dropped, so the seeds in the repository stay as they are.
# Usage: scripts/fuzz.sh [seconds per harness, default 20] [harness ...]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-20}
[ $# -gt 0 ] && shift
# libFuzzer and the sanitizer runtimes come with clang's runtime package on Debian 12.
bash "$root/scripts/install-deps.sh" clang libclang-rt-14-dev

build="$root/build/fuzz"
# -O1 and line tables only: quick to build, still fast to run, and stack traces name the lines.
CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE= -DCMAKE_CXX_FLAGS="-O1 -gline-tables-only" \
  -DLMMOCKTL_SANITIZE=address,undefined -DLMMOCKTL_BUILD_FUZZ=ON \
  -DLMMOCKTL_BUILD_TESTS=OFF -DLMMOCKTL_BUILD_BENCH=OFF >/dev/null
cmake --build "$build" -j "$(nproc)" --target lmmocktl_fuzz

# The largest input each harness reads: a JSON file, a recording (InfoFile and data files), one
# set of stream settings, a sequence of port operations, an image file.
declare -A maxLength=([ConfigurationLoader]=8192 [StreamFileReader]=16384 [GenDcContainer]=64 [PortTraffic]=4096 [ImageDecoders]=65536)
# Every module's error event stays a known handle for the life of the process, by design, so each
# port traffic input leaves registry entries behind and libFuzzer's leak check after every input
# would rescan the heap each time; the leak check at exit still runs.
declare -A extraFlags=([PortTraffic]=-detect_leaks=0)
harnesses=("$@")
[ ${#harnesses[@]} -gt 0 ] || mapfile -t harnesses <"$build/fuzz/harnesses"

# The harnesses write their files under TMPDIR: memory where there is some, the disk is slow.
scratchParent=/dev/shm
[ -w "$scratchParent" ] || scratchParent=${TMPDIR:-/tmp}
scratch=$(mktemp -d "$scratchParent/lmmocktl-fuzz.XXXXXX")
trap 'rm -rf "$scratch"' EXIT
findings="$build/findings"
mkdir -p "$findings"

# Runs one harness and leaves its exit status beside its log.
run() {
  local harness=$1 status=0 dictionary=""
  [ -f "$root/fuzz/$harness.dict" ] && dictionary="-dict=$root/fuzz/$harness.dict"
  mkdir -p "$scratch/corpus/$harness" "$scratch/tmp-$harness"
  TMPDIR="$scratch/tmp-$harness" ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
    "$build/fuzz/lmmocktl_fuzz_$harness" -max_total_time="$seconds" -max_len="${maxLength[$harness]:-4096}" \
    -rss_limit_mb=2048 -timeout=10 -print_final_stats=1 -artifact_prefix="$findings/$harness-" \
    ${extraFlags[$harness]:-} $dictionary "$scratch/corpus/$harness" "$root/fuzz/corpus/$harness" \
    >"$scratch/$harness.log" 2>&1 || status=$?
  echo "$status" >"$scratch/$harness.status"
}

# One harness per core at a time; each is single-threaded.
for harness in "${harnesses[@]}"; do
  while [ "$(jobs -rp | wc -l)" -ge "$(nproc)" ]; do
    wait -n || true
  done
  run "$harness" &
done
wait

failed=()
for harness in "${harnesses[@]}"; do
  log="$scratch/$harness.log"
  status=$(cat "$scratch/$harness.status")
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  coverage=$(grep -E '^#[0-9]+[[:space:]]+DONE' "$log" | tail -1 | grep -oE 'cov: [0-9]+ ft: [0-9]+' || true)
  if [ "$status" -ne 0 ]; then
    failed+=("$harness")
    echo "$harness: FAILED (exit $status)"
    grep -vE '^#[0-9]+[[:space:]]' "$log" | tail -60
  else
    echo "$harness: ${runs:-?} runs in $seconds s, ${coverage:-no coverage line}"
  fi
done
if [ ${#failed[@]} -gt 0 ]; then
  echo "fuzzing found problems in: ${failed[*]} (inputs in $findings)"
  exit 1
fi
