# Fields and maps applied to images.
jf=${j}_desc-truth_fieldmap.nii.gz if=${i}_desc-truth_fieldmap.nii.gz
jd=${j}_desc-truth_displacement.nii.gz id=${i}_desc-truth_displacement.nii.gz
jref=${j}_desc-undistorted_epi.nii.gz
other_bold=${otherj}_task-rest_dir-AP_bold.nii.gz

run apply.field apply --field "$jf" "$jbold" -o out
run apply.field.pair apply --field "$jf" "$ja" "$jb" -o out --warp --modulate --reference "$jref"
run apply.field.i apply --field "$if" "$ia" "$ib" "$ibold" -o out --warp --reference "${i}_desc-undistorted_epi.nii.gz"
run apply.field.k apply --field "$jf" "$ka" -o out --warp --reference "$jref"
run apply.field.k.modulate apply --field "$jf" "$kbold" -o out --warp --modulate --float --quiet
run apply.field.opposite apply --field "$jf" "$jbold" -o out --pe j --reference "$jref"
run apply.field.opposite.quiet apply --field "$jf" "$ja" -o out --pe j --reference "$jref" --quiet
run apply.field.axis apply --field "$jf" "$ja" -o out --pe i- --readout 0.02 --warp
run apply.field.readout apply --field "$jf" "$jbold" -o out --readout 0.02 --float --threads 1
run apply.field.otherj apply --field "$jf" "$other_bold" -o out --warp --reference "$jref"
run apply.field.otheri apply --field "$jf" "${otheri}_task-rest_dir-RL_bold.nii.gz" -o out --warp --modulate
run apply.field.rotated apply --field "$jf" ../odd/rotated.nii.gz -o out --pe j- --readout 0.05 --warp
run apply.field.partly apply --field "$jf" ../odd/partly.nii.gz -o out --pe k --readout 0.05
run apply.field.nan apply --field ../odd/field-nan.nii.gz "$ja" -o out
run apply.field.image apply --field "$jf" "$ja" -o named.nii.gz
run apply.field.plainimage apply --field "$jf" "$ja" -o deep/er/named_epi.nii --warp
run apply.field.dresses apply --field "$jf" ../odd/big-endian.nii.gz ../odd/scaled.nii.gz ../odd/ap.nii \
  ../odd/floats.nii.gz ../odd/qform-only.nii.gz ../odd/no-orientation.nii.gz ../odd/slices.nii.gz \
  --pe j- --readout 0.05 -o out
run apply.field.nanimage apply --field "$jf" ../odd/nan.nii.gz --pe j- --readout 0.05 -o out --modulate
run apply.field.folds apply --field "${folds}_desc-truth_fieldmap.nii.gz" "${folds}_dir-PA_epi.nii.gz" -o out --modulate
for name in sidecar gradients; do
  with "apply.field.$name" j/sub-phantom_task-rest_dir-AP_bold.nii.gz
  mv "$work/apply.field.$name/sub-phantom_task-rest_dir-AP_bold.nii.gz" "$work/apply.field.$name/dwi.nii.gz"
  printf '0 0.6 0.123456789\n0 0.8 0\n0 0 1\n' >"$work/apply.field.$name/dwi.bvec"
  printf '0 1000 2000\n' >"$work/apply.field.$name/dwi.bval"
  echo "{$A, \"EffectiveEchoSpacing\": 0.0014, \"EchoTime\": 0.03, \"FlipAngle\": 77, \"Extra\": 1,
    \"SliceTiming\": [0, 1.5], \"TaskName\": \"rest\", \"Manufacturer\": \"home\", \"RepetitionTime\": 1.5,
    \"MagneticFieldStrength\": 7, \"Modality\": \"MR\"}" >"$work/apply.field.$name/other.json"
done
run apply.field.sidecar apply --field "$jf" dwi.nii.gz --sidecar other.json -o out
mv "$work/apply.field.gradients/other.json" "$work/apply.field.gradients/dwi.json"
run apply.field.gradients apply --field "$jf" dwi.nii.gz -o out --warp --float
run apply.map apply --vdm "$jd" "$jbold" "$ja" -o out --warp --reference "$jref"
run apply.map.float apply --vdm "$jd" "$jbold" -o out --modulate --float --threads 2
run apply.map.wrong apply --vdm "$jd" "$jb" -o out --reference "$jref"
run apply.map.rllr apply --vdm "$id" "$ia" -o out --rllr --warp
run apply.map.named apply --vdm "$jd" "$ja" -o out.nii.gz --quiet

# Wrong ones.
run apply.bad.grid apply --vdm "$jd" "$other_bold" -o out
run apply.bad.far apply --field "$jf" ../odd/far.nii.gz --pe j --readout 0.05 -o out
run apply.bad.nodirection apply --field "$jf" ../odd/rotated.nii.gz -o out
run apply.bad.noreadout apply --field "$jf" ../odd/rotated.nii.gz -o out --pe j
run apply.bad.fieldvolumes apply --field "$jbold" "$ja" -o out
run apply.bad.nofield apply --field none.nii.gz "$ja" -o out
run apply.bad.norun apply --field "$jf" none.nii.gz -o out
run apply.bad.nooutput apply --field "$jf" "$ja"
run apply.bad.both apply --field "$jf" --vdm "$jd" "$ja" -o out
run apply.bad.neither apply "$ja" -o out
run apply.bad.pe apply --field "$jf" "$ja" -o out --pe AP
run apply.bad.pemap apply --vdm "$jd" "$ja" -o out --pe j
run apply.bad.readout apply --field "$jf" "$ja" -o out --readout 50
run apply.bad.readout0 apply --field "$jf" "$ja" -o out --readout 0
run apply.bad.threads apply --field "$jf" "$ja" -o out --threads 0
run apply.bad.twoimages apply --field "$jf" "$ja" "$jb" -o one.nii.gz
run apply.bad.twosidecars apply --field "$jf" "$ja" "$jb" -o out --sidecar "${j}_dir-AP_epi.json"
run apply.bad.twice apply --field "$jf" "$ja" "$ja" -o out
run apply.bad.project apply --field "$jf" "${j}_dir-AP_epi.fmr" -o out
run apply.bad.mixed apply --vdm "$jd" "$ja" "${j}_dir-AP_epi.fmr" -o out
run apply.bad.reference apply --field "$jf" "$ja" -o out --reference none.nii
run apply.bad.singular apply --field ../odd/singular.nii "$ja" -o out
with apply.bad.overwrite j/sub-phantom_dir-AP_epi.nii.gz j/sub-phantom_dir-AP_epi.json
run apply.bad.overwrite apply --field "$jf" sub-phantom_dir-AP_epi.nii.gz -o sub-phantom_dir-AP_epi.nii.gz
with apply.bad.folderisfile j/sub-phantom_dir-AP_epi.json
run apply.bad.folderisfile apply --field "$jf" "$ja" -o sub-phantom_dir-AP_epi.json
