#include "bids/doubts.h"

#include <algorithm>
#include <cmath>

#include "base/error.h"
#include "base/joined.h"
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

// Links between images and fields differ from image to image; only a missing one matters.
constexpr const char* linkFields[] = {"B0FieldIdentifier", "B0FieldSource", "IntendedFor"};
constexpr const char* acquisitionFields[] = {"PhaseEncodingDirection", "TotalReadoutTime",
                                             "EffectiveEchoSpacing", "EstimatedTotalReadoutTime",
                                             "EstimatedEffectiveEchoSpacing"};

// What a file that was passed over says and the counting ones do not.
std::string differenceOf(const Sidecar& counting, const Sidecar& passedOver) {
  std::vector<std::string> other, missing;
  const auto look = [&](const char* field, bool mayDiffer) {
    const Json *there = passedOver.json().find(field), *here = counting.json().find(field);
    if (there == nullptr) return;
    if (here == nullptr)
      missing.emplace_back(field);
    else if (!mayDiffer && here->dump() != there->dump())
      other.emplace_back(field);
  };
  for (const char* field : acquisitionFields) look(field, false);
  for (const char* field : linkFields) look(field, true);
  std::string text = other.empty() ? "" : "says otherwise of " + joined(other);
  if (!missing.empty())
    text += (text.empty() ? "" : " and ") + ("has what is told nowhere else, " + joined(missing));
  return text;
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

std::vector<std::string> notesOnPassedOver(const std::string& imageFile, const Sidecar& counting,
                                           const std::vector<std::string>& passedOver) {
  std::vector<std::string> notes;
  for (const std::string& file : passedOver) try {
      const std::string difference = differenceOf(counting, Sidecar(file));
      if (difference.empty()) continue;
      notes.push_back(
          file + " could describe " + imageFile + ", too, and " + difference +
          ": it does not count, since a sidecar in its folder has a more specific name");
    } catch (const Error&) {  // of another image, which will have the fault
    }
  return notes;
}

std::vector<std::string> notesOnPassedOver(const std::string& imageFile,
                                           const GivenAcquisition& given,
                                           const Acquisition& settled) {
  if (!given.sidecar.empty() || !settled.sidecar) return {};
  return notesOnPassedOver(imageFile, *settled.sidecar, sidecarsPassedOver(imageFile));
}

}  // namespace mirel::bids
