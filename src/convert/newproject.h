#pragma once

#include <string>

#include "files/project.h"
#include "nifti/header.h"

/// The project that is made from an image.
namespace mirel::convert {

struct NewProject {
  ProjectKind kind = ProjectKind::fmr;
  /// How the project's data file stores its samples.
  SampleFormat samples = SampleFormat::int16;
  /// Name of the data file without folder and extension.
  std::string prefix;
  /// The file that the data come from.
  std::string source;
};

/// A project in memory, without file name and data, in which every line of its kind is set: the
/// image's sizes, repetition time (ms), voxel sizes (mm, from the affine's columns), position
/// block and left-right convention; what an image does not tell is 0, empty or not verified.
/// DataStorageFormat is 2 for an FMR (slice by slice) and 3 for a DMR (volume by volume). All
/// values stand in one column. A reader of the saved file finds the same lines.
///
/// Throws Error, naming the source, for an orientation that has no position block, a number
/// beyond single precision, and a name that a header line cannot hold (one with a line feed).
Project newProject(const nifti::Header& image, const NewProject& description);

}  // namespace mirel::convert
