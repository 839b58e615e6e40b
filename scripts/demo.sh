#!/usr/bin/env bash
# The main job on a simulated head, whose truth is known: make a distorted pair, correct it with
# `mirel correct`, then the same pair as projects with the plugin, and say how good both are.
# Usage: scripts/demo.sh BUILD_FOLDER [FOLDER]
set -euo pipefail
mirel=$1/bin/mirel
folder=${2:-demo}
out=$folder/corrected
ap=$folder/sub-phantom_dir-AP_epi
pa=$folder/sub-phantom_dir-PA_epi
truth=$folder/sub-phantom_desc-undistorted_epi.nii.gz
shifts=$folder/sub-phantom_desc-truth_displacement.nii.gz
mask=$folder/sub-phantom_desc-brain_mask.nii.gz

# alike A B, apart A B: correlation and root mean square difference in the brain.
figure() {
  "$mirel" compare "$2" "$3" --mask "$mask" --json | sed -n "s/.*\"$1\": \([^,]*\).*/\1/p"
}
alike() { printf '%.3f' "$(figure correlation "$1" "$2")"; }
apart() { printf '%.2f' "$(figure rootMeanSquareDifference "$1" "$2")"; }

echo "== mirel phantom $folder"
"$mirel" phantom "$folder" > /dev/null

echo
echo "== mirel correct $ap.nii.gz $pa.nii.gz -o $out"
"$mirel" correct "$ap.nii.gz" "$pa.nii.gz" -o "$out" > /dev/null
corrected_ap=$out/sub-phantom_dir-AP_desc-preproc_epi.nii.gz
corrected_pa=$out/sub-phantom_dir-PA_desc-preproc_epi.nii.gz
found=$out/sub-phantom_dir-AP_desc-voxels_vdm.nii.gz

echo
echo "== mirel estimate $ap.fmr $pa.fmr --ic --apply   (projects, through the plugin)"
"$mirel" estimate "$ap.fmr" "$pa.fmr" --ic --apply > /dev/null

"$mirel" picture "$ap.nii.gz" "$pa.nii.gz" "$corrected_ap" "$corrected_pa" "$truth" \
  --map "$found" --label "AP" --label "PA" --label "AP corrected" --label "PA corrected" \
  --label "truth" --label "displacement" --contour "$mask" --contour-label "true brain" \
  --slice axial:22 --slice sagittal --common-window --pixels 2 -o "$folder/before_and_after.png" > /dev/null

cat << END

How alike images are inside the brain (correlation, 1 where they are equal):
                                   before   after 'mirel correct'
  AP image and PA image            $(alike "$ap.nii.gz" "$pa.nii.gz")    $(alike "$corrected_ap" "$corrected_pa")
  AP image and undistorted truth   $(alike "$ap.nii.gz" "$truth")    $(alike "$corrected_ap" "$truth")
  PA image and undistorted truth   $(alike "$pa.nii.gz" "$truth")    $(alike "$corrected_pa" "$truth")

How far the map is from the true shifts inside the brain (root mean square, in voxels):
  mirel correct                    $(apart "$found" "$shifts")
  plugin                           $(apart "${ap}_vdm.map" "$shifts")
('mirel correct' moves signal back and scales it back where it has piled up; the plugin only moves
it: judge it by its map.)

Corrected images:  $corrected_ap
                   $corrected_pa
Corrected project: ${ap}_undist.fmr
Picture:           $folder/before_and_after.png
END
