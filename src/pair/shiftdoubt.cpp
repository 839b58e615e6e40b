#include "pair/shiftdoubt.h"

#include <cmath>

#include "base/numbertext.h"
#include "pair/foreground.h"

namespace mirel {

namespace {

constexpr double largestPart = 0.01;
constexpr double largestShift = 0.25;  // of the image

}  // namespace

std::string shiftDoubt(const Volume<float>& mean, const Volume<float>& shift, int axis,
                       const std::string& file, const std::string& source) {
  const double threshold = headThreshold(mean);
  const double limit = largestShift * mean.dimensions()[axis];
  double head = 0, beyond = 0;
  for (int n = 0; n < mean.size(); ++n) {
    if (!(static_cast<double>(mean.data()[n]) > threshold)) continue;
    head += 1;
    beyond += std::abs(static_cast<double>(shift.data()[n])) > limit;
  }
  if (!(beyond > largestPart * head)) return {};
  return "CHECK THE UNIT of " + source + ": with it " + text("%.0f", 100 * (beyond / head)) +
         " % of the head in " + file + " are displaced by more than a quarter of the image";
}

}  // namespace mirel
