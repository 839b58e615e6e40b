#!/usr/bin/env bash
# Draws docs/images/report.png: verdict and viewer of the report on a simulated head, as headless
# Chromium shows them.
# Usage: scripts/report-picture.sh BUILD_FOLDER
set -euo pipefail
cd "$(dirname "$0")/.."
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

"$1/bin/mirel" phantom "$folder" --volumes 0 > /dev/null
"$1/bin/mirel" correct "$folder"/sub-phantom_dir-{AP,PA}_epi.nii.gz --quiet -o "$folder/out" > /dev/null
node scripts/report-picture.mjs "$(command -v chromium)" "$folder/out/report.html" "$folder/profile" \
  docs/images/report.png
