#!/usr/bin/env bash
# Runs every benchmark once and prints, in Markdown, what was reached against what is asked for, how
# far that is from what the machine can do, and peak memory: scripts/bench.sh [build folder].
# Progress goes to standard error. The plain reference makes it take some minutes.
#   scripts/bench.sh | scripts/into-benchmarks.sh times    puts the run into BENCHMARKS.md
# MIREL_BENCH_SIZE=52x52x36 runs smaller images, MIREL_SIMD=avx2 another variant.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}
bin=$build/bin
if ! [ -x "$bin/mirel_bench" ]; then
  echo "$bin/mirel_bench is missing: install libbenchmark-dev and build (scripts/dev.sh bench)." >&2
  exit 1
fi
processor=$(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -1)
compiler=$("$(sed -n 's/^CMAKE_CXX_COMPILER:[^=]*=//p' "$build/CMakeCache.txt")" --version | head -1)
echo "$(date +%F), $processor, one core, load $(cut -d' ' -f1 /proc/loadavg) at the start, $compiler." \
  "MIREL_SIMD: ${MIREL_SIMD:-the widest}."
"$bin/mirel_bench" --benchmark_min_time=2
echo
echo "| work | peak memory beyond the images | allowed |"
echo "|---|---|---|"
"$bin/mirel_memory"
