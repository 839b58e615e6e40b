#include "field/rigidalignment.h"

#include <cmath>
#include <glm/geometric.hpp>

#include "field/alignmentmeasure.h"
#include "field/comparedvoxels.h"

namespace mirel {

RigidAligner::RigidAligner(const PlacedImage& reference) : centre(middleMm(reference)) {
  voxelToVoxel(reference.affine, reference.affine, reference.name);
  const std::vector<int> voxels =
      comparedVoxels(reference.values, Volume<float>(reference.values.dimensions(), 1.0F));
  levels = {{.sigmaMm = 6, .stepMm = 4, .toleranceMm = 0.1, .wanted = 5000},
            {.sigmaMm = 3, .stepMm = 1, .toleranceMm = 0.03, .wanted = 10000},
            {.sigmaMm = 1, .stepMm = 0.3, .toleranceMm = 0.005, .wanted = 25000}};
  for (AlignmentLevel& level : levels) sampleReference(reference, voxels, level);
}

AlignmentFit RigidAligner::align(const PlacedImage& image, const RigidMotion& start,
                                 AlignmentRange range) const {
  AlignmentFit fit{start};
  if (range == AlignmentRange::wide)
    for (std::size_t n = 0; n + 1 < levels.size(); ++n)
      fit.motion = AlignmentMeasure(levels[n], centre, image, fit.motion).best(fit.motion);
  AlignmentMeasure finest(levels.back(), centre, image, fit.motion);
  fit.motion = finest.best(fit.motion);
  fit.nmi = finest.at(fit.motion);
  fit.nmiUnmoved = finest.at({});
  fit.covered = finest.covered(fit.motion);
  return fit;
}

double RigidAligner::standardErrorMm(const PlacedImage& image, const RigidMotion& found) const {
  AlignmentMeasure measure(levels.back(), centre, image, found);
  const RigidMotion withAll = measure.best(found);
  double squares = 0;
  for (int group = 0; group < AlignmentSample::groups; ++group) {
    const double apart = distanceMm(measure.best(withAll, group), withAll);
    squares += apart * apart;
  }
  return std::sqrt((AlignmentSample::groups - 1.0) / AlignmentSample::groups * squares);
}

bool RigidAligner::showsHead(const PlacedImage& image, const RigidMotion& found) const {
  AlignmentMeasure measure(levels.back(), centre, image, found);
  const double there = measure.at(found) - 1.0;
  for (const double mm : {-20.0, -10.0, 10.0, 20.0})
    for (int axis = 0; axis < 3; ++axis) {
      glm::dvec3 away(0.0);
      away[axis] = mm;
      if (!(there > 2.0 * (measure.at(found.followedBy(away, glm::dvec3(0.0))) - 1.0)))
        return false;
    }
  return true;
}

double RigidAligner::distanceMm(const RigidMotion& a, const RigidMotion& b) const {
  const glm::dmat3 turn = a.rotation() - b.rotation();
  const glm::dvec3 shift = a.translationMm - b.translationMm;
  const std::vector<AlignmentSample>& samples = levels.front().samples;
  double squares = 0;
  for (const AlignmentSample& sample : samples) {
    const glm::dvec3 apart = turn * sample.mm + shift;
    squares += glm::dot(apart, apart);
  }
  return samples.empty() ? 0.0 : std::sqrt(squares / static_cast<double>(samples.size()));
}

}  // namespace mirel
