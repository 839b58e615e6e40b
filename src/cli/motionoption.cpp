#include "cli/motionoption.h"

#include <cstdlib>

#include "base/error.h"
#include "cli/numbers.h"
#include "nifti/filename.h"

namespace mirel {

namespace {

constexpr const char* realignHelp =
    "Find where the head was in each volume of RUN and take its motion out together\n"
    "with the distortion in one interpolation; also written, as ITK text. Volumes\n"
    "with b > 100 s/mm^2 get the motion between those without gradients";

}  // namespace

GivenMotion motionOf(const MotionArguments& arguments) {
  GivenMotion motion;
  motion.file = arguments.file;
  if (arguments.from == "fsl") motion.program = MotionProgram::fsl;
  if (arguments.from == "spm") motion.program = MotionProgram::spm;
  if (arguments.from == "afni") motion.program = MotionProgram::afni;
  if (arguments.from == "itk") motion.program = MotionProgram::itk;
  const std::string& reference = arguments.reference;
  if (reference.empty()) return motion;
  if (refuseBelow(0, reference).empty())
    motion.referenceVolume = std::atoi(reference.c_str());
  else if (nifti::hasNiftiName(reference))
    motion.referenceImage = reference;
  else
    throw Error(reference,
                "is neither the number of a volume nor a NIfTI image (.nii, .nii.gz), "
                "one of which --motion-reference takes");
  return motion;
}

std::vector<Option*> addMotionOptions(Command* command, MotionArguments& arguments, Option* warp) {
  Option* motion = command->add_option(
      "--motion", arguments.file,
      "For one RUN: where the head was in each of its volumes, as another\n"
      "program found it; taken out together with the distortion in one\n"
      "interpolation. FSL's folder of matrices (MAT_0000, ...) or .par, rows of\n"
      "AFNI (.aff12.1D), affine transforms in ITK's text (fMRIPrep), SPM's rp_*");
  motion->type_name("FILE|DIR")->excludes(warp);
  Option* from =
      command->add_option("--motion-from", arguments.from,
                          "Whose conventions --motion follows (default: as the file tells itself)");
  from->type_name("fsl|spm|afni|itk")->one_of({"fsl", "spm", "afni", "itk"})->needs(motion);
  Option* reference = command->add_option(
      "--motion-reference", arguments.reference,
      "The volume of RUN, counted from 0, or the image that its volumes were aligned\n"
      "to (default: the volume that did not move)");
  reference->type_name("N|IMAGE")->needs(motion);
  std::vector<Option*> options = addRealignOptions(command, realignHelp, arguments);
  options.front()->excludes(warp)->excludes(motion);
  options.insert(options.begin(), {motion, from, reference});
  return options;
}

std::vector<Option*> addRealignOptions(Command* command, const std::string& help,
                                       MotionArguments& arguments) {
  Option* realign = command->add_flag("--realign", arguments.realign, help);
  Option* weighted = command->add_flag(
      "--realign-weighted", arguments.realignWeighted,
      "With --realign: volumes with b > 100 s/mm^2, too, by mutual information with\n"
      "the reference, which takes half a second each and is less precise");
  weighted->needs(realign);
  return {realign, weighted};
}

}  // namespace mirel
