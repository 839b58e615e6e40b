#!/usr/bin/env bash
# Times `mirel apply` on a simulated series of 16-bit integers, in processor seconds (both modes, all
# threads), beside a plain copy and gzip of it, and prints the table in Markdown; the least of three
# runs each. Usage: scripts/bench-apply.sh [build folder]
# MIREL_BENCH_VOLUMES=20 takes a shorter series than 200 volumes.
set -euo pipefail
build=$(realpath "${1:-$(dirname "$0")/../build/release}")
volumes=${MIREL_BENCH_VOLUMES:-200}
cd "$(mktemp -d)"
trap 'rm -rf "$PWD"' EXIT

"$build/bin/mirel" phantom --volumes "$volumes" phantom >/dev/null
field=phantom/sub-phantom_desc-truth_fieldmap.nii.gz
packed=phantom/sub-phantom_task-rest_dir-AP_bold.nii.gz
plain=${packed%.gz}
gzip -dc "$packed" >"$plain"
bytes=$(stat -c %s "$plain")

processorSeconds() {
  local TIMEFORMAT='%U %S'
  { time "$@" >/dev/null 2>&1; } 2>&1 | awk '{ print $1 + $2 }'
}
# row NAME RESULT COMMAND...: what COMMAND takes to write the file RESULT
row() {
  local name=$1 result=$2 least
  shift 2
  least=$(for _ in 1 2 3; do processorSeconds "$@"; done | sort -g | head -1)
  awk -v name="$name" -v s="$least" -v size="$(stat -c %s "$result")" -v bytes="$bytes" \
    'BEGIN { printf "| %s | %.2f | %.0f | %.3f |\n", name, s, bytes / 1e6 / s, size / bytes }'
}
apply() {
  row "\`mirel apply --field\`, $1" "$3" \
    "$build/bin/mirel" apply --field "$field" "$2" -o "$3" --overwrite --no-report
}

echo "| $volumes volumes of 90x104x60, int16, $((bytes / 1000000)) MB | processor s | MB/s | size of the result |"
echo "|---|---|---|---|"
apply ".nii to .nii" "$plain" out.nii
rm -f out.*
apply ".nii to .nii.gz" "$plain" out.nii.gz
apply ".nii.gz to .nii.gz" "$packed" out.nii.gz
row "\`cp\`" copy cp "$plain" copy
row "\`gzip -4\`" copy.gz sh -c "gzip -4 <'$plain' >copy.gz"
row "\`gzip -d\`" copy sh -c "gzip -d <copy.gz >copy"
