#include "cli/advice.h"

#include "base/error.h"

namespace mirel {

namespace {

std::string directionOption(Advice::Of of) {
  switch (of) {
    case Advice::Of::first:
      return "give it with --pe-a";
    case Advice::Of::second:
      return "give it with --pe-b";
    case Advice::Of::both:
      return "give them with --pe-a and --pe-b";
    case Advice::Of::series:
      return "give it with --apply-pe";
    case Advice::Of::image:
      break;
  }
  return "give it with --pe";
}

std::string readoutOption(Advice::Of of) {
  const std::string option = of == Advice::Of::series ? "--apply-readout" : "--readout";
  return "give the total readout time in seconds with " + option;
}

}  // namespace

std::string withAdvice(const std::string& sentence, const Advice& advice) {
  switch (advice.kind) {
    case Advice::Kind::none:
      break;
    case Advice::Kind::giveDirection:
      return sentence + "; " + directionOption(advice.of);
    case Advice::Kind::giveReadout:
      return sentence + "; " + readoutOption(advice.of);
    case Advice::Kind::giveIntensityScale:
      return sentence + "; give a factor with --intensity-scale";
    case Advice::Kind::seeIntensityScale:
      return sentence + " (see --intensity-scale)";
    case Advice::Kind::chooseVolumes:
      return sentence + ": name two files, or two volumes with --volume and --volume-b";
    case Advice::Kind::seeVolumes:
      return sentence + " (see --volume, --volume-b)";
    case Advice::Kind::makeField:
      return sentence + ": a field in Hz ('mirel field --from-map') fits images of any grid";
    case Advice::Kind::overwrite:
      return sentence + "; name another output, or replace it with --overwrite";
    case Advice::Kind::givePlugin:
      return sentence + "; name it with --plugin FILE";
    case Advice::Kind::giveUnits:
      return sentence + "; say what its values are with --units (Hz, rad/s, T, voxels, mm)";
    case Advice::Kind::seeUnits:
      return sentence + " (see --units)";
    case Advice::Kind::giveMapDirection:
      return sentence +
             "; give the phase-encoding direction of the images that the map is for with --vdm-pe";
    case Advice::Kind::seeMapDirection:
      return sentence + " (--vdm-pe says for which direction it is)";
    case Advice::Kind::applyAsField:
      return sentence + "; apply it with --field";
    case Advice::Kind::giveEchoTimes:
      return sentence + "; give them in seconds with --echo-times";
    case Advice::Kind::giveMotionForm:
      return sentence + "; say whose they are with --motion-from (fsl, spm, afni, itk)";
    case Advice::Kind::giveMotionReference:
      return sentence +
             "; name that volume or image with --motion-reference (a volume is a number from 0)";
    case Advice::Kind::fieldFromPhase:
      return sentence + "; make a field of it first ('mirel field --from-phase')";
  }
  return sentence;
}

std::string sentenceOf(const std::exception& failure) {
  const auto* error = dynamic_cast<const Error*>(&failure);
  return error != nullptr ? withAdvice(error->what(), error->advice()) : failure.what();
}

}  // namespace mirel
