#!/usr/bin/env bash
# Replaces a part of BENCHMARKS.md, from the line <!-- NAME --> to the line <!-- /NAME -->, by
# standard input: scripts/bench.sh | scripts/into-benchmarks.sh times
set -euo pipefail
name=${1:?usage: into-benchmarks.sh times|instructions}
file=$(dirname "$0")/../BENCHMARKS.md
grep -q "^<!-- $name -->\$" "$file" || { echo "BENCHMARKS.md has no part $name." >&2; exit 1; }
text=$(cat)
[ -n "$text" ] || { echo "Nothing to put into BENCHMARKS.md." >&2; exit 1; }
new=$(TEXT=$text awk -v name="$name" '
  $0 == "<!-- /" name " -->" { inside = 0 }
  !inside { print }
  $0 == "<!-- " name " -->" { inside = 1; print ENVIRON["TEXT"] }' "$file")
printf '%s\n' "$new" >"$file"
