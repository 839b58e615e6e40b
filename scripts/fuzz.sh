#!/usr/bin/env bash
# Runs the fuzzers of a build, one after the other, each from its corpus: scripts/fuzz.sh BUILD
# SECONDS [TARGET...]. SECONDS are those of all together. What a fuzzer finds stays as
# BUILD/findings/TARGET/crash-...; a table of executions and edges reached comes at the end.
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1
seconds=$2
shift 2
targets=("$@")
[ "${#targets[@]}" -gt 0 ] || mapfile -t targets < <(ls fuzz/corpus)
each=$((seconds / ${#targets[@]} > 0 ? seconds / ${#targets[@]} : 1))
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
failed=0
table="| target | executions | edges | inputs kept |"$'\n'"|---|---|---|---|"

# The last numbers of a log of libFuzzer: "#1234 DONE cov: 567 ft: ..."
lastOf() { grep -oE "$1" "$2" | tail -1 | grep -oE '[0-9]+$' || echo 0; }

for target in "${targets[@]}"; do
  kept=$build/corpus/$target findings=$build/findings/$target log=$build/fuzz-$target.log
  mkdir -p "$kept" "$findings"
  options=(-max_total_time="$each" -artifact_prefix="$findings/" -timeout=20 -rss_limit_mb=3000
    -close_fd_mask=1 -print_final_stats=1 -max_len=4096)
  [ ! -e "fuzz/dictionaries/$target.dict" ] || options+=(-dict="fuzz/dictionaries/$target.dict")
  status=0
  "$build/bin/fuzz_$target" "${options[@]}" "$kept" "fuzz/corpus/$target" > "$log" 2>&1 || status=$?
  if [ "$status" -ne 0 ]; then
    failed=$((failed + 1))
    echo "$target: a finding (status $status)"
    grep -vE '^#[0-9]' "$log" | tail -40
  fi
  table+=$'\n'"| $target | $(lastOf 'number_of_executed_units: [0-9]+' "$log") |"
  table+=" $(lastOf 'cov: [0-9]+' "$log") | $(find "$kept" -type f | wc -l) |"
done
echo "$table"
[ "$failed" -eq 0 ] || { echo "$failed of ${#targets[@]} targets have findings"; exit 1; }
echo "fuzz: nothing found by ${#targets[@]} targets in $each s each"
