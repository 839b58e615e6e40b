#include "phase/phasescale.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/error.h"
#include "base/numbertext.h"
#include "field/phaserange.h"
#include "phase/angle.h"

namespace mirel {

namespace {

using Source = PhaseScale::Source;

constexpr double leastJumps = 1e-4;
constexpr double largestSample = 4095;  // of 12 bits, which scanners store phases in

struct ValueRange {
  double least = std::numeric_limits<double>::infinity();
  double greatest = -std::numeric_limits<double>::infinity();

  std::string text() const { return mirel::text(least) + " to " + mirel::text(greatest); }
};

ValueRange rangeOf(const Volume<float>& values) {
  ValueRange range;
  for (int n = 0; n < values.size(); ++n) {
    const auto value = static_cast<double>(values.data()[n]);
    if (!std::isfinite(value)) continue;
    range.least = std::min(range.least, value);
    range.greatest = std::max(range.greatest, value);
  }
  return range;
}

// The part of the neighbours along any axis that are more than `limit` apart.
double jumps(const Volume<float>& values, double limit) {
  const glm::ivec3 dims = values.dimensions();
  double pairs = 0, apart = 0;
  const auto look = [&](int a, int b) {
    ++pairs;
    apart += std::abs(static_cast<double>(values.data()[a] - values.data()[b])) > limit;
  };
  for (int z = 0, n = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x, ++n) {
        if (x > 0) look(n, n - 1);
        if (y > 0) look(n, n - dims.x);
        if (z > 0) look(n, n - dims.x * dims.y);
      }
  return pairs == 0 ? 0 : apart / pairs;
}

PhaseScale scaleOf(const PhaseRange& range, Source source) {
  return {range.zero, range.radiansPerUnit, range.name, source};
}

PhaseScale statedRadians(const ValueRange& found, const std::string& file) {
  constexpr double aTurn = 6.2833;  // with four digits
  if (std::max(-found.least, found.greatest) > aTurn || found.greatest - found.least > aTurn)
    throw Error(file, "is to be in rad, but runs from " + found.text() + ", more than a turn");
  return {0, 1, "radians", Source::units};
}

// What slope and intercept make of 12 bits; null where that is no scale of phases.
const PhaseRange* scaledRange(const nifti::Header& header) {
  if (!header.hasScaling()) return nullptr;
  return filledPhaseRange(std::min(header.inter, header.inter + header.slope * largestSample),
                          std::max(header.inter, header.inter + header.slope * largestSample));
}

}  // namespace

std::string PhaseScale::sourceText() const {
  switch (source) {
    case Source::units:
      return "units";
    case Source::scaling:
      return "slope and intercept";
    case Source::range:
      break;
  }
  return "range of the values";
}

PhaseScale phaseScaleOf(const Volume<float>& values, const nifti::Header& header,
                        std::optional<bids::Unit> stated, const std::string& file) {
  const ValueRange found = rangeOf(values);
  if (!(found.least < found.greatest))
    throw Error(file, "is no phase image: all of its voxels have the same value");
  if (stated && *stated != bids::Unit::radians && *stated != bids::Unit::arbitrary)
    throw Error(file, "is in " + nameOf(*stated) + ", not a phase image");
  if (stated == bids::Unit::radians) return statedRadians(found, file);
  if (const PhaseRange* scaled = scaledRange(header)) {
    if (found.least >= scaled->lowest && found.greatest <= scaled->highest)
      return scaleOf(*scaled, Source::scaling);
    throw Error(file, "runs from " + found.text() + ", beyond the phases " + scaled->name +
                          " that its slope and intercept are for");
  }
  const PhaseRange* filled = filledPhaseRange(found.least, found.greatest);
  if (filled == nullptr)
    throw Error(file, "runs from " + found.text() +
                          ", which is no scale of phases that is known, and has no Units rad");
  if (jumps(values, 0.5 * (filled->highest - filled->lowest)) <= leastJumps)
    throw Error(file, "runs from " + found.text() +
                          " as phases do, but nowhere jumps from one end to the other: is it a "
                          "magnitude?");
  return scaleOf(*filled, Source::range);
}

Volume<float> radiansOf(const Volume<float>& values, const PhaseScale& scale) {
  Volume<float> radians(values.dimensions());
  std::transform(values.data(), values.data() + values.size(), radians.data(), [&](float value) {
    return static_cast<float>(
        wrapped((static_cast<double>(value) - scale.zero) * scale.radiansPerUnit));
  });
  return radians;
}

}  // namespace mirel
