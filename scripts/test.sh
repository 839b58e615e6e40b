#!/usr/bin/env bash
# Runs the tests of a build: scripts/test.sh PRESET BUILD [OPTIONS OF CTEST...]. What ctest counts are
# suites; the last line counts tests.
set -uo pipefail
cd "$(dirname "$0")/.."
log=$2/Testing/Temporary/LastTest.log
status=0
rm -f "$log"
ctest --preset "$1" "${@:3}" || status=$?

# Of each entry of the log what GoogleTest says at its end. Another program is one test; so is a suite
# that failed without saying which test did (it crashed, or took too long).
passed=0 failed=1 skipped=0
read -r passed failed skipped < <(awk '
  function count() { if (!inside) return
    passed += ok; failed += bad; skipped += left
    if (!ok && !bad && !left) { if (entry) passed++; else failed++ }
    else if (!entry && !bad) failed++ }
  /^[0-9]+\/[0-9]+ Test: /   { count(); inside = 1; ok = bad = left = entry = 0 }
  /^\[  PASSED  \] [0-9]+ test/ { ok = $4 }
  /^\[  FAILED  \] [0-9]+ test.*listed below:$/ { bad = $4 }
  /^\[  SKIPPED \] [0-9]+ test.*listed below:$/ { left = $4 }
  /^Test Passed\.$/ { entry = 1 }
  END { count(); print passed + 0, failed + 0, skipped + 0 }' "$log")

echo "$skipped skipped"
echo "$passed passed, $failed failed"
[ "$status" -eq 0 ] && [ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
