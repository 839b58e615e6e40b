#include "bids/doubts.h"

#include <algorithm>
#include <cmath>

#include "base/error.h"
#include "base/numbertext.h"
#include "bids/inheritance.h"
#include "bids/name.h"

namespace mirel::bids {

namespace {

constexpr double largestPartOff = 0.01;
// Some converters leave out the "less one" of the lines.
constexpr double largestPartOffOfLines = 0.02;

std::optional<Acquisition> ownAcquisition(const std::string& imageFile, glm::ivec3 dims) {
  try {
    return resolveAcquisition(imageFile, dims, {});
  } catch (const Error&) {
    return std::nullopt;
  }
}

std::string valueOf(const Name& name, const std::string& entity) {
  for (const auto& [key, value] : name.entities)
    if (key == entity) return value;
  return "";
}

// Of a field of the image's sidecars; nothing unless it is a positive number.
std::optional<double> numberIn(const Acquisition& acquisition, const char* field) {
  const std::optional<double> value = acquisition.sidecar->json().numberOf(field);
  return value && *value > 0 ? value : std::nullopt;
}

bool isNear(double value, double expected) {
  return std::fabs(value - expected) <= largestPartOffOfLines * expected;
}

}  // namespace

std::vector<std::string> contradictionsOf(const std::string& imageFile, glm::ivec3 dims,
                                          const GivenAcquisition& given,
                                          const Acquisition& settled) {
  const bool saidSomething = given.direction || given.readoutSeconds || !given.sidecar.empty();
  if (!saidSomething || !given.table.empty()) return {};
  const std::optional<Acquisition> own = ownAcquisition(imageFile, dims);
  if (!own || !own->sidecar) return {};
  std::vector<std::string> doubts;
  if (settled.direction && own->direction &&
      nameOf(settled.direction->value) != nameOf(own->direction->value))
    doubts.push_back("the phase encoding " + nameOf(settled.direction->value) + " given for " +
                     imageFile + " is not that of its sidecar " + own->direction->file + ", " +
                     nameOf(own->direction->value));
  if (settled.readout && own->readout) {
    const double said = settled.readout->seconds, stands = own->readout->seconds;
    if (std::fabs(said - stands) > largestPartOff * stands)
      doubts.push_back("the readout time of " + text(said) + " s given for " + imageFile +
                       " is not that of its sidecar " + own->sidecar->title() + ", " +
                       text(stands) + " s");
  }
  return doubts;
}

std::vector<std::string> doubtsAboutSubject(const std::string& imageFile,
                                            const std::string& otherFile) {
  const Name image = Name::of(imageFile), other = Name::of(otherFile);
  for (const char* entity : {"sub", "ses"}) {
    const std::string here = valueOf(image, entity), there = valueOf(other, entity);
    if (here.empty() || there.empty() || here == there) continue;
    return {imageFile + " is of " + entity + "-" + here + " by its name, " + otherFile + " of " +
            entity + "-" + there + ": what distorts one head does not distort another"};
  }
  return {};
}

std::vector<std::string> doubtsAboutSecondCorrection(const std::string& imageFile,
                                                     const Acquisition& acquisition) {
  if (!acquisition.sidecar || !acquisition.sidecar->json().contains("DistortionCorrection"))
    return {};
  return {imageFile + " is corrected already, says DistortionCorrection in " +
          acquisition.sidecar->fileOf("DistortionCorrection") + ": now it is corrected twice"};
}

std::vector<std::string> doubtsAboutAcquiredLines(const std::string& imageFile,
                                                  const Acquisition& acquisition) {
  if (!acquisition.sidecar || !acquisition.readout || acquisition.readout->file.empty()) return {};
  const auto acquired = numberIn(acquisition, "AcquisitionMatrixPE"),
             reconstructed = numberIn(acquisition, "ReconMatrixPE"),
             spacing = numberIn(acquisition, "EffectiveEchoSpacing"),
             time = numberIn(acquisition, "TotalReadoutTime");
  if (!acquired || !reconstructed || !spacing || !time || *acquired >= *reconstructed) return {};
  if (isNear(*time, *spacing * (*reconstructed - 1))) return {};
  const bool ofAcquired = isNear(*time, *spacing * (*acquired - 1));
  return {text(*acquired) + " of " + text(*reconstructed) + " lines of " + imageFile +
          " were acquired (AcquisitionMatrixPE, ReconMatrixPE), and its TotalReadoutTime, " +
          text(*time) +
          " s, is not its EffectiveEchoSpacing times the reconstructed lines less "
          "one, " +
          text(*spacing * (*reconstructed - 1)) + " s" +
          (ofAcquired ? ", but times the acquired ones less one" : "") +
          ": Hz may be off by a factor of " + text("%.3g", *reconstructed / *acquired)};
}

}  // namespace mirel::bids
