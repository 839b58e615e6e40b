#include "accuracy/measure.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "nifti/image.h"

namespace mirel {

std::vector<std::uint64_t> seedsOf(int argc, char** argv) {
  std::vector<std::uint64_t> seeds;
  for (int n = 1; n < argc; ++n) seeds.push_back(std::strtoull(argv[n], nullptr, 10));
  if (seeds.empty()) seeds = {1, 2, 3};
  return seeds;
}

Placed readPlaced(const std::string& fileName) {
  nifti::Reader reader(fileName);
  return {reader.readVolume(0), reader.header().affine()};
}

Volume<float> resampledTo(const Placed& target, const Placed& source) {
  const glm::dmat4 toSource = glm::inverse(source.affine) * target.affine;
  Volume<float> result(target.image.dimensions());
  for (int z = 0; z < result.nz(); ++z)
    for (int y = 0; y < result.ny(); ++y)
      for (int x = 0; x < result.nx(); ++x) {
        const glm::dvec4 p = toSource * glm::dvec4(x, y, z, 1);
        result.at(x, y, z) = source.image.linear(glm::vec3(p));
      }
  return result;
}

Mask maskAbove(const Volume<float>& image, double threshold) {
  Mask mask(image.dimensions());
  std::transform(image.data(), image.data() + image.size(), mask.data(),
                 [threshold](float v) { return static_cast<unsigned char>(v > threshold); });
  return mask;
}

Mask eroded(const Mask& mask, int times) {
  if (times == 0) return mask;
  Mask result = mask;
  for (int z = 0; z < mask.nz(); ++z)
    for (int y = 0; y < mask.ny(); ++y)
      for (int x = 0; x < mask.nx(); ++x)
        if (!mask.get(x - 1, y, z) || !mask.get(x + 1, y, z) || !mask.get(x, y - 1, z) ||
            !mask.get(x, y + 1, z) || !mask.get(x, y, z - 1) || !mask.get(x, y, z + 1))
          result.at(x, y, z) = 0;
  return eroded(result, times - 1);
}

int count(const Mask& mask) {
  return static_cast<int>(std::count(mask.data(), mask.data() + mask.size(), 1));
}

double correlation(const Volume<float>& a, const Volume<float>& b, const Mask& mask) {
  double n = 0, sa = 0, sb = 0, saa = 0, sbb = 0, sab = 0;
  for (int i = 0; i < mask.size(); ++i) {
    if (!mask.data()[i]) continue;
    const double p = a.data()[i], q = b.data()[i];
    n += 1;
    sa += p;
    sb += q;
    saa += p * p;
    sbb += q * q;
    sab += p * q;
  }
  return (n * sab - sa * sb) / std::sqrt((n * saa - sa * sa) * (n * sbb - sb * sb));
}

double rmsDifference(const Volume<float>& a, const Volume<float>& b, const Mask& mask) {
  double n = 0, sum = 0;
  for (int i = 0; i < mask.size(); ++i)
    if (mask.data()[i]) {
      const double d = static_cast<double>(a.data()[i]) - b.data()[i];
      n += 1;
      sum += d * d;
    }
  return std::sqrt(sum / n);
}

double median(const Volume<float>& a, const Mask& mask) {
  std::vector<float> values;
  for (int i = 0; i < mask.size(); ++i)
    if (mask.data()[i]) values.push_back(a.data()[i]);
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace mirel
