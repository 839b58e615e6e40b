#pragma once

#include <glm/mat4x4.hpp>
#include <vector>

#include "containers/volume.h"
#include "picture/cut.h"

namespace mirel::report {

/// A slice that is worth looking at.
struct ChosenSlice {
  picture::SlicePlane plane = picture::SlicePlane::axial;
  int index = 0;      ///< counted as SliceAt::index
  bool most = false;  ///< the one with the largest displacements, else that in the head's middle
};

/// In each of the three planes the slice in the middle of the head (half of its voxels lie on
/// either side), and the one where the mean absolute displacement in the head is largest, of those
/// with at least half as much head as the fullest one. Where the two are nearer than three
/// slices only the latter.
///
/// `head` is 1 inside and 0 outside; where it is empty the slices are those in the middle of the
/// volume. `shift` has its dimensions.
std::vector<ChosenSlice> chosenSlices(const Volume<float>& head, const Volume<float>& shift,
                                      const glm::dmat4& affine);

/// Where the first slices of the three planes meet: the indices of the sagittal, the coronal and
/// the axial one.
glm::ivec3 meetingOf(const std::vector<ChosenSlice>& slices);

}  // namespace mirel::report
