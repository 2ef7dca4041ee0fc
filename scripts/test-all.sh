#!/usr/bin/env bash
# Builds LmMockTL and runs the whole test suite three times: a plain optimised build (followed by the
# Python package's suite against its installed wheel), an
# AddressSanitizer + UndefinedBehaviorSanitizer build, and a ThreadSanitizer build of the
# unit, black-box and stress tests (the concurrency cases among them); then runs every fuzzing harness
# for a bounded time (LMMOCKTL_FUZZ_SECONDS per harness, 60 unless set; 0 skips it). Mirrors CI
# exactly. The sanitizer builds leave out the benchmarks, which no test runs.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/install-deps.sh"
jobs=$(nproc)

configure_and_build() {
  local dir=$1
  shift
  cmake -S "$root" -B "$root/$dir" "$@" >/dev/null
  cmake --build "$root/$dir" -j "$jobs"
}

echo "== optimised build"
configure_and_build build/release -DCMAKE_BUILD_TYPE=RelWithDebInfo
ctest --test-dir "$root/build/release" --output-on-failure -j "$jobs"

echo "== Python package: the wheel, installed in a fresh virtual environment, with harvesters"
bash "$root/scripts/test-python.sh"

echo "== AddressSanitizer + UndefinedBehaviorSanitizer"
configure_and_build build/asan -DCMAKE_BUILD_TYPE=Debug -DLMMOCKTL_SANITIZE=address,undefined -DLMMOCKTL_BUILD_BENCH=OFF
# The leak checker misreads the dynamic TLS of libraries loaded with the producer (its guess of
# the glibc layout depends on addresses) and crashes its own tracer; without tracking dynamic TLS
# it still checks every other root.
ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:intercept_tls_get_addr=0 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest --test-dir "$root/build/asan" --output-on-failure -j "$jobs"

echo "== ThreadSanitizer"
configure_and_build build/tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLMMOCKTL_SANITIZE=thread -DLMMOCKTL_BUILD_BENCH=OFF
export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
ctest --test-dir "$root/build/tsan" --output-on-failure -L 'unit|blackbox' -j "$jobs"
# The stress tests one at a time: each already keeps every core busy with its own threads.
ctest --test-dir "$root/build/tsan" --output-on-failure -L stress

fuzzSeconds=${LMMOCKTL_FUZZ_SECONDS:-60}
if [ "$fuzzSeconds" -gt 0 ]; then
  echo "== Fuzzing, $fuzzSeconds s per harness"
  bash "$root/scripts/fuzz.sh" "$fuzzSeconds"
fi
