ja=${j}_dir-AP_epi.nii.gz jb=${j}_dir-PA_epi.nii.gz jbold=${j}_task-rest_dir-AP_bold.nii.gz
ia=${i}_dir-RL_epi.nii.gz ib=${i}_dir-LR_epi.nii.gz ibold=${i}_task-rest_dir-RL_bold.nii.gz
ka=${k}_dir-AP_epi.nii.gz kb=${k}_dir-PA_epi.nii.gz kbold=${k}_task-rest_dir-AP_bold.nii.gz
ma=${moved}_dir-AP_epi.nii.gz mb=${moved}_dir-PA_epi.nii.gz

for axis in i j k; do
  a=${axis}a b=${axis}b bold=${axis}bold
  pair=("${!a}" "${!b}" -o out)
  run "correct.$axis" correct "${pair[@]}"
  run "correct.$axis.swapped" correct "${!b}" "${!a}" -o out --json
  run "correct.$axis.ncc" correct "${pair[@]}" --ncc --json
  run "correct.$axis.search" correct "${pair[@]}" --estimator search --apply "${!bold}" --json
  run "correct.$axis.ssd" correct "${pair[@]}" --ssd --modulate
  run "correct.$axis.noic" correct "${pair[@]}" --no-ic --ssd --intensity-scale 0.5
  run "correct.$axis.ic" correct "${pair[@]}" --ic --quiet
  run "correct.$axis.fast" correct "${pair[@]}" --fast --json --quiet
  run "correct.$axis.nomodulate" correct "${pair[@]}" --no-modulate --apply "${!bold}"
  run "correct.$axis.nomotion" correct "${pair[@]}" --no-motion --float --apply "${!bold}" --json
  run "correct.$axis.threads" correct "${pair[@]}" --fast --apply "${!bold}" --threads 1
  run "correct.$axis.wrongsign" correct "${pair[@]}" --apply "${!bold}" --apply-pe "$([ "$axis" = i ] && echo i- || echo "$axis")"
  run "correct.$axis.applyreadout" correct "${pair[@]}" --apply "${!bold}" --apply-readout 0.07 --json
  run "correct.$axis.readout" correct "${pair[@]}" --readout 0.031
  run "correct.$axis.readouts" correct "${pair[@]}" --readout 0.031 --readout-b 0.04
  run "correct.$axis.otherj" correct "${pair[@]}" --apply "${otherj}_task-rest_dir-AP_bold.nii.gz" --json
  run "correct.$axis.otheri" correct "${pair[@]}" --apply "${otheri}_task-rest_dir-RL_bold.nii.gz" --modulate
  run "correct.$axis.rotated" correct "${pair[@]}" --fast --apply ../odd/rotated.nii.gz \
    --apply-pe "$axis-" --apply-readout 0.02 --json
done

run correct.pe_reversed correct "$ja" "$jb" --pe-a j --pe-b j- -o out
run correct.pe_wrong_axis correct "$ja" "$jb" --pe-a i- --pe-b i -o out --json
run correct.pe_wrong_axis_k correct "$ja" "$jb" --pe-a k- --pe-b k -o out
run correct.i_wrong_axis correct "$ia" "$ib" --pe-a j --pe-b j- -o out
run correct.moved correct "$ma" "$mb" -o out --json
run correct.moved.ic correct "$ma" "$mb" -o out --ic
run correct.moved.still correct "$ma" "$mb" -o out --no-motion
run correct.movedi correct "${movedi}_dir-RL_epi.nii.gz" "${movedi}_dir-LR_epi.nii.gz" -o out --json
run correct.long correct "${long}_dir-AP_epi.nii.gz" "${long}_dir-PA_epi.nii.gz" -o out
run correct.long.search correct "${long}_dir-AP_epi.nii.gz" "${long}_dir-PA_epi.nii.gz" --ic -o out
run correct.folds correct "${folds}_dir-AP_epi.nii.gz" "${folds}_dir-PA_epi.nii.gz" --modulate \
  --apply "${folds}_task-rest_dir-AP_bold.nii.gz" -o out
run correct.self correct "$ja" "${moved}_dir-PA_epi.nii.gz" -o out --readout 0.05
run correct.scale.huge correct "$ja" "$jb" -o out --ic --intensity-scale 1000
run correct.scale.tiny correct "$ja" "$jb" -o out --ic --intensity-scale 0.00001
run correct.volume correct "$jbold" "$jb" --volume 1 --volume-b 0 -o out
run correct.volumes correct "$jbold" "$jbold" --volume 1 --volume-b 2 --pe-a j- --pe-b j --readout 0.05 -o out --ic
run correct.mean correct "$jbold" "$jb" --mean 3 --mean-b 1 -o out --json
run correct.mean_from correct "$jbold" "$jb" --volume 1 --volume-b 0 --mean 2 --mean-b 1 -o out
run correct.many correct "$ja" "$jb" -o out --modulate --float --apply "$jbold" \
  "${otherj}_desc-undistorted_epi.nii.gz" ../odd/rotated.nii.gz ../odd/partly.nii.gz --apply-readout 0.05 --apply-pe j- --json
run correct.slices correct "$ja" "$jb" -o out --fast --apply ../odd/slices.nii.gz --apply-pe j- --apply-readout 0.05
run correct.simd correct "$ja" "$jb" -o out --ic --apply "$jbold"
export MIREL_SIMD=baseline
run correct.simd.baseline correct "$ja" "$jb" -o out --ic --apply "$jbold"
run correct.simd.baseline.mass correct "$ia" "$ib" -o out --apply "$ibold"
unset MIREL_SIMD

# No sidecars.
bare() { mkdir -p "$work/$1"; cp "$work/j/sub-phantom_dir-AP_epi.nii.gz" "$work/$1/one.nii.gz"
  cp "$work/j/sub-phantom_dir-PA_epi.nii.gz" "$work/$1/two.nii.gz"
  cp "$work/j/sub-phantom_task-rest_dir-AP_bold.nii.gz" "$work/$1/run.nii.gz"; }
for name in plain apply swapped pe one readout elsewhere otheraxis; do bare "bare.$name"; done
run bare.plain correct one.nii.gz two.nii.gz -o . --json
run bare.apply correct one.nii.gz two.nii.gz -o out --apply run.nii.gz
run bare.swapped correct two.nii.gz one.nii.gz -o out --apply run.nii.gz
run bare.pe correct one.nii.gz two.nii.gz -o out --pe-a j- --pe-b j --apply run.nii.gz --json
run bare.one correct one.nii.gz two.nii.gz -o out --pe-a j- --readout 0.05 --apply run.nii.gz
run bare.readout correct one.nii.gz two.nii.gz -o out --readout 0.05
run bare.elsewhere correct one.nii.gz two.nii.gz -o out --apply "${otherj}_task-rest_dir-AP_bold.nii.gz"
run bare.otheraxis correct one.nii.gz two.nii.gz -o out --apply run.nii.gz --apply-pe i

# Sidecars of all kinds.
sidecars() { # CASE TEXT_OF_A TEXT_OF_B [TEXT_OF_RUN]
  bare "$1"
  printf '%s' "$2" >"$work/$1/one.json"
  printf '%s' "$3" >"$work/$1/two.json"
  [ $# -lt 4 ] || printf '%s' "$4" >"$work/$1/run.json"
  printf '0 0.6 0.123456789\n0 0.8 0\n0 0 1\n' >"$work/$1/run.bvec"
  printf '0 1000 2000\n' >"$work/$1/run.bval"
  run "$1" correct one.nii.gz two.nii.gz -o out --fast --apply run.nii.gz --json
}
A='"PhaseEncodingDirection": "j-"' B='"PhaseEncodingDirection": "j"'
sidecars sidecars.kept "{$A, \"TotalReadoutTime\": 0.05}" "{$B, \"TotalReadoutTime\": 0.05}" \
  "{$A, \"TotalReadoutTime\": 0.05, \"RepetitionTime\": 2.5, \"EchoTime\": 0.03, \"FlipAngle\": 77,
  \"SliceTiming\": [0, 1.5, 0.5], \"TaskName\": \"rest\", \"MagneticFieldStrength\": 7, \"Manufacturer\": \"home\",
  \"Modality\": \"MR\", \"EffectiveEchoSpacing\": 0.00142, \"IntendedFor\": \"x\", \"Units\": \"u\", \"Other\": {\"a\": 1}}"
sidecars sidecars.spacing "{$A, \"EffectiveEchoSpacing\": 0.0014}" "{$B, \"EffectiveEchoSpacing\": 0.0014}" \
  "{$A, \"EffectiveEchoSpacing\": 0.0007}"
sidecars sidecars.estimated "{$A, \"EstimatedTotalReadoutTime\": 0.05}" \
  "{$B, \"EstimatedEffectiveEchoSpacing\": 0.00142857}" "{$A, \"EstimatedTotalReadoutTime\": 0.05}"
sidecars sidecars.contradiction "{$A, \"TotalReadoutTime\": 0.05, \"EffectiveEchoSpacing\": 0.0005}" \
  "{$B, \"TotalReadoutTime\": 0.05}" "{$A, \"TotalReadoutTime\": 0.05, \"EffectiveEchoSpacing\": 0.0002}"
sidecars sidecars.differ "{$A, \"TotalReadoutTime\": 0.05}" "{$B, \"TotalReadoutTime\": 0.06}"
sidecars sidecars.nearly "{$A, \"TotalReadoutTime\": 0.05}" "{$B, \"TotalReadoutTime\": 0.0502}" "{$B, \"TotalReadoutTime\": 0.1}"
sidecars sidecars.nodirection '{"TotalReadoutTime": 0.05}' "{$B}"
sidecars sidecars.noreadout "{$A}" "{$B}"
sidecars sidecars.milliseconds "{$A, \"TotalReadoutTime\": 50}" "{$B, \"TotalReadoutTime\": 50}"
sidecars sidecars.negative "{$A, \"TotalReadoutTime\": -0.05}" "{$B, \"TotalReadoutTime\": 0.05}"
sidecars sidecars.text "{$A, \"TotalReadoutTime\": \"0.05\"}" "{$B, \"TotalReadoutTime\": 0.05}"
sidecars sidecars.number '{"PhaseEncodingDirection": 1}' "{$B}"
sidecars sidecars.AP '{"PhaseEncodingDirection": "AP"}' "{$B}"
sidecars sidecars.plus '{"PhaseEncodingDirection": "j+", "TotalReadoutTime": 0.05}' \
  "{$A, \"TotalReadoutTime\": 0.05}" "{$A, \"TotalReadoutTime\": 0.05}"
sidecars sidecars.same "{$A}" "{$A}"
sidecars sidecars.axes "{$A}" '{"PhaseEncodingDirection": "i"}'
sidecars sidecars.list '[1]' "{$B}"
sidecars sidecars.broken '{"a": ' "{$B}"
sidecars sidecars.runnothing "{$A, \"TotalReadoutTime\": 0.05}" "{$B, \"TotalReadoutTime\": 0.05}" '{}'
sidecars sidecars.runnoreadout "{$A, \"TotalReadoutTime\": 0.05}" "{$B, \"TotalReadoutTime\": 0.05}" "{$A}"
sidecars sidecars.runi "{$A, \"TotalReadoutTime\": 0.05}" "{$B, \"TotalReadoutTime\": 0.05}" \
  '{"PhaseEncodingDirection": "i", "TotalReadoutTime": 0.01}'
sidecars sidecars.runk "{$A, \"TotalReadoutTime\": 0.05}" "{$B, \"TotalReadoutTime\": 0.05}" \
  '{"PhaseEncodingDirection": "k-", "TotalReadoutTime": 0.01}'
bare sidecars.named
printf '%s' "{$A, \"TotalReadoutTime\": 0.05}" >"$work/sidecars.named/other.json"
run sidecars.named correct one.nii.gz two.nii.gz -o out --sidecar-a other.json --pe-b j --fast
run sidecars.missing correct "$ja" "$jb" -o out --sidecar-b none.json

# A dataset: sidecars higher up, a description that is there, entities that differ.
mkdir -p "$work/dataset/sub-1/fmap" "$work/dataset/sub-1/func" "$work/dataset/out"
for dir in AP PA; do
  cp "$work/j/sub-phantom_dir-${dir}_epi.nii.gz" "$work/dataset/sub-1/fmap/sub-1_acq-x_dir-${dir}_epi.nii.gz"
done
cp "$work/j/sub-phantom_task-rest_dir-AP_bold.nii.gz" "$work/dataset/sub-1/func/sub-1_task-a_desc-raw_bold.nii.gz"
echo '{"Name": "d", "BIDSVersion": "1.8.0"}' | tee "$work/dataset/dataset_description.json" >"$work/dataset/out/dataset_description.json"
echo '{"TotalReadoutTime": 0.05}' >"$work/dataset/epi.json"
echo "{$A}" >"$work/dataset/sub-1/dir-AP_epi.json"
echo "{$B, \"EchoTime\": 0.05}" >"$work/dataset/sub-1/sub-1_dir-PA_epi.json"
echo "{$A, \"TotalReadoutTime\": 0.05, \"TaskName\": \"far\"}" >"$work/dataset/task-a_bold.json"
echo '{"TaskName": "near"}' >"$work/dataset/sub-1/func/sub-1_task-a_desc-raw_bold.json"
run dataset correct sub-1/fmap/sub-1_acq-x_dir-AP_epi.nii.gz sub-1/fmap/sub-1_acq-x_dir-PA_epi.nii.gz \
  --apply sub-1/func/sub-1_task-a_desc-raw_bold.nii.gz -o out --json

# Dresses.
run correct.uncompressed correct ../odd/ap.nii ../odd/pa.nii --pe-a j- --pe-b j --readout 0.05 -o out
run correct.twice correct ../odd/big-endian.nii.gz ../odd/pa.nii --pe-a j- --readout 0.05 -o out --fast --apply ../odd/big-endian.nii.gz
run correct.bigendian correct ../odd/big-endian.nii.gz ../odd/pa.nii --pe-a j- --readout 0.05 -o out --fast --apply "$jbold"
run correct.floats correct ../odd/floats.nii.gz ../odd/floats-b.nii.gz --pe-a j- --readout 0.05 -o out \
  --apply ../odd/scaled.nii.gz ../odd/nan.nii.gz ../odd/qform-only.nii.gz --apply-pe j-
run correct.noplace correct "$ja" "$jb" --fast -o out --apply ../odd/no-place.nii.gz --apply-pe j- --apply-readout 0.05
run correct.partly correct "$ja" "$jb" --fast -o out --apply ../odd/partly.nii.gz --apply-pe j- --apply-readout 0.05
