# The data of all other cases, made by the program: pairs with three different voxel sizes, encoded
# along y (j), x (i) and z (k), on other grids, with motion, with long voxel sizes.
run j phantom . --size 32 36 20 --voxel 5.5 5 6.25 --volumes 3 --seed 3
run i phantom . --size 32 36 20 --voxel 5.5 5 6.25 --volumes 3 --seed 4 --direction i
run moved phantom . --size 32 36 20 --voxel 5.5 5 6.25 --volumes 2 --seed 5 --readout 0.04 \
  --motion 0.6 0.5 -0.4 0.8 -0.6 0.9
run movedi phantom . --size 36 32 20 --voxel 5 5.5 6.25 --volumes 0 --seed 5 --direction i \
  --motion 0.6 0.5 -0.4 0.8 -0.6 0.9
run square phantom . --size 32 32 18 --voxel 5.75 5.5 6.5 --volumes 2 --direction i
run long phantom . --size 30 40 20 --voxel 5.8333333 4.6153846 6.2345678 --volumes 1 --noise 0.01
run otherj phantom . --size 26 30 18 --voxel 6.75 6 7 --volumes 2 --readout 0.03
run otheri phantom . --size 26 30 18 --voxel 6.75 6 7 --volumes 2 --direction i --max-shift 3
run folds phantom . --size 32 36 20 --voxel 5.5 5 6.25 --volumes 1 --allow-folds --seed 9 --max-shift 9
run phantom.default_noise phantom made/here --size 16 18 12 --voxel 11 --noise 0 --volumes 0

j=../j/sub-phantom i=../i/sub-phantom moved=../moved/sub-phantom movedi=../movedi/sub-phantom
square=../square/sub-phantom long=../long/sub-phantom otherj=../otherj/sub-phantom
otheri=../otheri/sub-phantom folds=../folds/sub-phantom k=../k/sub-phantom

# j with its second and third axes exchanged: phase encoding across slices.
mkdir "$work/k" "$work/odd"
for file in dir-AP_epi dir-PA_epi task-rest_dir-AP_bold; do
  image "$work/j/sub-phantom_$file.nii.gz" "$work/k/sub-phantom_$file.nii.gz" 'axes 0 2 1'
  sed 's/"j/"k/' "$work/j/sub-phantom_$file.json" >"$work/k/sub-phantom_$file.json"
done

# One image in many dresses, all in odd/.
odd() { image "$work/j/sub-phantom_$1.nii.gz" "$work/odd/$2" "${@:3}"; }
cp "$work"/j/sub-phantom_dir-[AP][AP]_epi.json "$work/j/sub-phantom_task-rest_dir-AP_bold.json" "$work/odd/"
odd dir-AP_epi ap.nii
odd dir-PA_epi pa.nii
odd dir-AP_epi big-endian.nii.gz swap
odd dir-AP_epi floats.nii.gz 'float 0.37'
odd dir-PA_epi floats-b.nii.gz 'float 0.37'
odd dir-AP_epi scaled.nii.gz 'field 112 f 0.25 -3.5'
odd dir-AP_epi nan.nii.gz 'float 1' 'sample 11111 nan' 'sample 99 inf'
odd dir-AP_epi qform-only.nii.gz 'field 254 s 0'
odd dir-AP_epi no-orientation.nii.gz 'field 252 s 0 0'
odd dir-AP_epi shifted.nii.gz 'field 252 s 0' 'field 292 f -20'
odd dir-AP_epi flat.nii.gz 'field 42 s 32 720 1'
odd dir-AP_epi short.nii 'cut 4000'
odd dir-AP_epi no-type.nii 'field 70 s 7'
odd dir-AP_epi negative-size.nii 'field 80 f -5.5'
odd dir-AP_epi no-dims.nii 'field 42 s 0'
odd dir-AP_epi singular.nii 'field 252 s 0' 'field 280 f 0 0 0'
odd dir-AP_epi constant.nii 'field 112 f 0.0000001 7'
odd task-rest_dir-AP_bold rotated.nii.gz 'field 252 s 0' 'field 280 f 5.41 0.86 0.1' \
  'field 296 f -0.95 4.92 0.3' 'field 312 f -0.2 -0.25 6.2'
odd task-rest_dir-AP_bold far.nii.gz 'field 252 s 0' 'field 292 f 900'
odd task-rest_dir-AP_bold partly.nii.gz 'field 252 s 0' 'field 308 f -30'
odd task-rest_dir-AP_bold slices.nii.gz 'field 74 s 0' 'field 120 s 19' 'field 122 C 3' 'field 132 f 0.07'
odd task-rest_dir-AP_bold no-place.nii.gz 'field 252 s 0 0' 'field 80 f 5.6 5.1 6.3'
image "$work/j/sub-phantom_desc-truth_fieldmap.nii.gz" "$work/odd/field-nan.nii.gz" 'sample 5000 nan'
echo 'this is no image at all' >"$work/odd/text.nii"
echo 'nor is this' >"$work/odd/text.nii.gz"
: >"$work/odd/empty.nii"
