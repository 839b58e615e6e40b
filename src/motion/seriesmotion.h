#pragma once

#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <optional>
#include <string>
#include <vector>

#include "base/filestamp.h"

/// Where a head was in each volume of a series, as other programs or this one found it.
namespace mirel {

/// The forms in which programs write one rigid transform per volume.
enum class MotionForm {
  fslMatrices,    ///< a folder of 4 x 4 matrices, MAT_0000 and so on (mcflirt -mats)
  fslParameters,  ///< rows of three angles and three translations, .par (mcflirt -plots)
  spmParameters,  ///< rows of three translations and three angles, rp_*.txt
  afniMatrices,   ///< rows of twelve numbers, .aff12.1D
  itkText,        ///< affine transforms in ITK's text form, one after the other (fMRIPrep, ANTs)
  found,          ///< by this program, in the images
};

/// Positions are in mm, x towards right, y towards anterior, z towards superior: those that the
/// affines of images lead to.
struct SeriesMotion {
  /// Of each volume: from where something is with the head in its reference place to where it is
  /// in the volume.
  std::vector<glm::dmat4> fromReference;
  MotionForm form = MotionForm::itkText;
  /// As it was given: a file, or the folder of FSL's matrices. Of what was found: that it goes to.
  std::string file;
  std::vector<FileStamp> stamps;  ///< of the files that were read, before that
  /// A volume, counted from 0, in which the head is at the reference place; nothing: in none.
  std::optional<int> referenceVolume;
  std::string referenceImage;  ///< that was given for it; empty: none
};

/// "FSL's matrices" and so on, as messages call them.
std::string nameOf(MotionForm form);

/// The same motions in voxels of a grid of the series, its own: SeriesOptions::toVolume.
std::vector<glm::dmat4> voxelMotions(const SeriesMotion& motion, const glm::dmat4& affine);

/// The directions of diffusion gradients as the head saw them, which turned against the scanner.
/// They are given in the axes of the image, the first one reversed where the determinant of the
/// affine is positive (the convention of .bvec files); one for each volume, in their order.
std::vector<glm::vec3> directionsInHead(const std::vector<glm::vec3>& directions,
                                        const SeriesMotion& motion, const glm::dmat4& affine);

}  // namespace mirel
