#include "masspreserving/posterior.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <glm/vec3.hpp>
#include <vector>

#include "numerics/splitmix.h"

namespace mirel {

namespace {

constexpr double drawTolerance = 0.003;
constexpr int mostIterations = 400;
constexpr int blockEdge = 3;
// Of the leverages, which need not be as accurate.
constexpr double leverageTolerance = 0.02;
constexpr float leastShare = 0.05F;
constexpr std::uint64_t leverageStream = 1000;  // of signs, beside those of the draws

// Reproducible random numbers, one after the other.
class Draws {
 public:
  explicit Draws(std::uint64_t stream) : state(stream << 40U) {}
  float sign() { return (splitMix64(state++) & 1U) != 0 ? 1.0F : -1.0F; }
  int below(int n) {
    return static_cast<int>((splitMix64(state++) >> 8U) % static_cast<std::uint64_t>(n));
  }

 private:
  std::uint64_t state;
};

// The residuals with a sign for each block, the blocks' corner drawn as well.
Volume<float> signedBlocks(const Volume<float>& residuals, Draws& draws) {
  const glm::ivec3 size = residuals.dimensions(), blocks = size / blockEdge + 2;
  std::vector<float> signs;
  for (int k = 0; k < blocks.x * blocks.y * blocks.z; ++k) signs.push_back(draws.sign());
  glm::ivec3 corner;
  for (int axis = 0; axis < 3; ++axis) corner[axis] = draws.below(blockEdge);
  Volume<float> result(size);
  for (int z = 0; z < size.z; ++z)
    for (int y = 0; y < size.y; ++y)
      for (int x = 0; x < size.x; ++x) {
        const glm::ivec3 k = (glm::ivec3(x, y, z) + corner) / blockEdge;
        const int block = (k.z * blocks.y + k.y) * blocks.x + k.x;
        result.at(x, y, z) = residuals.at(x, y, z) * signs[static_cast<std::size_t>(block)];
      }
  return result;
}

// J'W of the residuals with their signs, and the roots of the barrier's and of the roughness'
// second derivatives times signs.
Volume<float> draw(const Objective<float>& objective, const Volume<float>& b,
                   const Volume<float>& full, Draws& draws) {
  Volume<float> u(b.dimensions());
  Volume<float> residuals = signedBlocks(full, draws);
  objective.takeRatioFrom(residuals);
  objective.gradientOf(residuals, u);
  for (int z = 0; z < b.nz(); ++z)
    for (int j = 0; j + 1 < b.ny(); ++j)
      for (int x = 0; x < b.nx(); ++x) {
        const Barrier barrier(static_cast<double>(b.at(x, j + 1, z)) - b.at(x, j, z));
        const float value = draws.sign() * static_cast<float>(std::sqrt(barrier.second));
        u.at(x, j, z) -= value;
        u.at(x, j + 1, z) += value;
      }
  objective.roughnessForm().addRoot([&] { return draws.sign(); }, u);
  return u;
}

// Mean over the neighbours within one voxel along an axis, as far as there are any.
Volume<float> smoothedAlong(const Volume<float>& v, int axis) {
  Volume<float> result(v.dimensions());
  const glm::ivec3 size = v.dimensions();
  for (int z = 0; z < size.z; ++z)
    for (int y = 0; y < size.y; ++y)
      for (int x = 0; x < size.x; ++x) {
        glm::ivec3 low(x, y, z), high = low;
        low[axis] = std::max(low[axis] - 1, 0);
        high[axis] = std::min(high[axis] + 1, size[axis] - 1);
        result.at(x, y, z) = (v[low] + v.at(x, y, z) + v[high]) / 3.0F;
      }
  return result;
}

Volume<float> weightedSquares(const Volume<float>& weight, const Volume<float>& values) {
  Volume<float> result = weight * values * values;
  for (int axis = 0; axis < 3; ++axis) result = smoothedAlong(result, axis);
  return result;
}

// Reduces values by what of their squares near by is noise, of which `noise` holds as much.
void takeNoise(Volume<float>& values, const Volume<float>& noise, const Volume<float>& weight) {
  const Volume<float> all = weightedSquares(weight, values),
                      feigned = weightedSquares(weight, noise);
  for (int i = 0; i < values.size(); ++i) {
    const float square = all.data()[i], rest = square - feigned.data()[i];
    values.data()[i] *= rest > 0.0F ? std::sqrt(rest / square) : 0.0F;
  }
}

}  // namespace

Objective<float> withoutSlopeNoise(const Objective<float>& objective, const Volume<float>& b) {
  Volume<float> low = objective.lowSlopes(), high = objective.highSlopes();
  Volume<float> noiseLow(low.dimensions()), noiseHigh(low.dimensions());
  objective.differenceSlopes(b, noiseLow, noiseHigh);
  Volume<float> change = high - low, sum = high + low;
  takeNoise(change, noiseHigh - noiseLow, objective.weight);
  takeNoise(sum, noiseHigh + noiseLow, objective.weight);
  Objective<float> result = objective;
  result.setSlopes(b, (sum - change) * 0.5F, (sum + change) * 0.5F);
  return result;
}

Volume<float> sharesLeft(Objective<float>& objective, const LineSolver<float>& lines, int count) {
  const auto product = [&](const Volume<float>& v, Volume<float>& out) {
    objective.product(v, out);
  };
  const Volume<float>& weight = objective.weight;
  Volume<float> shares(weight.dimensions(), 1.0F), z(weight.dimensions()), y(weight.dimensions());
  Volume<float> u(weight.nx(), weight.ny() + 1, weight.nz()), x;
  for (int k = 0; k < count; ++k) {
    Draws draws(leverageStream + static_cast<std::uint64_t>(k));
    // gradientOf is J'W: of signs over the roots of the weights, J' W^1/2.
    for (int i = 0; i < z.size(); ++i) {
      const float w = weight.data()[i];
      z.data()[i] = w > 0.0F ? draws.sign() / std::sqrt(w) : 0.0F;
    }
    objective.gradientOf(z, u);
    conjugateGradients<float>(product, lines, u, x, leverageTolerance, mostIterations);
    objective.residualChange(x, y);
    for (int i = 0; i < z.size(); ++i)
      shares.data()[i] -= weight.data()[i] * z.data()[i] * y.data()[i] / static_cast<float>(count);
  }
  for (int axis = 0; axis < 3; ++axis) shares = smoothedAlong(shares, axis);
  for (int i = 0; i < shares.size(); ++i)
    shares.data()[i] = std::clamp(shares.data()[i], leastShare, 1.0F);
  return shares;
}

Volume<float> posteriorVariance(const Objective<float>& objective, Objective<float>& hessian,
                                const LineSolver<float>& lines, const Volume<float>& b,
                                const Volume<float>& shares, int count) {
  const auto product = [&](const Volume<float>& v, Volume<float>& out) { hessian.product(v, out); };
  Volume<float> full = objective.residuals();
  for (int i = 0; i < full.size(); ++i) full.data()[i] /= std::sqrt(shares.data()[i]);
  Volume<float> variance(objective.residuals().dimensions(), 0.0F), x;
  for (int k = 0; k < count; ++k) {
    Draws draws(static_cast<std::uint64_t>(k) + 1);
    conjugateGradients<float>(product, lines, draw(objective, b, full, draws), x, drawTolerance,
                              mostIterations);
    for (int z = 0; z < variance.nz(); ++z)
      for (int y = 0; y < variance.ny(); ++y)
        for (int i = 0; i < variance.nx(); ++i) {
          const float centre = 0.5F * (x.at(i, y, z) + x.at(i, y + 1, z));
          variance.at(i, y, z) += centre * centre / static_cast<float>(count);
        }
  }
  for (int axis = 0; axis < 3; ++axis) variance = smoothedAlong(variance, axis);
  return variance;
}

}  // namespace mirel
