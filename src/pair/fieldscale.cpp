#include "pair/fieldscale.h"

#include <numbers>
#include <vector>

#include "pair/agreement.h"

namespace mirel {

namespace {

std::vector<double> factorsToTry(std::optional<double> readoutSeconds) {
  const double turn = 2 * std::numbers::pi;
  std::vector<double> factors = {1 / turn, 0.25, 0.35, 0.5, 0.7, 1.4, 2, 2.8, 4, turn};
  if (readoutSeconds && *readoutSeconds > 0)
    for (const double sign : {1.0, -1.0}) factors.push_back(sign / *readoutSeconds);
  return factors;
}

}  // namespace

FieldScale bestFieldScale(const Volume<float>& first, const Volume<float>& second,
                          const Volume<float>& ofFirst, const Volume<float>& ofSecond, int axis,
                          const Volume<float>& mask, double asItIs,
                          std::optional<double> readoutSeconds) {
  const auto agreementAt = [&](double factor) {
    const auto times = static_cast<float>(factor);
    return agreementThrough(ofFirst * times, ofSecond * times, axis, first, second, mask);
  };
  FieldScale best = {1, asItIs};
  for (const double factor : factorsToTry(readoutSeconds)) {
    const double agreement = agreementAt(factor);
    if (agreement > best.agreement) best = {factor, agreement};
  }
  return best;
}

}  // namespace mirel
