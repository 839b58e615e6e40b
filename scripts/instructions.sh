#!/usr/bin/env bash
# Counts the instructions of whole estimates, plain reference against engine, and prints a table:
# scripts/instructions.sh [build folder]. Unlike times these hardly depend on what else the machine
# does. scripts/instructions.sh | scripts/into-benchmarks.sh instructions puts them into BENCHMARKS.md.
# MIREL_BENCH_SIZE (48x48x24 unless set) and MIREL_SIMD as in scripts/bench.sh; valgrind runs
# no AVX-512, so that avx2 is the widest variant. Takes some ten minutes.
set -euo pipefail
cd "$(dirname "$0")/.."
once=${1:-build/release}/bin/mirel_once
export MIREL_BENCH_SIZE=${MIREL_BENCH_SIZE:-48x48x24}
command -v valgrind >/dev/null || { echo "valgrind is missing: install the package of that name." >&2; exit 1; }
[ -x "$once" ] || { echo "$once is missing: scripts/dev.sh bench builds it." >&2; exit 1; }

count() { # engine|reference NAME
  local log
  log=$(valgrind --tool=callgrind --callgrind-out-file=/dev/null --collect-atstart=no \
    --toggle-collect='*measured*' "$once" "$1" "$2" 2>&1) || { echo "$log" >&2; exit 1; }
  sed -n 's/.*Collected : *//p' <<<"$log"
}

echo "| estimate at $MIREL_BENCH_SIZE | reference, million instructions | engine | ratio |"
echo "|---|---|---|---|"
for name in ssd ssd_corrected ncc ncc_corrected fast; do
  reference=$(count reference "$name")
  engine=$(count engine "$name")
  awk -v n="$name" -v r="$reference" -v e="$engine" \
    'BEGIN { printf "| %s | %.0f | %.0f | %.1f |\n", n, r / 1e6, e / 1e6, r / e }'
done
