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

}  // namespace mirel::bids
