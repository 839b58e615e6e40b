#pragma once

#include <array>
#include <glm/mat4x4.hpp>

namespace mirel::picture {

/// Which axis of an array runs nearest to each axis of the patient (x to the right, y anterior,
/// z superior), and whether it runs against it.
struct PatientAxes {
  std::array<int, 3> axis{0, 1, 2};
  std::array<bool, 3> against{false, false, false};
};

/// From the matrix that takes voxels to mm. The largest direction cosine is settled first, so each
/// axis is used once. A matrix with a column that is zero or not finite gives the array's own axes.
PatientAxes patientAxes(const glm::dmat4& affine);

}  // namespace mirel::picture
