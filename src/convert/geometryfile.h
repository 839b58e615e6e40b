#pragma once

#include <optional>
#include <string>
#include <vector>

#include "nifti/header.h"

/// What a project's header has no room for, kept in a small JSON file beside it.
///
/// A header line holds 6 significant digits and there is one orientation in it, where a NIfTI
/// header has two with their codes. So a conversion writes `<name>_geometry.json` beside the
/// project: dimensions, voxel sizes, repetition time, both forms with their codes, data type,
/// slope, intercept and description of the image it came from, in full precision. It is used on
/// the way back when it agrees with the project's position block in every digit that the header
/// has, and passed over when the project has been changed since.
namespace mirel::convert {

/// The text of a sidecar. Numbers come back exactly; a description that is no UTF-8 loses the
/// bytes in question.
std::string formatGeometry(const nifti::Header& header);

/// The reverse. Nothing when the text is not a sidecar: no JSON, another kind, a field missing
/// or of a wrong type, sizes below 1.
std::optional<nifti::Header> parseGeometry(const std::string& text);

/// "run1_geometry.json" for "run1.fmr", in the same folder.
std::string geometryFileName(const std::string& projectFileName);

/// The header of the image that a project came from, found by name: the sidecar of its own name,
/// else that of the names without their last "_word" in turn (run1_undist.fmr came from run1.fmr,
/// and has its geometry). `accept` decides whether a candidate fits the project.
template <typename Accept>
std::optional<nifti::Header> findGeometry(const std::string& projectFileName, const Accept& accept);

/// The candidates of findGeometry, the nearest first.
std::vector<std::string> geometryFileCandidates(const std::string& projectFileName);
/// Reads a sidecar; nothing when it is missing or not one.
std::optional<nifti::Header> readGeometryFile(const std::string& fileName);

template <typename Accept>
std::optional<nifti::Header> findGeometry(const std::string& projectFileName,
                                          const Accept& accept) {
  for (const std::string& name : geometryFileCandidates(projectFileName))
    if (std::optional<nifti::Header> header = readGeometryFile(name); header && accept(*header))
      return header;
  return std::nullopt;
}

}  // namespace mirel::convert
