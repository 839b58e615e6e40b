#include "field/alignmentmeasure.h"

#include "field/maximum.h"
#include "numerics/interpolation.h"

namespace mirel {

namespace {

constexpr double farthest = 60;  // mm and degrees

std::vector<double> parametersOf(const RigidMotion& m) {
  const glm::dvec3 &t = m.translationMm, &r = m.rotationDegrees;
  return {t.x, t.y, t.z, r.x, r.y, r.z};
}

RigidMotion motionOf(const std::vector<double>& p) {
  return {{p[0], p[1], p[2]}, {p[3], p[4], p[5]}};
}

}  // namespace

AlignmentMeasure::AlignmentMeasure(const AlignmentLevel& atLevel, glm::dvec3 middle,
                                   const PlacedImage& moving, const RigidMotion& start)
    : level(atLevel),
      centre(middle),
      toVoxel(voxelToVoxel(glm::dmat4(1.0), moving.affine, moving.name)),
      image(smoothedBy(atLevel.sigmaMm, moving)),
      bins(valuesAt(start)),
      joint(ValueBins::count) {}

template <typename Use>
void AlignmentMeasure::forEachInside(const RigidMotion& motion, const Use& use) const {
  const glm::dmat3 linear = glm::dmat3(toVoxel) * motion.rotation();
  const glm::dvec3 offset(toVoxel * glm::dvec4(centre + motion.translationMm, 1.0));
  const glm::dvec3 end = glm::dvec3(image.dimensions()) - 0.5;
  for (const AlignmentSample& sample : level.samples) {
    const glm::dvec3 p = linear * sample.mm + offset;
    if (p.x > -0.5 && p.y > -0.5 && p.z > -0.5 && p.x < end.x && p.y < end.y && p.z < end.z)
      use(sample, p);
  }
}

std::vector<float> AlignmentMeasure::valuesAt(const RigidMotion& motion) const {
  std::vector<float> values;
  forEachInside(motion, [&](const AlignmentSample&, const glm::dvec3& p) {
    values.push_back(static_cast<float>(trilinear(image, p)));
  });
  return values;
}

double AlignmentMeasure::at(const RigidMotion& motion, int leftOut) {
  joint.clear();
  forEachInside(motion, [&](const AlignmentSample& sample, const glm::dvec3& p) {
    if (sample.group != leftOut) joint.addShared(sample.bin, bins.of(trilinear(image, p)));
  });
  return joint.normalisedMutualInformation();
}

double AlignmentMeasure::covered(const RigidMotion& motion) const {
  double inside = 0;
  forEachInside(motion, [&](const AlignmentSample&, const glm::dvec3&) { ++inside; });
  return level.samples.empty() ? 0.0 : inside / static_cast<double>(level.samples.size());
}

RigidMotion AlignmentMeasure::best(const RigidMotion& start, int leftOut) {
  return motionOf(maximumNear(
      parametersOf(start), [&](const std::vector<double>& p) { return at(motionOf(p), leftOut); },
      {.firstStep = level.stepMm, .tolerance = level.toleranceMm, .farthest = farthest}));
}

}  // namespace mirel
