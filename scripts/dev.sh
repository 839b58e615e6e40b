#!/usr/bin/env bash
# One script for everything: scripts/dev.sh build | test | demo | asan | dev | bench | lint
set -euo pipefail
cd "$(dirname "$0")/.."

build() { # preset
  cmake --preset "$1" >"build-$1.log" 2>&1 || { cat "build-$1.log" >&2; rm -f "build-$1.log"; exit 1; }
  rm -f "build-$1.log"
  cmake --build --preset "$1"
}

case "${1:-}" in
  build) scripts/setup.sh; build release ;;
  test)  scripts/setup.sh; build release; ctest --preset release ;;
  dev)   scripts/setup.sh; build dev; ctest --preset dev ;;
  asan)  scripts/setup.sh; build asan; ctest --preset asan ;;
  bench) scripts/setup.sh libbenchmark-dev; build release; scripts/bench.sh build/release ;;
  demo)  scripts/setup.sh; build release; scripts/demo.sh build/release ;;
  *) sed -n '2s/^# //p' "$0" >&2; exit 2 ;;
esac
