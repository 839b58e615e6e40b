#pragma once

#include <string>
#include <vector>

#include "containers/volume.h"
#include "nifti/header.h"

/// Conversion between NIfTI images and projects. Voxel (i, j, k) of an image is voxel (x, y, z)
/// of the project: nothing is flipped or reordered.
namespace mirel::convert {

struct ConvertOptions {
  /// Gradient files for an image that becomes a DMR; where both are empty, those of the image's
  /// own name (run1.bvec and run1.bval beside run1.nii.gz) are taken if they exist.
  std::string bvecFile;
  std::string bvalFile;
};

struct ConvertReport {
  /// Names of the files that were written.
  std::vector<std::string> written;
  /// Sentences about what could not be carried over, or had to be assumed.
  std::vector<std::string> notes;
};

/// Converts `in` to `out`; the names' extensions decide:
///
///   .nii, .nii.gz -> .fmr   functional project: header, .stc and geometry sidecar
///   .nii, .nii.gz -> .dmr   diffusion project: header, .dwi, sidecar; gradient files become the
///                           gradient table, its weights the b-values
///   .fmr, .dmr    -> .nii, .nii.gz, with .bvec and .bval for a DMR that has a gradient table
///
/// Samples  Integer data without scaling that fit signed 16 bits become such samples
///          (nifti::DataType 1); all other data become 32-bit floats (nifti::DataType 2), scaled.
///          On the way back the data have the type of the image that the project came from, where
///          that is known, an integer type and holds every voxel exactly; else int16 or float32 as
///          the project has them.
/// Files    Every output is written whole or not at all, and none is an input. A project's data
///          are in memory at once, as its classes keep them.
/// Errors   Error, or an IOError of the project files: one sentence with the file's name.
///          Nothing has been written then.
ConvertReport convert(const std::string& in, const std::string& out,
                      const ConvertOptions& options = {});

/// The header of an image, or that of the image which a project would become.
nifti::Header referenceHeader(const std::string& imageOrProject, std::vector<std::string>& notes);

/// Writes a map as an image of 32-bit floats in the geometry of `reference` (an image or a
/// project). Throws Error when the dimensions differ, or when `out` is the reference.
ConvertReport convertMap(const Volume<float>& map, const std::string& mapFile,
                         const std::string& reference, const std::string& out);

}  // namespace mirel::convert
