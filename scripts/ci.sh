#!/usr/bin/env bash
# Continuous integration. Each step counts as one check, a run of tests as its tests; the last line
# is the sum. A step that fails does not keep the next ones from running.
#   lint   layout, includes, clang-tidy on all of src/, every file with its own includes only
#   tests  all of them, as users get the program
#   asan   the program's black-box tests and the readers' tests, under AddressSanitizer and UBSan
#   tsan   the tests of what is threaded, under ThreadSanitizer
set -uo pipefail
cd "$(dirname "$0")/.."
passed=0
failed=0

step() { # NAME COMMAND...
  local log status=0 tests
  log=$(mktemp)
  echo "== $1"
  SECONDS=0
  "${@:2}" 2>&1 | tee "$log" || status=$?
  echo "== $1: status $status after $SECONDS s"
  # "99% tests passed, 1 tests failed out of 700"
  tests=$(sed -n 's/.*tests passed, \([0-9]*\) tests failed out of \([0-9]*\).*/\1 \2/p' "$log" | tail -1)
  rm -f "$log"
  if [ -n "$tests" ]; then
    read -r bad all <<< "$tests"
    passed=$((passed + all - bad))
    failed=$((failed + bad))
    [ "$status" -eq 0 ] || [ "$bad" -gt 0 ] || failed=$((failed + 1))
  elif [ "$status" -eq 0 ]; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
  fi
}

build() { cmake --preset "$1" > /dev/null && cmake --build --preset "${2:-$1}"; }

step "layout, includes, clang-tidy: configure" cmake --preset lint
step "layout, includes, clang-tidy" scripts/lint.sh --all
step "compile without precompiled headers" cmake --build --preset lint
step "build" build release
step "tests" ctest --preset release
step "build for the address sanitizer" build asan asan-ci
step "tests under the address sanitizer" ctest --preset asan-ci
step "build for the thread sanitizer" build tsan
step "tests under the thread sanitizer" ctest --preset tsan

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
