#!/usr/bin/env bash
# The main job on a simulated head: make a distorted pair, estimate the displacement map, correct
# both images and say how good that is. Usage: scripts/demo.sh BUILD_FOLDER [FOLDER]
set -euo pipefail
mirel=$1/bin/mirel
folder=${2:-demo}

"$mirel" phantom "$folder" > /dev/null
ap=$folder/sub-phantom_dir-AP_epi
pa=$folder/sub-phantom_dir-PA_epi
mask=$folder/sub-phantom_desc-brain_mask.nii.gz

echo "== mirel estimate $ap.fmr $pa.fmr --ic --apply"
"$mirel" estimate "$ap.fmr" "$pa.fmr" --ic --apply
"$mirel" convert "${ap}_undist.fmr" "${ap}_undist.nii.gz" > /dev/null
"$mirel" convert "${pa}_undist.fmr" "${pa}_undist.nii.gz" > /dev/null
"$mirel" picture "$ap.nii.gz" "$pa.nii.gz" "${ap}_undist.nii.gz" "${pa}_undist.nii.gz" \
  "${ap}_vdm.map" --label "AP" --label "PA" --label "AP corrected" --label "PA corrected" \
  --label "displacement" --contour "$mask" --contour-label "true brain" --slice axial:22 \
  --slice sagittal --common-window --pixels 2 -o "$folder/before_and_after.png" > /dev/null

echo
echo "AP and PA inside the brain, before: $("$mirel" compare "$ap.nii.gz" "$pa.nii.gz" --mask "$mask")"
echo "AP and PA inside the brain, after:  $("$mirel" compare "${ap}_undist.nii.gz" "${pa}_undist.nii.gz" --mask "$mask")"
echo "Map and true displacement, voxels:  $("$mirel" compare "${ap}_vdm.map" "$folder/sub-phantom_desc-truth_displacement.nii.gz" --mask "$mask")"
echo
echo "Corrected images: ${ap}_undist.nii.gz"
echo "                  ${pa}_undist.nii.gz"
echo "Picture:          $folder/before_and_after.png"
