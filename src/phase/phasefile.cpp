#include "phase/phasefile.h"

#include "base/error.h"
#include "bids/inheritance.h"
#include "bids/name.h"
#include "field/grid.h"
#include "nifti/image.h"
#include "phase/angle.h"

namespace mirel {

namespace {

void refuseMagnitude(const PhaseFile& phase) {
  if (bids::Name::of(phase.file).suffix.starts_with("magnitude"))
    throw Error(phase.file, "is a magnitude by its name, not a phase image");
  if (!phase.sidecar) return;
  for (const std::string& word : phase.sidecar->texts("ImageType"))
    if (word == "M" || word == "MAGNITUDE")
      throw Error(phase.file, "is a magnitude by the ImageType in " +
                                  phase.sidecar->fileOf("ImageType") + ", not a phase image");
}

std::optional<bids::Unit> statedUnit(const PhaseFile& phase) {
  if (!phase.sidecar || !phase.sidecar->json().contains("Units")) return {};
  const std::string stated = phase.sidecar->json().textOf("Units");
  const std::optional<bids::Unit> unit = bids::unitOf(stated);
  if (!unit)
    throw Error::ofField(phase.sidecar->fileOf("Units"), "Units",
                         "has the Units \"" + stated + "\", which are not those of a phase image");
  return unit;
}

}  // namespace

std::string PhaseFile::scaleNote() const {
  return "the phases of " + file + " are taken to be " + scale.name + " (" + scale.sourceText() +
         ")";
}

PhaseFile readPhaseFile(const std::string& fileName) {
  PhaseFile phase;
  phase.file = fileName;
  phase.stamp = FileStamp(fileName);
  nifti::Reader image(fileName);
  phase.header = image.header();
  phase.sidecar = bids::findSidecar(fileName);
  refuseMagnitude(phase);
  if (phase.header.volumes != 1)
    throw Error(fileName, "has " + std::to_string(phase.header.volumes) +
                              " volumes: a phase image of a field map has one");
  const std::optional<bids::Unit> stated = statedUnit(phase);
  const Volume<float> values = image.readVolume(0);
  phase.scale = phaseScaleOf(values, phase.header, stated, fileName);
  phase.radians = radiansOf(values, phase.scale);
  return phase;
}

Volume<float> phaseDifference(const PhaseFile& first, const PhaseFile& second) {
  if (!coincide(gridOf(first.header), gridOf(second.header)))
    throw Error(second.file, "has another grid than " + first.file);
  Volume<float> difference(first.radians.dimensions());
  for (int n = 0; n < difference.size(); ++n)
    difference.data()[n] =
        static_cast<float>(wrapped(static_cast<double>(second.radians.data()[n]) -
                                   static_cast<double>(first.radians.data()[n])));
  return difference;
}

}  // namespace mirel
