#!/usr/bin/env bash
# One script for everything: scripts/dev.sh build | demo | test | dev | asan | tsan | lint | fuzz
# [SECONDS [TARGET...]] | faults | cluster | container | validator | valgrind | asan-ci | bench | ci
set -euo pipefail
cd "$(dirname "$0")/.."

setup() { # [LIST OF PACKAGES...], beside that of the program
  local list packages=()
  for list in "$@"; do mapfile -t -O "${#packages[@]}" packages < "scripts/packages-$list.txt"; done
  scripts/setup.sh "${packages[@]}"
}

configure() { # preset
  cmake --preset "$1" >"build-$1.log" 2>&1 || { cat "build-$1.log" >&2; rm -f "build-$1.log"; exit 1; }
  rm -f "build-$1.log"
}

build() { # preset
  configure "$1"
  cmake --build --preset "$1"
}

case "${1:-}" in
  build) setup; build program ;;
  demo)  setup; build program; scripts/demo.sh build/release ;;
  test)  setup test; build release; scripts/test.sh release build/release ;;
  dev)   setup test; build dev; scripts/test.sh dev build/dev ;;
  asan)  setup test; build asan; scripts/test.sh asan build/asan ;;
  asan-ci) setup test fuzz; build asan-ci; scripts/test.sh asan-ci build/fuzz ;;
  tsan)  setup test; build tsan; scripts/test.sh tsan build/tsan ;;
  lint)  setup lint; configure lint; scripts/lint.sh "${@:2}" ;;
  fuzz)  setup fuzz; build fuzz; scripts/fuzz.sh build/fuzz "${2:-600}" "${@:3}" ;;
  valgrind) setup valgrind; build program; scripts/valgrind.sh build/release ;;
  faults) setup test; build release; MIREL_FAULT_SWEEP=all build/release/bin/faults_test ;;
  cluster) setup cluster; build program; scripts/cluster.sh build/release ;;
  container) scripts/setup.sh $(cat scripts/packages-container.txt); scripts/container.sh ;;
  validator) setup; build program; scripts/validator.sh build/release ;;
  bench) setup test bench; build release; scripts/bench.sh build/release; scripts/bench-commands.sh build/release ;;
  ci)    setup test lint fuzz; scripts/ci.sh ;;
  *) sed -n '2,3s/^# //p' "$0" >&2; exit 2 ;;
esac
