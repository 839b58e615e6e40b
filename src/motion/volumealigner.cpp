#include "motion/volumealigner.h"

#include <Eigen/Cholesky>
#include <Eigen/LU>
#include <algorithm>
#include <array>
#include <cmath>
#include <glm/geometric.hpp>
#include <glm/matrix.hpp>

#include "field/alignmentlevel.h"
#include "field/comparedvoxels.h"
#include "field/corrector.h"
#include "motion/credible.h"
#include "nifti/orientation.h"
#include "numerics/bspline.h"
#include "numerics/rigidmotion.h"

namespace mirel {

namespace {

constexpr int mostSteps = 30;
constexpr int mostCarefulSteps = 40;
constexpr int groups = AlignmentSample::groups;
using Matrix = Eigen::Matrix<double, motionUnknowns, motionUnknowns>;

// The small motion that a solution is, of places about the middle.
RigidMotion motionOf(const MotionChange& solved) {
  return RigidMotion{}.followedBy({solved[0], solved[1], solved[2]},
                                  {solved[3], solved[4], solved[5]});
}

glm::dmat4 matrixAbout(const glm::dvec3& middle, const glm::dmat3& turn, const glm::dvec3& shift) {
  glm::dmat4 m(turn);
  m[3] = glm::dvec4(middle + shift - turn * middle, 1.0);
  return m;
}

}  // namespace

// Of places about the middle, in mm.
struct VolumeAligner::Motion {
  glm::dmat3 turn{1.0};
  glm::dvec3 shift{0.0};

  // After a small one.
  Motion after(const RigidMotion& small) const {
    return {turn * small.rotation(), turn * small.translationMm + shift};
  }
};

// Of the step that makes the squares least, by groups of samples.
struct VolumeAligner::Equations {
  std::array<Matrix, groups> squares;
  std::array<MotionChange, groups> right;
  double factor = 0;
  double correlation = 0;
  double unexplained = 1;  // part of the reference's squares
  bool ofBoth = false;     // withSlopesOfBoth

  // Of all groups but one.
  MotionChange solved(int without = -1) const {
    Matrix h = Matrix::Zero();
    MotionChange b = MotionChange::Zero();
    for (int group = 0; group < groups; ++group) {
      if (group == without) continue;
      h += squares[static_cast<std::size_t>(group)];
      b += right[static_cast<std::size_t>(group)];
    }
    if (ofBoth) return h.partialPivLu().solve(b);
    return h.ldlt().solve(b);
  }
};

VolumeAligner::VolumeAligner(const Volume<float>& reference, const DistortedPlace& where,
                             const std::string& name)
    : place(where), toVoxels(where.grid, name), middleMm(middleOf(where.grid)) {
  const Volume<float> undistorted =
      correctVolume(reference, place.shift, place.axis, Modulation::off);
  const std::vector<int> voxels =
      comparedVoxels(undistorted, Volume<float>(reference.dimensions(), 1.0F));
  levels = {{.sigmaMm = 6, .toleranceMm = 0.1, .wanted = 5000},
            {.sigmaMm = 1, .toleranceMm = 0.001, .wanted = 25000}};
  for (MotionLevel& level : levels) sampleForMotion(reference, place, toVoxels, voxels, level);
}

// Where the samples are in the volume, of those that lie in it.
void VolumeAligner::collect(const MotionLevel& level, const Motion& motion,
                            Scratch& scratch) const {
  for (std::vector<double>* list : {&scratch.x, &scratch.y, &scratch.z, &scratch.densities})
    list->clear();
  scratch.samples.clear();
  const glm::dmat3 toVoxel = toVoxels.turn * motion.turn;
  const glm::dvec3 shift = toVoxels.turn * motion.shift + toVoxels.middle;
  const glm::dvec3 encoded = glm::inverse(toVoxel * glm::dmat3(place.grid.affine))[place.axis];
  for (const MotionSample& sample : level.samples) {
    glm::dvec3 at = toVoxel * sample.mm + shift;
    at[place.axis] += sample.shift;
    if (!isWithin(at, place.grid.dims)) continue;
    scratch.x.push_back(at.x);
    scratch.y.push_back(at.y);
    scratch.z.push_back(at.z);
    scratch.densities.push_back(std::max(1.0 + glm::dot(sample.slope, encoded), 0.0));
    scratch.samples.push_back(&sample);
  }
}

VolumeAligner::Equations VolumeAligner::equationsOf(const MotionLevel& level, const Motion& motion,
                                                    Scratch& scratch) const {
  collect(level, motion, scratch);
  const glm::ivec3 n = place.grid.dims;
  const std::size_t count = scratch.samples.size();
  std::vector<double>& values = scratch.values;
  values.resize(count);
  evalBSpline3D(scratch.spline.coefficients.data(), n.x, n.y, n.z, scratch.x.data(),
                scratch.y.data(), scratch.z.data(), static_cast<int>(count), values.data());
  double reference = 0, image = 0, referenceSquares = 0, imageSquares = 0, products = 0;
  for (std::size_t k = 0; k < count; ++k) {
    const double one = scratch.samples[k]->value, other = values[k] *= scratch.densities[k];
    reference += one;
    image += other;
    referenceSquares += one * one;
    imageSquares += other * other;
    products += one * other;
  }
  Equations equations;
  equations.squares.fill(Matrix::Zero());
  equations.right.fill(MotionChange::Zero());
  const double factor = imageSquares > 0 ? products / imageSquares : 0.0;
  equations.factor = factor;
  if (referenceSquares > 0) equations.unexplained = 1 - factor * products / referenceSquares;
  for (std::size_t k = 0; k < count; ++k) {
    const MotionSample& sample = *scratch.samples[k];
    const auto group = static_cast<std::size_t>(sample.group);
    equations.squares[group] += sample.change * sample.change.transpose();
    equations.right[group] += sample.change * (sample.value - factor * values[k]);
  }
  const auto total = static_cast<double>(count);
  const double spread =
      (total * referenceSquares - reference * reference) * (total * imageSquares - image * image);
  if (spread > 0)
    equations.correlation = (total * products - reference * image) / std::sqrt(spread);
  return equations;
}

// The same, just made, by how the image changes with the motion: in the squares of the reference's
// slopes is its noise, too, by which steps and errors become too small.
VolumeAligner::Equations VolumeAligner::withSlopesOfBoth(Equations equations, const Motion& motion,
                                                         Scratch& scratch) const {
  const glm::ivec3 n = place.grid.dims;
  const std::size_t count = scratch.samples.size();
  auto& [x, y, z] = scratch.slopes;
  for (std::vector<double>* list : {&x, &y, &z}) list->resize(count);
  evalBSplineAndGrad3D(scratch.spline.coefficients.data(), n.x, n.y, n.z, scratch.x.data(),
                       scratch.y.data(), scratch.z.data(), static_cast<int>(count),
                       scratch.values.data(), x.data(), y.data(), z.data());
  const glm::dmat3 perMm = glm::transpose(toVoxels.turn * motion.turn);
  equations.squares.fill(Matrix::Zero());
  for (std::size_t k = 0; k < count; ++k) {
    const MotionSample& sample = *scratch.samples[k];
    const double scale = equations.factor * scratch.densities[k];
    const MotionChange change = changeOf(scale * (perMm * glm::dvec3(x[k], y[k], z[k])), sample.mm,
                                         scale * scratch.values[k]);
    equations.squares[static_cast<std::size_t>(sample.group)] += sample.change * change.transpose();
  }
  equations.ofBoth = true;
  return equations;
}

// False: it does not come to an end.
bool VolumeAligner::improve(const MotionLevel& level, Motion& motion, Scratch& scratch) const {
  for (int step = 0; step < mostSteps; ++step) {
    const RigidMotion small = motionOf(equationsOf(level, motion, scratch).solved());
    const glm::dmat4 change = matrixAbout(middleMm, small.rotation(), small.translationMm);
    const double mm = displacementMm(change, place.grid);
    if (!(mm < farthestHeadMm)) return false;
    motion = motion.after(small);
    if (mm < level.toleranceMm) return true;
  }
  return false;
}

double VolumeAligner::standardErrorMm(const Equations& all) const {
  double squares = 0;
  for (int group = 0; group < groups; ++group) {
    const RigidMotion apart = motionOf(all.solved(group));
    const double mm =
        displacementMm(matrixAbout(middleMm, apart.rotation(), apart.translationMm), place.grid);
    squares += mm * mm;
  }
  return std::sqrt((groups - 1.0) / groups * squares);
}

// By steps of which each makes the unexplained part less; the end is where none does.
bool VolumeAligner::improveCarefully(const MotionLevel& level, Motion& motion,
                                     Scratch& scratch) const {
  Equations here = equationsOf(level, motion, scratch);
  MotionChange change = withSlopesOfBoth(here, motion, scratch).solved();
  for (int step = 0; step < mostCarefulSteps; ++step) {
    const RigidMotion small = motionOf(change);
    const double mm =
        displacementMm(matrixAbout(middleMm, small.rotation(), small.translationMm), place.grid);
    if (!std::isfinite(mm)) return false;
    const Motion next = motion.after(small);
    Equations there;
    if (mm < farthestHeadMm) there = equationsOf(level, next, scratch);
    if (there.unexplained < here.unexplained) {
      motion = next;
      here = there;
      change = withSlopesOfBoth(here, motion, scratch).solved();
    } else {
      change *= 0.5;
    }
    if (mm < level.toleranceMm) return true;
  }
  return false;
}

bool VolumeAligner::search(const Volume<float>& image, bool carefully, Motion& motion,
                           Scratch& scratch) const {
  bool converged = false;
  for (const MotionLevel& level : levels) {
    smoothCoefficients(image, level.sigmaMm / nifti::columnLengths(place.grid.affine),
                       scratch.spline);
    const Motion before = motion;
    converged =
        carefully ? improveCarefully(level, motion, scratch) : improve(level, motion, scratch);
    if (!converged && &level != &levels.back()) motion = before;
  }
  return converged;
}

VolumeFit VolumeAligner::align(const Volume<float>& image, Scratch& scratch) const {
  Motion motion;
  VolumeFit fit;
  fit.converged = search(image, /*carefully=*/false, motion, scratch);
  if (!fit.converged) {
    motion = {};
    fit.converged = search(image, /*carefully=*/true, motion, scratch);
  }
  const Equations equations = equationsOf(levels.back(), motion, scratch);
  fit.motion = matrixAbout(middleMm, motion.turn, motion.shift);
  fit.standardErrorMm = standardErrorMm(equations);
  const double ofBoth = standardErrorMm(withSlopesOfBoth(equations, motion, scratch));
  if (!(ofBoth <= fit.standardErrorMm)) fit.standardErrorMm = ofBoth;
  fit.correlation = equations.correlation;
  fit.covered = static_cast<double>(scratch.samples.size()) /
                static_cast<double>(std::max<std::size_t>(levels.back().samples.size(), 1));
  return fit;
}

}  // namespace mirel
