#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/advice.h"
#include "bids/sidecar.h"
#include "field/fieldhz.h"
#include "jobs/runrecord.h"
#include "jobs/statedunit.h"
#include "nifti/header.h"

namespace mirel {

/// A field or a displacement map as it stands in a file, and what the file says about it.
struct DistortionFile {
  std::string file;
  FileStamp stamp;  ///< of the file before it was read
  Volume<float> values;
  StatedUnit unit;
  std::optional<nifti::Header> header;   ///< nothing for a .map, which has none
  std::optional<bids::Sidecar> sidecar;  ///< all that apply to it, as one
  std::int64_t nonFinite = 0;            ///< voxels of a field that counted as 0
  std::vector<Remark> notes, warnings;
  /// Those of the warnings that doubt the values of a field (doubtsAbout).
  std::vector<Remark> doubts;

  bool isField() const { return isOfField(unit.value); }
  /// The image and its sidecars.
  std::vector<std::string> files() const;
};

/// What a file is taken for that says nothing about it. Of the field of a pair only its sidecar can
/// say the unit, and messages advise that.
enum class TakenFor { field, map, fieldOfPair };

/// Reads a field or a map from a NIfTI image of one volume, or a map from a .map file. What its
/// values are is said by the first of these: `given`; the field Units of its sidecars
/// (applicableSidecars); the intent code 2018 (a field in Hz); else it is Hz or voxels, and a note
/// says so. What is suspicious about the values becomes warnings (doubtsAbout).
///
/// Errors  Error: those of nifti::Reader, readMapFile and findSidecar; several volumes; nothing
///         but voxels that are NaN or infinite, in a map any; spline coefficients; units that are
///         not known; a raw phase image, which is one by its units, its name, the two echo times
///         or the image type in its sidecar, unless `given` or its Units say otherwise; a field
///         that was given as a map.
DistortionFile readDistortionFile(const std::string& fileName, TakenFor takenFor,
                                  std::optional<bids::Unit> given = {});

/// What a run records of it.
SourceRecord recordOf(const DistortionFile& file);

/// The field in Hz of a file that holds one.
FieldHz fieldOf(DistortionFile file);

}  // namespace mirel
