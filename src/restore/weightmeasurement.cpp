#include "restore/weightmeasurement.h"

#include <algorithm>
#include <cmath>

#include "numerics/statistics.h"
#include "pair/foreground.h"

namespace mirel {

namespace {

constexpr double sameVariances = 4.0 / 3;
constexpr double leastOfAcquired = 0.25;
constexpr double leastRoughness = 0.02, leastVariance = 1e-6;

double secondDifference(double below, double middle, double above) {
  return below - 2 * middle + above;
}

double at(const Volume<float>& image, glm::ivec3 p) { return static_cast<double>(image[p]); }

double noiseVariance(const Volume<float>& image, double head) {
  std::vector<float> sizes;
  for (int z = 0; z < image.nz(); ++z)
    for (int y = 1; y + 1 < image.ny(); ++y)
      for (int x = 1; x + 1 < image.nx(); ++x) {
        if (!(at(image, {x, y, z}) > head)) continue;
        const auto row = [&](int j) {
          return secondDifference(at(image, {x - 1, j, z}), at(image, {x, j, z}),
                                  at(image, {x + 1, j, z}));
        };
        sizes.push_back(
            static_cast<float>(std::abs(secondDifference(row(y - 1), row(y), row(y + 1)))));
      }
  if (sizes.empty()) return 0;
  return std::pow(static_cast<double>(quantile(sizes, 0.5)) / (6 * 0.6745), 2);
}

double commonRoughness(const Volume<float>& a, const Volume<float>& b, int axis, double head) {
  glm::ivec3 step(0);
  step[axis] = 1;
  double sum = 0;
  int count = 0;
  for (int z = step.z; z < a.nz() - step.z; ++z)
    for (int y = step.y; y < a.ny() - step.y; ++y)
      for (int x = step.x; x < a.nx() - step.x; ++x) {
        const glm::ivec3 p(x, y, z);
        if (!(at(a, p) + at(b, p) > 2 * head)) continue;
        sum += secondDifference(at(a, p - step), at(a, p), at(a, p + step)) *
               secondDifference(at(b, p - step), at(b, p), at(b, p + step));
        ++count;
      }
  return count > 0 ? sum / count : 0;
}

double median(std::vector<float> values) {
  return values.empty() ? 0 : static_cast<double>(quantile(values, 0.5));
}

}  // namespace

WeightMeasurement::WeightMeasurement(const Volume<float>& firstShift,
                                     const Volume<float>& secondShift, int alongAxis)
    : axis(alongAxis),
      firstCorrector(firstShift, alongAxis, Modulation::on),
      secondCorrector(secondShift, alongAxis, Modulation::on) {}

void WeightMeasurement::add(const Volume<float>& first, const Volume<float>& second) {
  const double head = headThreshold(meanOf(first, second));
  if (!(head > 0)) return;
  Volume<float> a, b;
  firstCorrector.correct(first, a, scratch);
  secondCorrector.correct(second, b, scratch);
  heads.push_back(static_cast<float>(head));
  firstVariances.push_back(static_cast<float>(noiseVariance(first, head)));
  secondVariances.push_back(static_cast<float>(noiseVariance(second, head)));
  const double ofFirst = commonRoughness(first, first, axis, head) -
                         6 * static_cast<double>(firstVariances.back()),
               ofSecond = commonRoughness(second, second, axis, head) -
                          6 * static_cast<double>(secondVariances.back());
  roughness.push_back(static_cast<float>(
      std::max(commonRoughness(a, b, axis, head), leastOfAcquired * (ofFirst + ofSecond) / 2)));
}

RestoreWeights WeightMeasurement::weights() const {
  double first = median(firstVariances), second = median(secondVariances);
  const double least = leastVariance * std::max({median(roughness), first, second, 1e-30});
  first = std::max(first, least);
  second = std::max(second, least);
  if (std::max(first, second) < sameVariances * std::min(first, second))
    first = second = (first + second) / 2;
  return {first, second, std::max(median(roughness), leastRoughness * (first + second)),
          median(heads)};
}

}  // namespace mirel
