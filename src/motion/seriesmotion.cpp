#include "motion/seriesmotion.h"

#include <glm/geometric.hpp>
#include <glm/matrix.hpp>

namespace mirel {

std::string nameOf(MotionForm form) {
  switch (form) {
    case MotionForm::fslMatrices:
      return "FSL matrices";
    case MotionForm::fslParameters:
      return "FSL parameters";
    case MotionForm::spmParameters:
      return "SPM parameters";
    case MotionForm::afniMatrices:
      return "AFNI matrices";
    case MotionForm::found:
      return "found in the images";
    case MotionForm::itkText:
      break;
  }
  return "ITK transforms";
}

std::vector<glm::dmat4> voxelMotions(const SeriesMotion& motion, const glm::dmat4& affine) {
  std::vector<glm::dmat4> moved;
  for (const glm::dmat4& m : motion.fromReference)
    moved.push_back(m == glm::dmat4(1.0) ? m : glm::inverse(affine) * m * affine);
  return moved;
}

std::vector<glm::vec3> directionsInHead(const std::vector<glm::vec3>& directions,
                                        const SeriesMotion& motion, const glm::dmat4& affine) {
  glm::dmat3 axes(affine);
  for (int axis = 0; axis < 3; ++axis) axes[axis] = glm::normalize(axes[axis]);
  if (glm::determinant(axes) > 0) axes[0] = -axes[0];
  std::vector<glm::vec3> turned;
  for (std::size_t t = 0; t < directions.size(); ++t) {
    const glm::dmat3 back = glm::inverse(axes) * glm::inverse(glm::dmat3(motion.fromReference[t]));
    turned.emplace_back(back * axes * glm::dvec3(directions[t]));
  }
  return turned;
}

}  // namespace mirel
