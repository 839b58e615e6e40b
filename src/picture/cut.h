#pragma once

#include <glm/mat4x4.hpp>
#include <optional>
#include <string>
#include <vector>

#include "containers/volume.h"
#include "field/grid.h"

/// Planes through the patient, and what images of any grid show there.
namespace mirel::picture {

/// Axial slices show x to the right and y upwards, coronal x and z, sagittal y and z, with x to
/// the patient's right, y anterior, z superior.
enum class SlicePlane { axial, coronal, sagittal };

/// "axial" and so on.
const char* nameOf(SlicePlane plane);

/// A slice of a grid: number `index`, counted from 0 towards right, anterior or superior; or the
/// plane whose centre is at `mm` along that axis of the scanner; without both the middle slice.
struct SliceAt {
  SlicePlane plane = SlicePlane::axial;
  std::optional<int> index = {};
  std::optional<double> mm = {};
};

/// The patient's sides at the borders of a slice ("L", "A", ...).
struct Letters {
  std::string left, right, top, bottom;
};

/// A plane of pixels in the scanner's space.
struct CutPlane {
  Grid grid;  ///< (width, height, 1) pixels, rows from the top, to mm
  Letters letters;
  double index = 0;  ///< of the slice; a fraction when it was asked for in mm
  double mm = 0;     ///< where the centre of the plane is, along the axis across it
};

/// The plane of a slice of `reference`, as large as the slice and in its own axes, which for an
/// oblique grid are those nearest to the patient's. The finer of the two voxel sizes in the plane
/// gets `pixelsPerVoxel` pixels, the other its due (at most 64 times as many).
///
/// Errors  Error, naming `name` (the file of the reference): it has no such slice; its affine is
///         singular or not finite.
CutPlane cutPlane(const Grid& reference, const SliceAt& where, int pixelsPerVoxel,
                  const std::string& name);

/// The values of an image at the pixels of a plane, rows from the top.
struct Cut {
  int width = 0, height = 0;
  std::vector<float> values;
  /// Whether the centre of the pixel lies on the image's grid, out to the borders of its outermost
  /// voxels; where it does not, the value is 0.
  std::vector<char> covered;

  std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
           static_cast<std::size_t>(x);
  }
  bool meetsImage() const;
};

/// nearest: each pixel shows the voxel in which its centre lies, on the border of two voxels the
/// one further right, up or through. linear: trilinear.
enum class Sampling { nearest, linear };

/// What the volume of affine `affine` (voxel to mm) shows on a plane.
/// Errors  Error, naming `name`, for an affine that is singular or not finite.
Cut cutThrough(const Volume<float>& volume, const glm::dmat4& affine, const CutPlane& plane,
               Sampling sampling, const std::string& name);

}  // namespace mirel::picture
