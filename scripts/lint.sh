#!/usr/bin/env bash
# The layout of every file (clang-format), the includes (check-includes.sh), and what clang-tidy finds
# in src/, two files at a time. Without an argument clang-tidy reads only the files that differ from
# the branch main; a changed header counts as all files of its folder.
# With --layout clang-tidy is left out, with --quick its analyzer of paths, which is half of its time.
# Usage: scripts/lint.sh [--all | --layout] [--quick]   after: cmake --preset lint
set -euo pipefail
cd "$(dirname "$0")/.."

folderOf() { find "$(dirname "$1")" -maxdepth 1 -name '*.cpp'; }

filesToRead() {
  if [ "${1:-}" = --all ] || ! git rev-parse -q --verify main > /dev/null; then
    find src -name '*.cpp'
    return
  fi
  local file
  { git diff --name-only "$(git merge-base main HEAD)"; git ls-files --others --exclude-standard; } |
    while read -r file; do
      [ -e "$file" ] || continue
      case $file in
        src/*.cpp) echo "$file" ;;
        src/*.h) folderOf "$file" ;;
      esac
    done
}

git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run -Werror
echo "clang-format: no file to lay out anew"
scripts/check-includes.sh
echo "includes: as ARCHITECTURE.md says"
[ "${1:-}" != --layout ] || exit 0
# The kernels' vectors are g++'s own, and the font is a table of bytes.
readable() { grep -v 'fontdata\.cpp$' | xargs -r grep -L 'kernelvariants\.inc\.h'; }

checks=()
[[ " $* " != *" --quick "* ]] || checks=(--checks=-clang-analyzer-*)
mapfile -t files < <(filesToRead "$@" | sort -u | readable)
[ "${#files[@]}" -eq 0 ] || printf '%s\n' "${files[@]}" |
  xargs -P 2 -n 4 clang-tidy -p build/lint --quiet --warnings-as-errors='*' "${checks[@]}"
echo "clang-tidy: nothing in ${#files[@]} files"
