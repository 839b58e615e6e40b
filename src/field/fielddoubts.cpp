#include "field/fielddoubts.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "base/numbertext.h"
#include "field/phaserange.h"
#include "numerics/statistics.h"

namespace mirel {

namespace {

// No head has these in most of its voxels (a whole part per million at 7 T is 298 Hz), and a field
// that stays below the other moves nothing by a thousandth of a voxel.
constexpr double impossibleHz = 1000;
constexpr double idleHz = 0.01;
constexpr std::size_t fewValues = 16;

// Of more than a few different values, as a field has them; a test image has one.
bool isWhole(const Volume<float>& values) {
  std::set<float> different;
  for (int n = 0; n < values.size(); ++n) {
    const float value = values.data()[n];
    if (value != std::round(value)) return false;
    if (different.size() <= fewValues) different.insert(value);
  }
  return different.size() > fewValues;
}

double medianOfRest(const Volume<float>& values) {
  std::vector<float> sizes;
  for (int n = 0; n < values.size(); ++n)
    if (values.data()[n] != 0.0f) sizes.push_back(std::abs(values.data()[n]));
  return sizes.empty() ? 0.0 : static_cast<double>(quantile(sizes, 0.5));
}

}  // namespace

std::vector<std::string> doubtsAbout(const Volume<float>& raw, double hertzPerUnit, bool isStated) {
  std::vector<std::string> doubts;
  const double least = static_cast<double>(raw.min()), greatest = static_cast<double>(raw.max());
  if (filledPhaseRange(least, greatest) != nullptr)
    doubts.push_back("runs from " + text(least) + " to " + text(greatest) +
                     ", which is the range of raw phase images rather than of a field");
  else if (!isStated && isWhole(raw))
    doubts.emplace_back(
        "holds whole numbers only, as images of phase or magnitude do and fields in Hz hardly "
        "ever");
  const double median = hertzPerUnit * medianOfRest(raw);
  if (median > impossibleHz)
    doubts.push_back("is beyond " + text("%.0f", median) +
                     " Hz in half of its voxels, which no head has");
  if (hertzPerUnit * std::max(std::abs(least), std::abs(greatest)) < idleHz)
    doubts.push_back("is below " + text(idleHz) +
                     " Hz everywhere, so that nothing moves; its unit may be another one");
  return doubts;
}

}  // namespace mirel
