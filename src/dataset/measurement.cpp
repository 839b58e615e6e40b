#include "dataset/measurement.h"

#include <algorithm>

#include "dataset/pairing.h"

namespace mirel::dataset {

namespace {

// The other phase of two echoes.
std::optional<std::size_t> otherPhaseOf(const std::vector<ImageFacts>& images, std::size_t one) {
  bids::Name wanted = images[one].image.name;
  wanted.suffix = wanted.suffix == "phase1" ? "phase2" : "phase1";
  for (std::size_t n = 0; n < images.size(); ++n) {
    const IndexedImage& other = images[n].image;
    if (other.datatype == "fmap" && other.session == images[one].image.session &&
        other.name.text() == wanted.text())
      return n;
  }
  return std::nullopt;
}

// All that the image measures a field with, be it complete or not.
MeasuringImages measurementOf(const std::vector<ImageFacts>& images, std::size_t one) {
  const std::string suffix = images[one].image.suffix();
  if (suffix == "phasediff" || suffix == "fieldmap") return {one};
  const std::optional<std::size_t> other = otherPhaseOf(images, one);
  if (!other) return {};
  return suffix == "phase1" ? MeasuringImages{one, *other} : MeasuringImages{*other, one};
}

std::string faultOf(const std::vector<ImageFacts>& images, const MeasuringImages& measurement) {
  for (const std::size_t image : measurement)
    if (!images[image].fault.empty()) return images[image].fault;
  return "";
}

}  // namespace

std::vector<MeasuringImages> measurementsAmong(const std::vector<ImageFacts>& images,
                                               const std::vector<std::size_t>& pool) {
  std::vector<MeasuringImages> found;
  for (const std::size_t one : pool) {
    if (!isOtherField(images[one].image)) continue;
    const MeasuringImages measurement = measurementOf(images, one);
    if (!measurement.empty() && faultOf(images, measurement).empty() &&
        std::find(found.begin(), found.end(), measurement) == found.end())
      found.push_back(measurement);
  }
  return found;
}

std::string whyNoMeasurement(const std::vector<ImageFacts>& images,
                             const std::vector<std::size_t>& pool) {
  if (!measurementsAmong(images, pool).empty()) return "";
  for (const std::size_t one : pool) {
    if (!isOtherField(images[one].image)) continue;
    const MeasuringImages measurement = measurementOf(images, one);
    if (!measurement.empty()) return faultOf(images, measurement);
    return images[one].fileName() + " is the phase of one echo, and the other echo's is not there";
  }
  return "";
}

std::optional<MeasuringImages> nearestMeasurement(const std::vector<ImageFacts>& images,
                                                  const std::vector<MeasuringImages>& measurements,
                                                  std::size_t image) {
  if (measurements.size() == 1) return measurements.front();
  std::vector<double> seconds;
  for (const MeasuringImages& each : measurements)
    seconds.push_back(secondsBetween(images[each.front()], images[image]));
  const std::optional<std::size_t> nearest = shortestOf(seconds);
  return nearest ? std::optional(measurements[*nearest]) : std::nullopt;
}

}  // namespace mirel::dataset
