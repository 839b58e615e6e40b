#include "pair/agreement.h"

#include <algorithm>
#include <cmath>

#include "field/corrector.h"
#include "numerics/statistics.h"

namespace mirel {

Volume<float> headMask(const Volume<float>& mean, double threshold) {
  Volume<float> mask(mean.dimensions());
  std::transform(mean.data(), mean.data() + mean.size(), mask.data(),
                 [threshold](float v) { return static_cast<double>(v) > threshold ? 1.0f : 0.0f; });
  return mask;
}

double agreementOf(const Volume<float>& a, const Volume<float>& b, const Volume<float>& mask) {
  const double r = correlation(a, b, mask);
  return std::isnan(r) ? 0 : r;
}

double agreementThrough(const Volume<float>& ofFirst, const Volume<float>& ofSecond, int axis,
                        const Volume<float>& first, const Volume<float>& second,
                        const Volume<float>& mask) {
  return agreementOf(correctVolume(first, ofFirst, axis, Modulation::on),
                     correctVolume(second, ofSecond, axis, Modulation::on), mask);
}

}  // namespace mirel
