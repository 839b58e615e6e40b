#include "phase/phasefile.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "base/error.h"
#include "base/numbertext.h"
#include "bids/inheritance.h"
#include "bids/name.h"
#include "field/grid.h"
#include "nifti/image.h"
#include "numerics/sortedvalues.h"
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

// The value that most voxels share, when that is more than one of 20.
std::optional<float> fillOf(const Volume<float>& values) {
  const std::vector<float> sorted = sortedFinite(values);
  std::optional<float> fill;
  auto most = static_cast<std::ptrdiff_t>(values.size() / 20);
  for (auto first = sorted.begin(); first != sorted.end();) {
    const auto next = std::upper_bound(first, sorted.end(), *first);
    if (next - first > most) {
      most = next - first;
      fill = *first;
    }
    first = next;
  }
  return fill;
}

int dropFill(const Volume<float>& values, Volume<float>& radians) {
  const std::optional<float> fill = fillOf(values);
  if (!fill) return 0;
  int filled = 0;
  for (int n = 0; n < values.size(); ++n)
    if (values.data()[n] == *fill) {
      radians.data()[n] = std::numeric_limits<float>::quiet_NaN();
      ++filled;
    }
  return filled;
}

}  // namespace

std::string PhaseFile::fillNote() const {
  if (filled == 0) return {};
  return counted(filled, "voxel") + " of " + file +
         (filled == 1 ? " has the value that" : " share one value, which") + " counts as no phase";
}

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
  voxelToVoxel(phase.header.affine(), phase.header.affine(), fileName);
  const std::optional<bids::Unit> stated = statedUnit(phase);
  const Volume<float> values = image.readVolume(0);
  phase.scale = phaseScaleOf(values, phase.header, stated, fileName);
  phase.radians = radiansOf(values, phase.scale);
  phase.filled = dropFill(values, phase.radians);
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
  if (std::all_of(difference.data(), difference.data() + difference.size(),
                  [](float v) { return std::isnan(v) || v == 0.0F; }))
    throw Error(second.file, "holds the same phases as " + first.file);
  return difference;
}

}  // namespace mirel
