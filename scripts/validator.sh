#!/usr/bin/env bash
# The validator of the BIDS standard (bids-validator 1.15 by npm) on generated datasets of all forms,
# corrected: the raw dataset with the results in its derivatives/, and the results alone. That version
# knows no names of derivatives: files that carry desc- are "not part of BIDS" to it (code 1), and
# subjects without others have no data (67); both are left out, and checked by the tests instead.
# Usage: scripts/validator.sh BUILD_FOLDER
set -euo pipefail
cd "$(dirname "$0")/.."
mirel=$PWD/$1/bin/mirel
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

command -v npm > /dev/null || { echo "There is no npm, which fetches the validator." >&2; exit 1; }
(cd "$work" && npm install --silent --no-audit --no-fund bids-validator@1.15.0 > npm.log 2>&1) ||
  { echo "npm cannot fetch bids-validator 1.15.0:" >&2; tail -n 3 "$work/npm.log" >&2; exit 1; }
echo '{"ignore": [1, 67]}' > "$work/names.json"

validate() { # WHAT FOLDER [MORE...]
  local log=$work/report
  "$work/node_modules/.bin/bids-validator" "${@:2}" > "$log" 2>&1 || { cat "$log" >&2; exit 1; }
  echo "$1: no error; warnings: $(grep -o 'code: [0-9]* - [A-Z_]*' "$log" | tr '\n' ';')"
}

# Each subject is linked in another way; see the README of the dataset.
for sessions in 0 2; do
  study=$work/sessions-$sessions
  "$mirel" phantom --bids "$study" --subjects 4 --sessions $sessions --size 32 36 24 --voxel 6 > /dev/null
  validate "$sessions sessions, raw" "$study"
  "$mirel" bids "$study" "$study/derivatives/mirel" participant --quiet > /dev/null
  "$mirel" bids "$study" "$study/derivatives/mirel" group > /dev/null
  validate "$sessions sessions, with derivatives" "$study"
  mv "$study/derivatives/mirel" "$work/alone-$sessions"
  validate "$sessions sessions, derivatives alone" "$work/alone-$sessions" --config "$work/names.json"
done
