#include "motion/motionsamples.h"

#include <algorithm>
#include <array>
#include <glm/geometric.hpp>
#include <glm/matrix.hpp>

#include "field/alignmentlevel.h"
#include "motion/smoothcoefficients.h"
#include "nifti/orientation.h"
#include "numerics/bspline.h"
#include "numerics/difference.h"
#include "numerics/interpolation.h"

namespace mirel {

namespace {

// The reference's spline, and where it is asked.
class ReferenceSpline {
 public:
  ReferenceSpline(const Volume<float>& image, const glm::dvec3& sigma) : n(image.dimensions()) {
    smoothCoefficients(image, sigma, scratch);
  }

  // Value, and slopes per voxel.
  std::array<double, 4> at(glm::dvec3 p) {
    std::array<double, 4> r{};
    evalBSplineAndGrad3D(scratch.coefficients.data(), n.x, n.y, n.z, &p.x, &p.y, &p.z, 1, r.data(),
                         &r[1], &r[2], &r[3]);
    return r;
  }

 private:
  glm::ivec3 n;
  SmoothScratch scratch;
};

}  // namespace

MotionChange changeOf(const glm::dvec3& perMm, const glm::dvec3& mm, double value) {
  const glm::dvec3 turning = glm::cross(mm, perMm);
  MotionChange change;
  change << perMm.x, perMm.y, perMm.z, turning.x, turning.y, turning.z, value;
  return change;
}

MmToVoxels::MmToVoxels(const Grid& grid, const std::string& name)
    : middle(0.5 * (glm::dvec3(grid.dims) - 1.0)) {
  voxelToVoxel(grid.affine, grid.affine, name);
  turn = glm::inverse(glm::dmat3(grid.affine));
}

void sampleForMotion(const Volume<float>& reference, const DistortedPlace& place,
                     const MmToVoxels& toVoxels, const std::vector<int>& voxels,
                     MotionLevel& level) {
  const glm::ivec3 dims = reference.dimensions();
  ReferenceSpline spline(reference, level.sigmaMm / nifti::columnLengths(place.grid.affine));
  std::array<Volume<float>, 3> slopes;
  for (int axis = 0; axis < 3; ++axis)
    slopes[static_cast<std::size_t>(axis)] = slopeAlong(place.shift, axis);
  const std::size_t count = std::min(level.wanted, voxels.size());
  for (std::size_t n = 0; n < count; ++n) {
    const int at = voxels[n * voxels.size() / count];
    const glm::dvec3 voxel =
        glm::dvec3(at % dims.x, at / dims.x % dims.y, at / dims.x / dims.y) + placeInVoxel(n);
    MotionSample sample{};
    sample.mm = glm::dmat3(place.grid.affine) * (voxel - toVoxels.middle);
    sample.shift = trilinear(place.shift, voxel);
    glm::dvec3 shown = voxel;
    shown[place.axis] += sample.shift;
    if (!isWithin(shown, dims)) continue;
    for (int axis = 0; axis < 3; ++axis)
      sample.slope[axis] = trilinear(slopes[static_cast<std::size_t>(axis)], voxel);
    const double density = std::max(1.0 + sample.slope[place.axis], 0.0);
    const std::array<double, 4> value = spline.at(shown);
    sample.value = density * value[0];
    const glm::dvec3 perMm =
        density * (glm::transpose(toVoxels.turn) * glm::dvec3(value[1], value[2], value[3]));
    sample.change = changeOf(perMm, sample.mm, sample.value);
    sample.group = sampleGroupAt(sample.mm);
    level.samples.push_back(sample);
  }
}

}  // namespace mirel
