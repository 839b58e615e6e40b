#!/usr/bin/env bash
# Every command on tiny images under valgrind: a value that was never set, and what AddressSanitizer
# sees, is a failure. Slower by far than the sanitized tests, but the libraries are watched as well.
# Usage: scripts/valgrind.sh BUILD
set -euo pipefail
mirel=$(realpath "$1")/bin/mirel
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
count=0

run() {
  local status=0
  valgrind -q --error-exitcode=99 --track-origins=yes --num-callers=20 "$mirel" "$@" \
    > out 2> err || status=$?
  [ "$status" -eq 0 ] || { echo "mirel $*: status $status"; grep -E '^==|rror' err | head -40; exit 1; }
  count=$((count + 1))
}

run phantom p --size 12 14 8 --volumes 3
cd p
ap=sub-phantom_dir-AP_epi pa=sub-phantom_dir-PA_epi run=sub-phantom_task-rest_dir-AP_bold
field=sub-phantom_desc-truth_fieldmap.nii.gz
run correct $ap.nii.gz $pa.nii.gz --apply $run.nii.gz --warp -o corrected
run correct $ap.nii.gz $pa.nii.gz --no-motion --no-modulate --float -o still
run correct $ap.nii.gz $pa.nii.gz --ssd --ic -o searched
run correct $ap.nii.gz $pa.nii.gz --fast --json -o fast
run apply --field $field $run.nii.gz --warp --threads 2 -o applied
run field --help
run estimate $ap.fmr $pa.fmr
run estimate $ap.fmr $pa.fmr --ncc --ic
run apply --vdm ${ap}_vdm.map $run.fmr
run check $ap.fmr $pa.fmr
run info $ap.fmr
run info $run.nii.gz --json
run convert $run.nii.gz again.dmr
run convert again.dmr again.nii.gz
run convert ${ap}_vdm.map map.nii.gz
run picture $ap.nii.gz -o a.png
run compare $ap.nii.gz $pa.nii.gz
echo "valgrind: nothing found in $count commands"
