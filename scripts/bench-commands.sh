#!/usr/bin/env bash
# Times whole commands on simulated images, in processor seconds (both modes, all threads), and
# prints the tables in Markdown; the least of three runs each. `mirel correct` of a pair with and
# without motion, and `mirel apply` to a series of 16-bit integers, beside a plain copy and gzip of it;
# then what two threads gain by the clock, which an otherwise idle machine tells.
# Usage: scripts/bench-commands.sh [build folder]
#   scripts/bench-commands.sh | scripts/into-benchmarks.sh commands    puts the run into BENCHMARKS.md
# MIREL_BENCH_VOLUMES=20 takes a shorter series than 200 volumes.
set -euo pipefail
build=$(realpath "${1:-$(dirname "$0")/../build/release}")
mirel=$build/bin/mirel
volumes=${MIREL_BENCH_VOLUMES:-200}
cd "$(mktemp -d)"
trap 'rm -rf "$PWD"' EXIT

leastProcessorSeconds() { # COMMAND...
  local TIMEFORMAT='%U %S'
  for _ in 1 2 3; do
    { time "$@" >/dev/null 2>&1; } 2>&1 | awk '{ print $1 + $2 }'
  done | sort -g | head -1
}
# row NAME RESULT COMMAND...: what COMMAND takes to write the file RESULT
row() {
  local name=$1 result=$2 least
  shift 2
  least=$(leastProcessorSeconds "$@")
  awk -v name="$name" -v s="$least" -v size="$(stat -c %s "$result")" -v bytes="$bytes" \
    'BEGIN { printf "| %s | %.2f | %.0f | %.3f |\n", name, s, bytes / 1e6 / s, size / bytes }'
}
apply() {
  row "\`mirel apply --field\`, $1" "$3" \
    "$mirel" apply --field "$field" "$2" -o "$3" --overwrite --no-report
}
leastSeconds() { # COMMAND...: by the clock
  local TIMEFORMAT='%R'
  for _ in 1 2 3 4 5; do
    { time "$@" >/dev/null 2>&1; } 2>&1
  done | sort -g | head -1
}
# threads NAME IN OUT: by the clock with one thread and with two; the result is a new file each time
threads() {
  local name=$1 in=$2 out=$3 one two
  again() { rm -f "${out%%.*}".*; "$mirel" apply --field "$field" "$in" -o "$out" --no-report --threads "$1"; }
  one=$(leastSeconds again 1)
  two=$(leastSeconds again 2)
  awk -v name="$name" -v one="$one" -v two="$two" \
    'BEGIN { printf "| `mirel apply --field`, %s | %.2f | %.2f | %.2f |\n", name, one, two, one / two }'
}
# correct NAME PHANTOM OPTIONS...
correct() {
  local name=$1 pair=$2/sub-phantom_dir-
  shift 2
  printf '| %s | %.2f |\n' "$name" "$(leastProcessorSeconds \
    "$mirel" correct "${pair}AP_epi.nii.gz" "${pair}PA_epi.nii.gz" -o corrected --overwrite "$@")"
}

"$mirel" phantom --volumes "$volumes" phantom >/dev/null
"$mirel" phantom --volumes 0 --motion 1.5 1 0.5 1 0.5 1 moved >/dev/null
field=phantom/sub-phantom_desc-truth_fieldmap.nii.gz
packed=phantom/sub-phantom_task-rest_dir-AP_bold.nii.gz
plain=${packed%.gz}
gzip -dc "$packed" >"$plain"
bytes=$(stat -c %s "$plain")

echo "$(date +%F), load $(cut -d' ' -f1 /proc/loadavg) at the start."
echo
echo "| \`mirel correct\` of a pair of 90x104x60, .nii.gz | processor s |"
echo "|---|---|"
correct "as it is, with the report" phantom
correct "without the report" phantom --no-report
correct "the same of a head that moved" moved --no-report
correct "\`--estimator search --fast\`" phantom --no-report --estimator search --fast
echo
echo "| $volumes volumes of 90x104x60, int16, $((bytes / 1000000)) MB | processor s | MB/s | size of the result |"
echo "|---|---|---|---|"
apply ".nii to .nii" "$plain" out.nii
rm -f out.*
apply ".nii to .nii.gz" "$plain" out.nii.gz
apply ".nii.gz to .nii.gz" "$packed" out.nii.gz
row "\`cp\`" copy cp "$plain" copy
row "\`gzip -4\`" copy.gz sh -c "gzip -4 <'$plain' >copy.gz"
row "\`gzip -d\`" copy sh -c "gzip -d <copy.gz >copy"
echo
echo "| the same series | s by the clock, one thread | two threads | times as fast |"
echo "|---|---|---|---|"
threads ".nii to .nii" "$plain" out.nii
threads ".nii to .nii.gz" "$plain" out.nii.gz
threads ".nii.gz to .nii.gz" "$packed" out.nii.gz
