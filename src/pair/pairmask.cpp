#include "pair/pairmask.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "base/dimensions.h"
#include "base/error.h"
#include "base/numbertext.h"
#include "bids/doubts.h"
#include "field/grid.h"
#include "nifti/image.h"
#include "numerics/statistics.h"
#include "pair/columns.h"

namespace mirel {

namespace {

void requireGridOf(const InputImage& image, const nifti::Header& mask, const std::string& file) {
  const std::string& other = image.options.file;
  if (mask.dims != image.header.dims)
    throw Error(file, "has " + text(mask.dims) + " voxels and " + other + " " +
                          text(image.header.dims) + ": a mask has the grid of the pair");
  if (!hasOrientation(mask)) return;
  const double apart = cornersApart(gridOf(mask), gridOf(image.header), other);
  if (!(apart <= samePlaceVoxels))
    throw Error(file, "lies at another place than " + other + " (up to " +
                          counted("%.3g", apart, "voxel") +
                          " away): a mask has the grid of the pair");
}

struct Range {
  float least, most;
  bool two;  ///< no other value lies between
};

Range rangeOf(const Volume<float>& image, const std::string& file) {
  const auto finite = [](float v) { return std::isfinite(v); };
  if (!std::all_of(image.data(), image.data() + image.size(), finite))
    throw Error(file, "has voxels that are NaN or infinite: a mask holds 0 to 1");
  const auto ends = std::minmax_element(image.data(), image.data() + image.size());
  const float least = *ends.first, most = *ends.second;
  const bool two = std::all_of(image.data(), image.data() + image.size(),
                               [&](float v) { return v == least || v == most; });
  return {least, most, two};
}

// Brings the values to 0 .. 1.
void scale(Volume<float>& weights, const std::string& file, PairInput& pair) {
  const Range range = rangeOf(weights, file);
  if (range.most <= 0)
    throw Error(file, "is 0 everywhere: as a mask it leaves nothing of the pair");
  const bool twoFromZero = range.two && (range.least == 0 || range.least == range.most);
  if (range.least < 0 || (range.most > 1 && !twoFromZero))
    throw Error(file, "holds values from " + text(static_cast<double>(range.least)) + " to " +
                          text(static_cast<double>(range.most)) +
                          ": a mask holds 0 to 1, or 0 and one other value");
  if (range.most == 1 || !twoFromZero) return;
  weights *= 1 / range.most;
  pair.notes.emplace_back("the " + text(static_cast<double>(range.most)) + " of the mask " + file +
                          " is taken for 1");
}

}  // namespace

void readMask(const std::string& file, PairInput& pair) {
  PairMask mask;
  mask.stamp = FileStamp(file);
  nifti::Reader reader(file);
  if (reader.storedVolumes() != 1)
    throw Error(file, "has " + std::to_string(reader.storedVolumes()) + " volumes: a mask has one");
  requireGridOf(pair.a, reader.header(), file);
  mask.weights = reader.readVolume(0);
  scale(mask.weights, file, pair);
  for (const std::string& doubt : bids::doubtsAboutSubject(file, pair.a.options.file))
    pair.warnings.emplace_back(doubt);
  pair.mask = std::move(mask);
}

double partInCutColumns(const Volume<float>& head, const Volume<float>& weights, int axis) {
  constexpr double least = 0.05;
  const auto inHead = [&](int i) { return static_cast<double>(head.data()[i]); };
  const auto inMask = [&](int i) { return inHead(i) * static_cast<double>(weights.data()[i]); };
  const Columns columns(head.dimensions(), axis);
  double taken = 0, cut = 0;
  for (const int start : columns.first) {
    const double whole = columns.total(start, inHead), part = columns.total(start, inMask);
    taken += part;
    if (part > least * whole && part < (1 - least) * whole) cut += part;
  }
  return taken > 0 ? cut / taken : 0;
}

double signalAtBorder(const Volume<float>& image, const Volume<float>& weights, int axis) {
  const auto isOutside = [&](int i) { return weights.data()[i] <= 0.0F; };
  const Columns columns(image.dimensions(), axis);
  std::vector<float> outside, beside;
  double inside = 0, count = 0;
  for (const int start : columns.first)
    for (int n = 0; n < columns.length; ++n) {
      const int i = start + n * columns.step;
      if (!isOutside(i)) {
        inside += static_cast<double>(image.data()[i]);
        ++count;
        continue;
      }
      outside.push_back(image.data()[i]);
      if ((n > 0 && !isOutside(i - columns.step)) ||
          (n + 1 < columns.length && !isOutside(i + columns.step)))
        beside.push_back(image.data()[i]);
    }
  if (beside.empty() || inside <= 0) return 0;
  return static_cast<double>(quantile(beside, 0.5) - quantile(outside, 0.5)) / (inside / count);
}

std::optional<Remark> doubtAboutBorder(const PairInput& pair, const Volume<float>& mean) {
  constexpr double mostInAir = 0.05;
  if (!pair.mask || pair.startIsMap) return std::nullopt;
  const double signal = signalAtBorder(mean, pair.mask->weights, pair.axis());
  if (signal <= mostInAir) return std::nullopt;
  return Remark("the mask " + pair.mask->stamp.fileName() + " ends where there still is signal (" +
                text("%.0f", 100 * signal) +
                " % of that within): the head's border tells much of the field, and a mask that is "
                "wider by a voxel or two is better");
}

}  // namespace mirel
