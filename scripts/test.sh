#!/usr/bin/env bash
# Runs the tests of a build: scripts/test.sh PRESET BUILD [OPTIONS OF CTEST...]. What ctest counts are
# suites; the last line counts tests.
set -uo pipefail
cd "$(dirname "$0")/.."
log=$2/Testing/Temporary/LastTest.log
status=0
rm -f "$log"
ctest --preset "$1" "${@:3}" || status=$?

passed=0 failed=1 skipped=0
read -r passed failed skipped < <(awk -f scripts/count-tests.awk "$log")

echo "$skipped skipped"
echo "$passed passed, $failed failed"
[ "$status" -eq 0 ] && [ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
