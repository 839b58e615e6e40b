#!/usr/bin/env bash
# Counts logs that say each kind of thing: count_test.sh COUNT-TESTS.AWK
set -uo pipefail
faults=0

expect() { # "PASSED FAILED SKIPPED" LOG
  local found
  found=$(printf '%b' "$2" | awk -f "$awk")
  [ "$found" = "$1" ] || { echo "expected $1, found $found, of:"; printf '%b' "$2"; faults=1; }
}

awk=$1
entry='1/9 Test: some_test: Some\n'
expect "3 0 0" "$entry[  PASSED  ] 3 tests.\nTest Passed.\n"
expect "1 0 2" "$entry[  PASSED  ] 1 test.\n[  SKIPPED ] 2 tests, listed below:\n[  SKIPPED ] A.B\nTest Passed.\n"
expect "0 0 1" "$entry[  PASSED  ] 0 tests.\n[  SKIPPED ] 1 test, listed below:\nTest Passed.\n"
expect "2 1 0" "$entry[  PASSED  ] 2 tests.\n[  FAILED  ] 1 test, listed below:\n[  FAILED  ] A.B\nTest Failed.\n"
expect "0 1 0" "$entry[ RUN      ] A.B\nTest Failed.\n"                 # crashed
expect "0 1 0" "$entry[       OK ] A.B (1 ms)\n"                        # took too long
expect "5 1 0" "$entry[  PASSED  ] 5 tests.\nTest Failed.\n"            # crashed after its last test
expect "1 0 0" "1/9 Test: includes\nas ARCHITECTURE.md says\nTest Passed.\n"
expect "4 1 0" "$entry[  PASSED  ] 3 tests.\nTest Passed.\n2/9 Test: x\nTest Passed.\n3/9 Test: y\nTest Failed.\n"
expect "0 0 0" ""
exit "$faults"
