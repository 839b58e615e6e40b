# field, info, compare, check, select, picture, help; and wrong words.
jmap=../estimate.j.ic/sub-phantom_dir-AP_epi_vdm.map imap=../estimate.i.ic/sub-phantom_dir-RL_epi_vdm.map
run field.from convert "$jmap" map.nii.gz --reference "$ja"
run field.map field --from-map "$jmap" --reference "$ja" -o field.nii.gz
run field.map.pa field --from-map "$jmap" --reference "$jb" -o field.nii
run field.map.i field --from-map "$imap" --reference "$ia" -o field.nii.gz
run field.map.project field --from-map "$jmap" --reference "${j}_dir-AP_epi.fmr" --pe j- --readout 0.05 -o field.nii.gz
run field.map.nifti field --from-map "$jd" --reference "$ja" -o field.nii.gz --pe j --readout 0.03
run field.map.noposition field --from-map "$jmap" --reference ../header.noposition/sub-phantom_task-rest_dir-AP_bold.fmr --pe k --readout 0.03 -o f.nii
for axis in i i- j j- k k-; do
  run "field.to.$axis" field --to-map "$jf" --reference "$otherj"_desc-undistorted_epi.nii.gz --pe "$axis" --readout 0.037 -o m.map
done
run field.to field --to-map "$jf" --reference "$ja" -o m.map
run field.to.nan field --to-map ../odd/field-nan.nii.gz --reference "$ja" -o m.map
run field.to.rotated field --to-map "$jf" --reference ../odd/rotated.nii.gz --pe j --readout 0.05 -o m.map
run field.bad.grid field --from-map "$jmap" --reference "$otherj"_desc-undistorted_epi.nii.gz --pe j --readout 0.05 -o f.nii
run field.bad.pe field --from-map "$jd" --reference ../odd/rotated.nii.gz -o f.nii
run field.bad.readout field --from-map "$jd" --reference ../odd/rotated.nii.gz --pe j -o f.nii
run field.bad.project field --from-map "$jmap" --reference "${j}_dir-AP_epi.fmr" -o f.nii
run field.bad.milliseconds field --from-map "$jmap" --reference "$ja" --readout 50 -o f.nii
run field.bad.out field --from-map "$jmap" --reference "$ja" -o f.map
run field.bad.outmap field --to-map "$jf" --reference "$ja" -o f.nii
run field.bad.both field --to-map "$jf" --from-map "$jmap" --reference "$ja" -o f.nii
run field.bad.neither field --reference "$ja" -o f.nii
run field.bad.volumes field --to-map "$jbold" --reference "$ja" -o m.map
run field.bad.reference field --to-map "$jf" --reference ../odd/text.nii -o m.map

for file in "$ja" "$jbold" "$jf" ../odd/{big-endian,floats,scaled,nan,qform-only,no-orientation,rotated,slices,flat}.nii.gz \
  ../odd/{ap,short,no-type,negative-size,no-dims,singular,constant,text,empty,none}.nii ../odd/text.nii.gz \
  "$jmap" ../estimate.i.ic/sub-phantom_dir-RL_epi_vdmderiv.map "${long}_dir-AP_epi.fmr" ../convert.slices.dmr/out.dmr \
  ../convert.floats.dmr/out.dmr "${j}_dir-AP_epi.json" ../apply.projects.shortmap/sub-phantom_dir-AP_epi_vdm.map \
  ../convert.long.back/back.nii.gz none.fmr none.map; do
  name=info.$(tr '/' '.' <<<"${file#../}")
  run "$name" info "$file"
  run "$name.json" info "$file" --json
done

mask=${j}_desc-brain_mask.nii.gz
run compare.images compare "$ja" "$jb"
run compare.mask compare "$ja" "$jb" --mask "$mask"
run compare.json compare "$ja" "$jb" --mask "$mask" --json
run compare.volumes compare "$jbold" "$jbold" --volume-a 1 --volume-b 2
run compare.map compare "$jmap" "$jd" --mask "$mask"
run compare.projects compare "${j}_dir-AP_epi.fmr" "$ja"
run compare.dmr compare ../convert.slices.dmr/out.dmr "$jbold" --volume-a 2 --json
run compare.nan compare ../odd/nan.nii.gz "$ja"
run compare.constant compare ../odd/constant.nii "$ja" --json
run compare.bad.grid compare "$ja" "${otherj}_dir-AP_epi.nii.gz"
run compare.bad.mask compare "$ja" "$jb" --mask "${otherj}_desc-brain_mask.nii.gz"
run compare.bad.volume compare "$ja" "$jb" --volume-b 1
run compare.bad.none compare "$ja" none.nii

run check.one check "${j}_dir-AP_epi.fmr"
run check.many check "${j}_dir-AP_epi.fmr" ../convert.slices.dmr/out.dmr none.fmr "$ja" "$jmap" none.dmr
run check.none check
run select.fmr select "${j}_task-rest_dir-AP_bold.fmr"
run select.dmr select ../convert.slices.dmr/out.dmr
run select.map select "$jmap"
run select.image select "$ja"
run select.none select none.fmr
run select.text select ../header.text/sub-phantom_task-rest_dir-AP_bold.fmr

run picture.one picture "$ja" -o a.png
run picture.pair picture "$ja" "$jb" "$jmap" --map "$jd" --label AP --label "P A" --overlay --common-window -o a.png
run picture.slices picture "$jbold" --volume 2 --slice axial:5 --slice y --slice sagittal:9 --pixels 2 -o a.png
run picture.rotated picture ../odd/rotated.nii.gz "$ka" "${j}_dir-AP_epi.fmr" -o a.png
run picture.limit picture "$ja" "$jmap" --limit 2 --slice z:3 -o a.png
run picture.bad.slice picture "$ja" --slice axial:99 -o a.png
run picture.bad.plane picture "$ja" --slice up -o a.png
run picture.bad.out picture "$ja" -o a.jpg
run picture.bad.overlay picture "$ja" --overlay -o a.png
run picture.bad.none picture -o a.png

for command in '' correct apply estimate convert field info compare check select picture phantom; do
  # shellcheck disable=SC2086
  run "help.${command:-all}" $command --help
  # shellcheck disable=SC2086
  run "usage.${command:-all}" $command
  run "usage.${command:-all}.unknown" $command --unknown
done
run help.version --version
run usage.command nonsense

run phantom.bad.size phantom out --size 0 1 2
run phantom.bad.small phantom out --size 4 4 4
run phantom.bad.voxel phantom out --size 16 18 12 --voxel -3
run phantom.bad.two phantom out --size 16 18 12 --voxel 3 4
run phantom.bad.direction phantom out --direction k
run phantom.bad.readout phantom out --size 16 18 12 --readout 0
run phantom.bad.folder phantom ../odd/ap.nii --size 16 18 12

# Wrong calls of correct.
bad() { run "correct.bad.$1" correct "${@:2}"; }
bad same "$ja" "$ja" -o out
bad grid "$ja" "${otherj}_dir-PA_epi.nii.gz" -o out
bad place ../odd/shifted.nii.gz "$jb" -o out
bad flat ../odd/flat.nii.gz ../odd/flat.nii.gz --pe-a j -o out
bad thin ../odd/flat.nii.gz "$jb" --pe-a j -o out
bad constant ../odd/constant.nii "$jb" --pe-a j- -o out
bad nan ../odd/nan.nii.gz "$jb" --pe-a j- -o out
bad text ../odd/text.nii "$jb" -o out
bad gz ../odd/text.nii.gz "$jb" -o out
bad empty ../odd/empty.nii "$jb" -o out
bad short ../odd/short.nii "$jb" -o out
bad type ../odd/no-type.nii "$jb" -o out
bad none none.nii "$jb" -o out
bad project "${j}_dir-AP_epi.fmr" "${j}_dir-PA_epi.fmr" -o out
bad volume "$ja" "$jb" --volume 1 -o out
bad mean "$jbold" "$jb" --mean 4 -o out
bad noout "$ja" "$jb"
bad one "$ja" -o out
bad ssdncc "$ja" "$jb" -o out --ssd --ncc
bad icnoic "$ja" "$jb" -o out --ic --no-ic
bad massic "$ja" "$jb" -o out --estimator mass-preserving --ic
bad motion "$ja" "$jb" -o out --no-motion --fast
bad estimator "$ja" "$jb" -o out --estimator best
bad pe "$ja" "$jb" -o out --pe-a j+
bad samepe "$ja" "$jb" -o out --pe-a j
bad otheraxis "$ja" "$jb" -o out --pe-a i
bad readout "$ja" "$jb" -o out --readout 50
bad readouts "$ja" "$jb" -o out --readout-b 0.06
bad readout0 "$ja" "$jb" -o out --readout -1
bad scale "$ja" "$jb" -o out --intensity-scale 0
bad threads "$ja" "$jb" -o out --threads 0
bad threadstext "$ja" "$jb" -o out --threads many
bad far "$ja" "$jb" -o out --fast --apply ../odd/far.nii.gz --apply-pe j- --apply-readout 0.05
bad apply "$ja" "$jb" -o out --fast --apply none.nii.gz
bad applyshort "$ja" "$jb" -o out --fast --apply ../odd/short.nii --apply-pe j- --apply-readout 0.05
bad applyproject "$ja" "$jb" -o out --fast --apply "${j}_dir-AP_epi.fmr"
bad applylast "$ja" -o out --apply "$jbold" "$jb"
bad twice "$ja" "$jb" -o out --fast --apply "$jbold" "$jbold"
bad aspair "$ja" "$jb" -o out --fast --apply "$jb"
bad outfile "$ja" "$jb" -o ../odd/ap.nii
bad outdeep "$ja" "$jb" -o ../odd/ap.nii/deep
bad outempty "$ja" "$jb" -o ''
