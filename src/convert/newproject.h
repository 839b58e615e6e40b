#pragma once

#include <string>

#include "nifti/header.h"

/// The header text of a project that is made from an image.
namespace mirel::convert {

enum class ProjectKind { fmr, dmr };
/// How the project's data file stores its samples: the values of "DataType:".
enum class ProjectSamples { int16 = 1, float32 = 2 };

struct NewProject {
  ProjectKind kind = ProjectKind::fmr;
  ProjectSamples samples = ProjectSamples::int16;
  /// Name of the data file without folder and extension.
  std::string prefix;
  /// The file that the data come from.
  std::string source;
};

/// Every key that a project of this kind has, in order, with the image's sizes, repetition time
/// (ms), voxel sizes (mm, from the affine's columns), position block and left-right convention;
/// what an image does not tell is 0, empty or not verified. DataStorageFormat is 2 for an FMR
/// (slice by slice) and 3 for a DMR (volume by volume).
///
/// The last line is "SliceTimingTableSize: 0" or "GradientInformationAvailable: NO": behind
/// these a reader takes one token more and stops, where any other last line would be matched a
/// second time and lose its alignment or its value.
///
/// Throws Error, naming `source`, for an orientation that has no position block, and for
/// a name that a header line cannot hold (one with a line feed).
std::string newProjectHeader(const nifti::Header& image, const NewProject& project);

}  // namespace mirel::convert
