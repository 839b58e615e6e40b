#include "pair/pairmask.h"

#include <algorithm>
#include <cmath>

#include "base/dimensions.h"
#include "base/error.h"
#include "base/numbertext.h"
#include "bids/doubts.h"
#include "field/grid.h"
#include "nifti/image.h"
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

}  // namespace mirel
