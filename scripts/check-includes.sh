#!/usr/bin/env bash
# Checks src/ against the table "| folder | may include | what it holds |" of ARCHITECTURE.md: every
# #include "...", every library that a CMakeLists.txt links, and that no folder includes itself by a
# way round. Prints each fault with its file and line; fails when there is one.
# Usage: scripts/check-includes.sh [ROOT]
set -euo pipefail
cd "${1:-$(dirname "$0")/..}"

mapfile -t lists < <(find src -name CMakeLists.txt | sort)
mapfile -t sources < <(find src -name '*.h' -o -name '*.cpp' | sort)

exec awk -v lists="${#lists[@]}" '
function fault(where, what) { print where ": " what; ++faults }
function folderOf(path) { sub(/^src\//, "", path); sub(/\/?[^\/]*$/, "", path); return path }

# The lines of the table: | `folder` | `one`, `another` | text |
function readRow(line,    cell, names, count, i) {
  if (split(line, cell, "|") < 4 || cell[2] !~ /^ *`[a-z\/]+` *$/) return
  gsub(/[ `]/, "", cell[2])
  if (cell[2] in row) fault(FILENAME ":" FNR, "a second line for " cell[2])
  row[cell[2]] = FILENAME ":" FNR
  count = split(cell[3], names, ",")
  for (i = 1; i <= count; ++i) {
    gsub(/[ `]/, "", names[i])
    if (names[i] ~ /^[a-z\/]+$/) allowed[cell[2], names[i]] = 1
  }
}

# Which folder a target is of; first reading of the lists.
function readTargets(text, folder,    name) {
  while (match(text, /(mirel_library|add_library|add_executable)\([A-Za-z_]+/)) {
    name = substr(text, RSTART, RLENGTH)
    text = substr(text, RSTART + RLENGTH)
    sub(/.*\(/, "", name)
    home[name] = folder
  }
}

# What targets link; second reading.
function checkLinks(text, folder,    call, words, count, i, linked) {
  while (match(text, /(mirel_library|target_link_libraries)\([^)]*\)/)) {
    call = substr(text, RSTART, RLENGTH)
    text = substr(text, RSTART + RLENGTH)
    linked = call ~ /^target_link/
    count = split(substr(call, index(call, "(") + 1, length(call)), words, /[ \t\n)]+/)
    for (i = 2; i <= count; ++i) {
      if (words[i] == "USES") linked = 1
      else if (linked && (words[i] in home)) checkArrow(folder, home[words[i]], listName, "links " words[i])
    }
  }
}

function checkArrow(from, to, where, deed) {
  if (from != to && !((from, to) in allowed))
    fault(where, deed ", but ARCHITECTURE.md does not let " from " include " to)
}

# Goes along the arrows of the table; a folder on its own way is on a circle.
function visit(folder, way,    other) {
  if (state[folder] == 2) return
  if (state[folder] == 1) { fault(row[folder], "a circle: " way); return }
  state[folder] = 1
  for (other in row) if ((folder, other) in allowed) visit(other, way " -> " other)
  state[folder] = 2
}

function endOfList() {
  if (listName == "") return
  if (reading == 1) readTargets(text, folderOf(listName)); else checkLinks(text, folderOf(listName))
  text = listName = ""
}

FNR == 1 {
  endOfList()
  ++file
  reading = file == 1 ? 0 : file <= 1 + lists ? 1 : file <= 1 + 2 * lists ? 2 : 3
  if (reading == 1 || reading == 2) listName = FILENAME
  if (reading == 3 && !(folderOf(FILENAME) in row) && !(folderOf(FILENAME) in missing)) {
    missing[folderOf(FILENAME)] = 1
    fault(FILENAME, "ARCHITECTURE.md has no line for the folder " folderOf(FILENAME))
  }
}
reading == 0 { readRow($0) }
reading == 1 || reading == 2 { sub(/#.*/, ""); text = text " " $0 }
reading == 3 {
  here[folderOf(FILENAME)] = 1
  if ($0 !~ /^[ \t]*#[ \t]*include[ \t]*"/) next
  split($0, quoted, "\"")
  if (quoted[2] !~ /\//) fault(FILENAME ":" FNR, "\"" quoted[2] "\" is not named from src/ on")
  else checkArrow(folderOf(FILENAME), folderOf(quoted[2]), FILENAME ":" FNR, "includes " quoted[2])
}
END {
  for (folder in row) {
    if (!(folder in here)) fault(row[folder], "there is no folder src/" folder)
    visit(folder, folder)
  }
  for (arrow in allowed) {
    split(arrow, ends, SUBSEP)
    if (!(ends[2] in row)) fault(row[ends[1]], "there is no line for " ends[2])
  }
  if (faults) { print faults " faults"; exit 1 }
}
' ARCHITECTURE.md "${lists[@]}" "${lists[@]}" "${sources[@]}"
