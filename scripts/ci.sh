#!/usr/bin/env bash
# Continuous integration. Each step counts as one check, a run of tests as its tests; the last line
# is the sum. A step that fails does not keep the next ones from running.
#   lint    layout, includes, clang-tidy without its analyzer on all of src/
#   tests   all of them, as users get the program, the corpus of the fuzzers among them
#   asan    what reads foreign files, under AddressSanitizer and UBSan
#   fuzz    a minute in all, likewise under both
set -uo pipefail
cd "$(dirname "$0")/.."
passed=0
failed=0

step() { # NAME COMMAND...
  local log status=0 tests good bad
  log=$(mktemp)
  echo "== $1"
  SECONDS=0
  "${@:2}" 2>&1 | tee "$log" || status=$?
  echo "== $1: status $status after $SECONDS s"
  # "700 passed, 1 failed"
  tests=$(sed -n 's/^\([0-9]*\) passed, \([0-9]*\) failed$/\1 \2/p' "$log" | tail -1)
  rm -f "$log"
  if [ -n "$tests" ]; then
    read -r good bad <<< "$tests"
    passed=$((passed + good))
    failed=$((failed + bad))
    [ "$status" -eq 0 ] || [ "$bad" -gt 0 ] || failed=$((failed + 1))
  elif [ "$status" -eq 0 ]; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
  fi
}

step "lint" scripts/dev.sh lint --all --quick
step "tests" scripts/dev.sh test
step "asan" scripts/dev.sh asan-ci
step "fuzz" scripts/dev.sh fuzz 60

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
