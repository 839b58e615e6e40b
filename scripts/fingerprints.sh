#!/usr/bin/env bash
# Fingerprints of all that the program does, to tell whether two builds do the same:
#   scripts/fingerprints.sh BUILD_FOLDER [KEEP_FOLDER] > one.txt;  diff one.txt other.txt
# Runs every command of BUILD_FOLDER/bin/mirel, with many options and with wrong inputs
# (scripts/fingerprints/*.sh), on data that it makes itself, and prints one line per command (exit
# status, standard output, standard error) and one per file that it left. Elapsed times, the
# program's version and places on the disk are masked; all else counts. A compressed image has two
# lines: its content (X.nii.gz.content), and the file itself unless the version stands inside.
# KEEP_FOLDER/CASE keeps what a command left, CASE.command, CASE.out and CASE.err beside it what was
# run and what it said, all of it as it was hashed, for cmp and diff. About a minute.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
bin=$(cd "${1:?usage: fingerprints.sh BUILD_FOLDER [KEEP_FOLDER]}/bin" && pwd)
mirel=$bin/mirel
if [ $# -ge 2 ]; then
  mkdir -p "$2"
  work=$(cd "$2" && pwd)
  [ -z "$(ls -A "$work")" ] || { echo "$2 is not empty." >&2; exit 1; }
else
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
fi
export LC_ALL=C TERM=dumb
unset MIREL_SIMD MIREL_TEST_DATA
version=$("$mirel" --version)
version=${version##* }

# Copies files (patterns) of other cases into the folder of a case, where a command finds them.
with() { # CASE PATTERN...
  mkdir -p "$work/$1"
  local pattern
  for pattern in "${@:2}"; do
    # shellcheck disable=SC2086
    (cd "$work" && cp $pattern "$1/")
  done
}

# Runs the program in the folder of a case.
run() { # CASE WORD...
  local name=$1 status=0
  shift
  [ ! -e "$work/$name.out" ] || { echo "two cases have the name $name" >&2; exit 1; }
  mkdir -p "$work/$name"
  (cd "$work/$name" && exec "$mirel" "$@") >"$work/$name.out" 2>"$work/$name.err" </dev/null || status=$?
  printf '%s\n' "mirel $*" "exit status $status" >"$work/$name.command"
}

image() { perl "$here/fingerprints-image.pl" "$@"; }

for part in "$here"/fingerprints/*.sh; do
  # shellcheck source=/dev/null
  source "$part"
done

cd "$work"
find . -type f -name '*.nii.gz' -print0 | while IFS= read -r -d '' file; do
  gzip -dc "$file" >"$file.content" 2>>.gzip || true
done
rm -f .gzip
find . -type f -name '*.content' -print0 | xargs -0 grep -alF "Mirel $version" | sed 's/\.content$//' |
  xargs -d '\n' -r rm -f
find . -type f ! -name '*.nii.gz' -print0 | xargs -0 sed -i -e "s/${version//./\\.}/VERSION/g" \
  -e "s|$work|WORK|g" -e "s|$bin|BIN|g" -e 's/Time taken: [0-9.e+-]*/Time taken: TIME/'
find . -type f -printf '%P\0' | sort -z | xargs -0 sha256sum | sort -k 2
