#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "jobs/correctpair.h"

namespace mirel {

/// What is known about a series before it is corrected.
struct SeriesInput {
  ImageOptions options;
  nifti::Header header;
  bids::PhaseEncodingDirection direction;
  std::string directionSource;
  std::optional<bids::Readout> readout;
  std::vector<std::string> sidecarFiles;   ///< the farthest first
  bool sameGrid = false;                   ///< as the pair
  std::vector<std::string> gradientFiles;  ///< .bvec and .bval beside it, if they are there
  /// Of its sidecars, for the corrected one's.
  nlohmann::ordered_json keptFields = nlohmann::ordered_json::object();
  std::vector<std::string> notes, warnings;
};

struct SeriesOutcome {
  SeriesResult result;
  std::vector<std::string> notes, warnings;
};

/// Reads the sidecars of the image (bids::findSidecar) and takes down their names and the fields
/// that stay true of the corrected image; nothing when there are none.
std::optional<bids::Sidecar> readSidecars(SeriesInput& input);

/// The gradient files (.bvec, .bval) that stand beside an image.
std::vector<std::string> gradientFilesOf(const std::string& imageFile);

/// Throws Error when the orientation of a series (in `file`) is no orientation, or when no
/// voxel of it lies on the grid of the field, which belongs to `fieldName`.
void requireCommonPlace(const nifti::Header& header, const std::string& file, const Grid& fieldGrid,
                        const std::string& fieldName);

/// A sentence when more than a hundredth of the head in `mean`, the mean of a series, lies off the
/// grid of the field; empty otherwise.
std::string headOffField(const Volume<float>& mean, const nifti::Header& header,
                         const std::string& file, const Grid& fieldGrid,
                         const std::string& fieldName);

/// Reads header and sidecars of a series. A series without sidecar and options is taken to be
/// encoded as A is, with A's readout time; the sign check tells when that is wrong. Errors as in
/// correctAll.
SeriesInput readSeriesInput(const ImageOptions& options, const PairInput& pair);

/// Corrects a series through the field of the pair and writes it to `output`: the map is the
/// field on the series' grid, times its readout time and the sign of its direction. Then its mean
/// is compared with the mean of the corrected pair under both signs.
SeriesOutcome correctOneSeries(const SeriesInput& input, const CorrectionReport& report,
                               const CorrectionOptions& options, const std::string& output,
                               const Progress& progress);

}  // namespace mirel
