#include "pair/shiftdoubt.h"

#include <algorithm>
#include <cmath>

#include "base/numbertext.h"
#include "pair/foreground.h"

namespace mirel {

namespace {

constexpr double largestPart = 0.01;
constexpr double largestShift = 0.25;  // of the image
// Fields of a head at 3 T, measured and estimated, fold 0 to 0.7 % of it; taken for Hz in rad/s
// they fold 3.2 to 15 %.
constexpr double largestFoldedPart = 0.02;

struct Counts {
  double head = 0, beyond = 0, folded = 0;
};

bool foldsAt(const Volume<float>& shift, glm::ivec3 at, int axis) {
  glm::ivec3 before = at, after = at;
  before[axis] = std::max(at[axis] - 1, 0);
  after[axis] = std::min(at[axis] + 1, shift.dimensions()[axis] - 1);
  const int apart = after[axis] - before[axis];
  return apart > 0 && shift.get(after) - shift.get(before) < -static_cast<float>(apart);
}

Counts countIn(const Volume<float>& mean, const Volume<float>& shift, int axis) {
  const double threshold = headThreshold(mean);
  const double limit = largestShift * mean.dimensions()[axis];
  Counts counts;
  for (int z = 0; z < mean.nz(); ++z)
    for (int y = 0; y < mean.ny(); ++y)
      for (int x = 0; x < mean.nx(); ++x) {
        if (!(static_cast<double>(mean.at(x, y, z)) > threshold)) continue;
        counts.head += 1;
        counts.beyond += std::abs(static_cast<double>(shift.at(x, y, z))) > limit;
        counts.folded += foldsAt(shift, {x, y, z}, axis);
      }
  return counts;
}

}  // namespace

std::string shiftDoubt(const Volume<float>& mean, const Volume<float>& shift, int axis,
                       const std::string& file, const std::string& source) {
  const Counts counts = countIn(mean, shift, axis);
  const auto sentence = [&](double part, const char* what) {
    return "CHECK THE UNIT of " + source + ": with it " + text("%.0f", 100 * part / counts.head) +
           " % of the head in " + file + what;
  };
  if (counts.beyond > largestPart * counts.head)
    return sentence(counts.beyond, " are displaced by more than a quarter of the image");
  if (counts.folded > largestFoldedPart * counts.head)
    return sentence(counts.folded, " are folded over their neighbours");
  return {};
}

}  // namespace mirel
