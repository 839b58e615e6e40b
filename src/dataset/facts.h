#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "bids/phaseencoding.h"
#include "dataset/index.h"
#include "field/grid.h"

namespace mirel::dataset {

/// What is known about an image as far as it matters for finding its field.
struct ImageFacts {
  IndexedImage image;
  std::optional<bids::PhaseEncodingDirection> direction;
  std::optional<double> readoutSeconds;
  /// B0FieldIdentifier, B0FieldSource and IntendedFor, each a text or a list in the sidecars.
  std::vector<std::string> identifiers, fieldSources, intendedFor;
  std::vector<double> shim;               ///< ShimSetting; empty where it is not told
  std::optional<double> acquiredSeconds;  ///< time of the day
  std::optional<Grid> grid;               ///< nothing where the header was not read
  int volumes = 1;
  /// Of a diffusion series: the first volume without weighting; below 0: there is none.
  int unweightedVolume = 0;
  /// How many volumes have no weighting, where a .bval beside the image tells it.
  std::optional<std::ptrdiff_t> unweightedVolumes;
  /// Of sidecars that could describe it and do not count (bids::notesOnPassedOver).
  std::vector<std::string> notes;
  /// Why nothing can be done with it: a sentence with the file's name; empty for a good image.
  std::string fault;

  /// The file's name without its folders.
  std::string fileName() const;
};

/// Whether the headers of images are read, or only what stands beside them.
enum class Headers { read, left };

/// bold, sbref, dwi, asl, m0scan and epi: what is acquired by echo-planar imaging, as a rule.
bool isEpiSuffix(const std::string& suffix);

/// Of one of these suffixes, in the folders func, dwi, perf and fmap.
bool isEpi(const IndexedImage& image);

/// phasediff, phase1, phase2 and fieldmap in the folder fmap: fields by other means.
bool isOtherField(const IndexedImage& image);

/// Not the magnitude: the part entity of its name is phase, real or imag.
bool isPartOfComplex(const IndexedImage& image);

/// Reads what is known about an image. Never fails: what is wrong with it becomes its fault.
///
/// Time   AcquisitionTime or AcquisitionDateTime of the sidecars, else acq_time in the table of
///        scans (_scans.tsv) of its session or subject.
ImageFacts factsOf(const Index& index, const IndexedImage& image, Headers headers = Headers::read);

}  // namespace mirel::dataset
