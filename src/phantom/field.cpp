#include "phantom/field.h"

#include <algorithm>
#include <cmath>
#include <glm/common.hpp>
#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

#include "numerics/interpolation.h"
#include "phantom/shim.h"
#include "phantom/tissuefield.h"

namespace mirel {

namespace {

// A hundredth of the brain's signal: the faint ends of the blur may leave the grid.
constexpr float faintSignal = 10.0F;
// The field is smoothed with 1.5 * 1.2^step voxels; the last step is 6.4 voxels.
constexpr int smoothingSteps = 8;

// At least `least`, such that size + 2 margin has no prime factor above 7.
int fftMargin(int size, int least) {
  const auto isSmooth = [](int n) {
    for (int p : {2, 3, 5, 7})
      while (n % p == 0) n /= p;
    return n == 1;
  };
  while (!isSmooth(size + 2 * least)) ++least;
  return least;
}

double meanInBrain(const Volume<double>& field, glm::ivec3 margin, const HeadObject& head) {
  double sum = 0.0;
  int count = 0;
  const glm::ivec3 size = head.image.dimensions();
  for (int z = 0; z < size.z; ++z)
    for (int y = 0; y < size.y; ++y)
      for (int x = 0; x < size.x; ++x)
        if (head.brainMask.at(x, y, z)) {
          sum += field[glm::ivec3(x, y, z) + margin];
          ++count;
        }
  return count > 0 ? sum / count : 0.0;
}

struct Extremes {
  double maxInHead = 0.0;    // |field| in Hz
  double maxGradient = 0.0;  // |difference of neighbours along the axis| in Hz
  double maxScale = 0.0;     // of the field as a shift in voxels: beyond it signal leaves the grid
};

Extremes measure(const Volume<double>& field, glm::ivec3 margin, const HeadObject& head,
                 PhaseEncodingAxis axis) {
  Extremes e;
  e.maxScale = std::numeric_limits<double>::infinity();
  const glm::ivec3 size = head.image.dimensions();
  const int a = axis == PhaseEncodingAxis::y ? 1 : 0;
  for (int z = 0; z < size.z; ++z)
    for (int y = 0; y < size.y; ++y)
      for (int x = 0; x < size.x; ++x) {
        glm::ivec3 p(x, y, z);
        const double value = std::abs(field[p + margin]);
        if (head.headMask[p]) e.maxInHead = std::max(e.maxInHead, value);
        if (head.image[p] > faintSignal && value > 0.0)
          e.maxScale = std::min(e.maxScale, std::min(p[a], size[a] - 1 - p[a]) / value);
        if (p[a] + 1 < size[a]) {
          glm::ivec3 next = p + margin;
          ++next[a];
          e.maxGradient = std::max(e.maxGradient, std::abs(field[next] - field[p + margin]));
        }
      }
  return e;
}

void checkGoal(const FieldGoal& goal) {
  if (!(goal.readoutSeconds > 0.0) || !std::isfinite(goal.readoutSeconds))
    throw std::invalid_argument("the total readout time must be above 0 s");
  if (!(goal.maxShiftVoxels >= 0.0) || !std::isfinite(goal.maxShiftVoxels))
    throw std::invalid_argument("the largest shift must be 0 voxels or more");
  if (!(goal.maxShiftGradient > 0.0))
    throw std::invalid_argument("the largest gradient of the shift must be above 0");
}

}  // namespace

HeadField makeHeadField(const PhantomGrid& grid, const HeadObject& head, std::uint64_t seed,
                        const FieldGoal& goal) {
  checkGoal(goal);
  glm::ivec3 margin;
  for (int axis = 0; axis < 3; ++axis)
    margin[axis] = fftMargin(grid.size[axis], std::max(4, grid.size[axis] / (axis == 2 ? 2 : 4)));
  const Shim shim(head.brainMask, grid.voxelMm, margin);
  TissueField tissueField(sampleSusceptibility(grid, margin, seed), grid.voxelMm, shim);

  const bool bounded = std::isfinite(goal.maxShiftGradient);
  const double voxel = std::cbrt(grid.voxelMm.x * grid.voxelMm.y * grid.voxelMm.z);
  struct Candidate {
    Volume<double> field;
    Extremes extremes;
    double sigmaMm = 0, scale = 1;  // to the largest shift in voxels
  };
  const auto tryStep = [&](int step) {
    Candidate c;
    c.sigmaMm = voxel * 1.5 * std::pow(1.2, step);
    c.field = tissueField.smoothed(c.sigmaMm);
    c.field -= meanInBrain(c.field, margin, head);  // smoothing may bring a constant back
    c.extremes = measure(c.field, margin, head, goal.axis);
    c.scale = c.extremes.maxInHead > 0.0 ? goal.maxShiftVoxels / c.extremes.maxInHead : 0.0;
    return c;
  };
  Candidate chosen = tryStep(bounded ? smoothingSteps : 0);
  for (int low = 0, high = smoothingSteps; bounded && low < high;) {
    const int middle = (low + high) / 2;
    Candidate c = tryStep(middle);
    if (c.extremes.maxGradient * c.scale <= goal.maxShiftGradient) {
      chosen = std::move(c);
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  if (bounded) {
    if (chosen.extremes.maxGradient > 0.0)
      chosen.scale = std::min(chosen.scale, goal.maxShiftGradient / chosen.extremes.maxGradient);
    chosen.scale = std::min(chosen.scale, chosen.extremes.maxScale);
  }
  chosen.field *= chosen.scale / goal.readoutSeconds;
  return HeadField(std::move(chosen.field), margin, grid, chosen.sigmaMm);
}

double HeadField::cubicAt(glm::dvec3 voxel) const {
  const glm::ivec3 top = extendedHz.dimensions() - 1;
  const glm::dvec3 p = glm::clamp(voxel + glm::dvec3(margin), glm::dvec3(0.0), glm::dvec3(top));
  const glm::dvec3 base = glm::floor(p), t = p - base;
  const auto at = [&](int i, int j, int k) {
    return extendedHz[glm::clamp(glm::ivec3(base) + glm::ivec3(i, j, k), glm::ivec3(0), top)];
  };
  const auto row = [&](int j, int k) {
    return cubicConvolution(at(-1, j, k), at(0, j, k), at(1, j, k), at(2, j, k), t.x);
  };
  const auto plane = [&](int k) {
    return cubicConvolution(row(-1, k), row(0, k), row(1, k), row(2, k), t.y);
  };
  return cubicConvolution(plane(-1), plane(0), plane(1), plane(2), t.z);
}

Volume<float> HeadField::hz(const RigidMotion& motion) const {
  Volume<float> result(grid.size);
  const glm::dmat3 back = glm::transpose(motion.rotation());
  for (int z = 0; z < grid.size.z; ++z)
    for (int y = 0; y < grid.size.y; ++y)
      for (int x = 0; x < grid.size.x; ++x) {
        const glm::ivec3 p(x, y, z);
        const glm::dvec3 before = back * (grid.positionMm(p) - motion.translationMm);
        result[p] = static_cast<float>(motion.isNone() ? extendedHz[p + margin]
                                                       : cubicAt(grid.voxelAt(before)));
      }
  return result;
}

}  // namespace mirel
