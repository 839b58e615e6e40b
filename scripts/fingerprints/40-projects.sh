# What the program does with projects: the plugin's estimates, maps and logs, the program's own
# estimate on projects, conversions.
projects() { # CASE
  with "$1" "$2/sub-phantom_dir-*.fmr" "$2/sub-phantom_dir-*.stc"
}
estimate() { # CASE DATA WORD...
  local a=AP b=PA
  [ ! -e "$work/$2/sub-phantom_dir-RL_epi.fmr" ] || { a=RL b=LR; }
  projects "$1" "$2"
  run "$1" estimate "sub-phantom_dir-${a}_epi.fmr" "sub-phantom_dir-${b}_epi.fmr" "${@:3}"
}
for data in j i; do
  rllr=()
  [ "$data" = j ] || rllr=(--rllr)
  e=estimate.$data
  estimate "$e" "$data" "${rllr[@]}"
  estimate "$e.ic" "$data" "${rllr[@]}" --ic --apply --save-derivative
  estimate "$e.ssd" "$data" "${rllr[@]}" --ssd --save-derivative
  estimate "$e.ssdic" "$data" "${rllr[@]}" --ssd --ic --apply
  estimate "$e.ncc" "$data" "${rllr[@]}" --ncc
  estimate "$e.fast" "$data" "${rllr[@]}" --fast --apply --save-derivative
  estimate "$e.fastssd" "$data" "${rllr[@]}" --fast --ssd --ic
  estimate "$e.mass" "$data" "${rllr[@]}" --estimator mass-preserving --apply --save-derivative
  estimate "$e.nomotion" "$data" "${rllr[@]}" --estimator mass-preserving --no-motion
  estimate "$e.search" "$data" "${rllr[@]}" --estimator search --apply
done
estimate estimate.otheraxis j --rllr --apply
estimate estimate.long long --ic --apply
estimate estimate.moved moved --ic --save-derivative
estimate estimate.moved.mass moved --estimator mass-preserving --apply
estimate estimate.movedi.mass movedi --rllr --estimator mass-preserving --apply
estimate estimate.folds folds --ic --apply
export MIREL_SIMD=baseline
estimate estimate.baseline j --ic --apply --save-derivative
estimate estimate.baseline.ssd i --rllr --ssd
unset MIREL_SIMD
with estimate.volumes j/sub-phantom_task-rest_dir-AP_bold.{fmr,stc} j/sub-phantom_dir-PA_epi.{fmr,stc}
run estimate.volumes estimate sub-phantom_task-rest_dir-AP_bold.fmr sub-phantom_dir-PA_epi.fmr --volume0 2 --volume1 0 --ic --apply
with estimate.volumes.mass j/sub-phantom_task-rest_dir-AP_bold.{fmr,stc} j/sub-phantom_dir-PA_epi.{fmr,stc}
run estimate.volumes.mass estimate sub-phantom_task-rest_dir-AP_bold.fmr sub-phantom_dir-PA_epi.fmr --volume0 1 --estimator mass-preserving

# Conversions of everything into everything.
printf '0 0.6 0.123456789\n0 0.8 0\n0 0 1\n' >"$work/odd/slices.bvec"
printf '0 1000 2000.5\n' >"$work/odd/slices.bval"
for name in big-endian floats scaled nan qform-only no-orientation shifted rotated slices; do
  run "convert.$name.fmr" convert "../odd/$name.nii.gz" out.fmr
  run "convert.$name.dmr" convert "../odd/$name.nii.gz" out.dmr
  run "convert.$name.fmr.back" convert "../convert.$name.fmr/out.fmr" back.nii
  run "convert.$name.dmr.back" convert "../convert.$name.dmr/out.dmr" back.nii.gz
done
run convert.long.fmr convert "${long}_dir-AP_epi.nii.gz" out.fmr
run convert.long.back convert ../convert.long.fmr/out.fmr back.nii.gz
run convert.k.dmr convert "$kbold" out.dmr
run convert.ap.fmr convert ../odd/ap.nii deep.er.fmr
for data in j i; do
  with "convert.$data.map" "estimate.$data.ic"/*_epi_vdm{,deriv}.map "estimate.$data.ic"/*_epi.{fmr,stc}
  first=$(cd "$work/convert.$data.map" && ls ./*_epi_vdm.map | head -1)
  run "convert.$data.map" convert "$first" map.nii.gz
  run "convert.$data.deriv" convert "../convert.$data.map/${first%.map}deriv.map" map.nii
  run "convert.$data.map.reference" convert "../convert.$data.map/$first" map.nii --reference "../$data/sub-phantom_desc-undistorted_epi.nii.gz"
  run "convert.$data.map.other" convert "../convert.$data.map/$first" map.nii --reference "$otherj"_desc-undistorted_epi.nii.gz
done
printf '1 0 0\n0 1 0\n0 0 1\n' >"$work/odd/rows.bvec"
printf '5\n10\n1e3\n' >"$work/odd/rows.bval"
printf '1 0 0 0\n0 1 0 0\n0 0 1 0\n' >"$work/odd/four.bvec"
printf 'x y z\n' >"$work/odd/words.bvec"
run convert.named.dmr convert "$jbold" out.dmr --bvec ../odd/rows.bvec --bval ../odd/rows.bval
run convert.named.back convert ../convert.named.dmr/out.dmr back.nii.gz
run convert.named.fmr convert "$jbold" out.fmr --bvec ../odd/rows.bvec --bval ../odd/rows.bval
run convert.bad.bvec convert "$jbold" out.dmr --bvec ../odd/rows.bvec
run convert.bad.count convert "$jbold" out.dmr --bvec ../odd/four.bvec --bval ../odd/rows.bval
run convert.bad.words convert "$jbold" out.dmr --bvec ../odd/words.bvec --bval ../odd/rows.bval
run convert.bad.none convert "$jbold" out.dmr --bvec none --bval ../odd/rows.bval
run convert.bad.back convert ../convert.named.dmr/out.dmr back.nii.gz --bvec ../odd/rows.bvec --bval ../odd/rows.bval
run convert.bad.same convert ../odd/ap.nii copy.nii
run convert.bad.projects convert ../convert.named.dmr/out.dmr copy.fmr
run convert.bad.reference convert "$ja" out.fmr --reference "$jb"
run convert.bad.mapout convert "../convert.j.map/sub-phantom_dir-AP_epi_vdm.map" out.fmr
run convert.bad.mapalone convert "../estimate.j/sub-phantom_dir-AP_epi_vdm.map" out.nii --reference none.fmr
for name in text short no-type negative-size no-dims singular empty none constant; do
  run "convert.bad.file.$name" convert "../odd/$name.nii" out.fmr
done
run convert.bad.gz convert ../odd/text.nii.gz out.fmr

# Headers that were changed by hand.
header() { # CASE SED_SCRIPT
  with "$1" j/sub-phantom_task-rest_dir-AP_bold.{fmr,stc} j/sub-phantom_task-rest_dir-AP_bold_geometry.json
  sed -i "$2" "$work/$1/sub-phantom_task-rest_dir-AP_bold.fmr"
  run "$1" convert sub-phantom_task-rest_dir-AP_bold.fmr out.nii.gz
  run "$1.info" info "../$1/sub-phantom_task-rest_dir-AP_bold.fmr"
}
header header.none ''
header header.size 's/^\(InplaneResolutionX:\).*/\1 3.3/'
header header.row 's/^\(RowDirX:\).*/\1 -0.9/'
header header.center 's/^\(Slice1CenterZ:\).*/\1 -60/'
header header.tr 's/^\(TR:\).*/\1 1500/'
header header.noposition '/^Slice1Center/d'
header header.nosize '/^Slice1Center/d; s/^\(InplaneResolutionY:\).*/\1 0/'
header header.dims 's/^\(ResolutionX:\).*/\1 0/'
header header.more 's/^\(NrOfVolumes:\).*/\1 4/'
header header.fewer 's/^\(NrOfVolumes:\).*/\1 2/'
header header.float 's/^\(DataType:\).*/\1 2/'
header header.prefix 's/^\(Prefix:\).*/\1 "elsewhere"/'
header header.format 's/^\(DataStorageFormat:\).*/\1 1/'
header header.huge 's/^\(NrOfSlices:\).*/\1 99999999/'
header header.text 's/.*/nonsense/'

# Maps applied to projects.
apply() { # CASE DATA MAP_CASE WORD...
  with "$1" "$2"/sub-phantom_{dir,task}*.{fmr,stc} "$3"/*_vdm.map
  run "$1" apply "${@:4}"
}
apply apply.projects j estimate.j.ic --vdm sub-phantom_dir-AP_epi_vdm.map sub-phantom_dir-AP_epi.fmr sub-phantom_task-rest_dir-AP_bold.fmr
apply apply.projects.pa j estimate.j.ic --vdm sub-phantom_dir-PA_epi_vdm.map sub-phantom_dir-PA_epi.fmr
estimate estimate.square square --rllr --apply
apply apply.projects.rllr square estimate.square --rllr --vdm sub-phantom_dir-RL_epi_vdm.map sub-phantom_dir-RL_epi.fmr sub-phantom_task-rest_dir-RL_bold.fmr
apply apply.projects.rllr.oblong i estimate.i.ic --rllr --vdm sub-phantom_dir-RL_epi_vdm.map sub-phantom_dir-RL_epi.fmr
apply apply.projects.other otherj estimate.j --vdm sub-phantom_dir-AP_epi_vdm.map sub-phantom_dir-AP_epi.fmr
apply apply.projects.twice j estimate.j --vdm sub-phantom_dir-AP_epi_vdm.map sub-phantom_dir-AP_epi.fmr sub-phantom_dir-AP_epi.fmr
apply apply.projects.output j estimate.j --vdm sub-phantom_dir-AP_epi_vdm.map sub-phantom_dir-AP_epi.fmr -o out
apply apply.projects.modulate j estimate.j --vdm sub-phantom_dir-AP_epi_vdm.map sub-phantom_dir-AP_epi.fmr --modulate
apply apply.projects.nomap j estimate.j --vdm none.map sub-phantom_dir-AP_epi.fmr
apply apply.projects.mapimages j estimate.j --vdm sub-phantom_dir-AP_epi_vdm.map "$jbold" -o out
with apply.projects.dmr convert.slices.dmr/out.{dmr,dwi} estimate.j.ic/sub-phantom_dir-AP_epi_vdm.map
run apply.projects.dmr apply --vdm sub-phantom_dir-AP_epi_vdm.map out.dmr
with apply.projects.short j/sub-phantom_dir-AP_epi.{fmr,stc} estimate.j.ic/sub-phantom_dir-AP_epi_vdm.map
truncate -s -100 "$work/apply.projects.short/sub-phantom_dir-AP_epi.stc"
run apply.projects.short apply --vdm sub-phantom_dir-AP_epi_vdm.map sub-phantom_dir-AP_epi.fmr
with apply.projects.shortmap j/sub-phantom_dir-AP_epi.{fmr,stc} estimate.j.ic/sub-phantom_dir-AP_epi_vdm.map
truncate -s -100 "$work/apply.projects.shortmap/sub-phantom_dir-AP_epi_vdm.map"
run apply.projects.shortmap apply --vdm sub-phantom_dir-AP_epi_vdm.map sub-phantom_dir-AP_epi.fmr

# Wrong estimates.
for word in "--volume0 7" "--volume1 -1" "--ssd --ncc" "--estimator mass-preserving --ic" "--no-motion" "--estimator other"; do
  name=estimate.bad.$(tr -d ' -' <<<"$word")
  # shellcheck disable=SC2086
  estimate "$name" j $word
done
with estimate.bad.same j/sub-phantom_dir-AP_epi.{fmr,stc}
run estimate.bad.same estimate sub-phantom_dir-AP_epi.fmr sub-phantom_dir-AP_epi.fmr
with estimate.bad.grid j/sub-phantom_dir-AP_epi.{fmr,stc} otherj/sub-phantom_dir-PA_epi.{fmr,stc}
run estimate.bad.grid estimate sub-phantom_dir-AP_epi.fmr sub-phantom_dir-PA_epi.fmr
run estimate.bad.images estimate "$ja" "$jb"
run estimate.bad.none estimate none.fmr none2.fmr
for name in size.search size.mass data short plugin; do projects "estimate.bad.$name" j; done
sed -i 's/^\(InplaneResolutionY:\).*/\1 0/' "$work"/estimate.bad.size.*/sub-phantom_dir-AP_epi.fmr
rm "$work/estimate.bad.data/sub-phantom_dir-AP_epi.stc"
truncate -s 1000 "$work/estimate.bad.short/sub-phantom_dir-PA_epi.stc"
ap=sub-phantom_dir-AP_epi.fmr pa=sub-phantom_dir-PA_epi.fmr
run estimate.bad.size.search estimate "$ap" "$pa"
run estimate.bad.size.mass estimate "$ap" "$pa" --estimator mass-preserving
run estimate.bad.data estimate "$ap" "$pa"
run estimate.bad.short estimate "$ap" "$pa"
run estimate.bad.plugin --plugin none.so estimate "$ap" "$pa"
