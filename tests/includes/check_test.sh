#!/usr/bin/env bash
# Runs the check of includes on a small tree without faults and on the same with one fault each.
# Usage: check_test.sh CHECK
set -euo pipefail
check=$1
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
failures=0

# A lower and an upper folder, the upper one with a folder of its own.
makeTree() {
  rm -rf "${tree:?}"/*
  mkdir -p "$tree"/src/{lower,upper/inner}
  cat > "$tree/ARCHITECTURE.md" <<'END'
| folder | may include | what it holds |
|---|---|---|
| `lower` | | what others need |
| `upper/inner` | `lower` | some of it |
| `upper` | `lower`, `upper/inner` | all of it |
END
  echo 'mirel_library(mirel_lower SOURCES a.cpp)' > "$tree/src/lower/CMakeLists.txt"
  printf 'mirel_library(mirel_inner\n  SOURCES b.cpp\n  USES mirel_lower)\n' > "$tree/src/upper/inner/CMakeLists.txt"
  printf 'mirel_library(mirel_upper\n  SOURCES c.cpp\n  USES mirel_inner mirel_lower)\n' > "$tree/src/upper/CMakeLists.txt"
  echo '#include <vector>' > "$tree/src/lower/a.h"
  echo '#include "lower/a.h"' | tee "$tree/src/lower/a.cpp" > "$tree/src/upper/inner/b.h"
  printf '#include "lower/a.h"\n#include "upper/inner/b.h"\n' > "$tree/src/upper/c.cpp"
}

# expect WHAT STATUS TEXT: the check of the tree ends with STATUS and says TEXT.
expect() {
  local status=0 said
  said=$("$check" "$tree" 2>&1) || status=$?
  if [ "$status" -ne "$2" ] || [[ "$said" != *"$3"* ]]; then
    echo "$1: status $status, wanted $2 with \"$3\"; it said: $said"
    failures=$((failures + 1))
  fi
}

makeTree
expect "a tree without faults" 0 ""

makeTree
echo '  #  include "upper/c.h"' >> "$tree/src/lower/a.h"
expect "an include that runs up" 1 "src/lower/a.h:2: includes upper/c.h, but ARCHITECTURE.md does not let lower include upper"

makeTree
echo '#include "upper/c.h"' >> "$tree/src/upper/inner/b.h"
expect "an inner folder that includes the outer one" 1 "src/upper/inner/b.h:2: includes upper/c.h"

makeTree
echo '#include "a.h"' >> "$tree/src/lower/a.cpp"
expect "a name without its folder" 1 'src/lower/a.cpp:2: "a.h" is not named from src/ on'

makeTree
printf 'mirel_library(mirel_lower\n  SOURCES a.cpp\n  USES mirel_upper)\n' > "$tree/src/lower/CMakeLists.txt"
expect "a library that runs up" 1 "links mirel_upper, but ARCHITECTURE.md does not let lower include upper"

makeTree
echo 'target_link_libraries(mirel_inner PRIVATE mirel_upper)' >> "$tree/src/upper/inner/CMakeLists.txt"
expect "a library that is linked outside of USES" 1 "links mirel_upper, but"

makeTree
sed -i 's/| `lower` | |/| `lower` | `upper` |/' "$tree/ARCHITECTURE.md"
expect "a circle" 1 "a circle: "

makeTree
sed -i '/upper\/inner` | `lower/d' "$tree/ARCHITECTURE.md"
expect "a folder without a line" 1 "ARCHITECTURE.md has no line for the folder upper/inner"

makeTree
echo '| `gone` | | nothing |' >> "$tree/ARCHITECTURE.md"
expect "a line without a folder" 1 "there is no folder src/gone"

exit $((failures > 0))
