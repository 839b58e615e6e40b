#!/usr/bin/env bash
# Runs every benchmark once and prints what was reached against what is asked for:
# scripts/bench.sh [build folder]. The plain reference makes it take some minutes.
# MIREL_BENCH_SIZE=52x52x36 runs smaller images, MIREL_SIMD=avx2 another variant.
set -euo pipefail
cd "$(dirname "$0")/.."
bin=${1:-build/release}/bin
if ! [ -x "$bin/mirel_bench" ]; then
  echo "$bin/mirel_bench is missing: install libbenchmark-dev and build (scripts/dev.sh bench)." >&2
  exit 1
fi
"$bin/mirel_bench" --benchmark_min_time=2
"$bin/mirel_memory"
