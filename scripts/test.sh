#!/usr/bin/env bash
# Runs the tests of a build: scripts/test.sh PRESET BUILD [OPTIONS OF CTEST...]. What ctest counts are
# suites; the last line counts tests.
set -uo pipefail
cd "$(dirname "$0")/.."
log=$2/Testing/Temporary/LastTest.log
status=0
rm -f "$log"
ctest --preset "$1" "${@:3}" || status=$?

counts=$(awk -f scripts/count-tests.awk "$log") || counts="0 1 0"  # no test was run
read -r passed failed skipped <<< "$counts"
echo "$skipped skipped"
echo "$passed passed, $failed failed"
[ "$status" -eq 0 ] && [ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
