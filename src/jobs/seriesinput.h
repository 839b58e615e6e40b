#pragma once

#include <string>
#include <vector>

#include "base/json.h"
#include "bids/intent.h"
#include "field/fieldhz.h"
#include "motion/readmotion.h"
#include "pair/pairinput.h"

namespace mirel {

/// A series to be corrected.
struct SeriesFile {
  std::string file;
  bids::GivenAcquisition given;
  GivenMotion motion = {};  ///< of the head within the series
};

/// What is known about a series before it is corrected.
struct SeriesInput {
  std::string file;
  FileStamp stamp;  ///< of the file before it was read
  nifti::Header header;
  bids::Acquisition acquisition;  ///< its direction is settled
  bool onGridOfField = false;     ///< so that nothing needs to be resampled
  /// Where a map is applied, in place of a field: the readout time over that of the map.
  double mapScale = 1;
  /// .bvec and .bval beside it, if they are there, before they were read.
  std::vector<FileStamp> gradientFiles;
  /// The volumes to correct, counted from 0; empty: all.
  std::vector<int> volumes;
  std::optional<SeriesMotion> motion;  ///< of the head within it; nothing: none is known
  std::vector<Remark> notes, warnings;
};

/// A series whose direction and readout time stand in options or sidecars, against the field in
/// Hz that is to correct it. (Of a map: readSeriesForMap.)
///
/// Errors   Error with the file and the fault: those of nifti::Reader, of
///          bids::resolveAcquisition and of finishSeries; no direction, no readout time; a series
///          that lies elsewhere than the field.
SeriesInput readSeries(const SeriesFile& options, const FieldHz& field);

/// A series of the pair's session. One without sidecar and options is taken to be encoded as A is,
/// with A's readout time; a note says so, and the sign check tells when that is wrong. Where the
/// pair has no readout time, no series needs one, but it must have the pair's grid and axis; one
/// that it has is kept (doubtUnknownReadout).
/// Errors as above.
SeriesInput readSeriesOf(const PairInput& pair, const SeriesFile& options);

/// The first and the last step of both, and of readSeriesForMap: the image is opened; the gradient
/// files beside it are found and their entries counted, contradicting sidecars are noted, the
/// head's motion is read. Errors   Error: those of nifti::Reader and of readSeriesMotion; gradient
/// files with another
///          number of entries than the series has volumes.
SeriesInput openSeries(const SeriesFile& options);
void finishSeries(const SeriesFile& options, SeriesInput& input);

/// Takes down as warnings what the sidecars say against correcting the series with the field of
/// `origins` (bids::doubtsAboutUse).
void doubtUse(const std::vector<bids::FieldOrigin>& origins, const std::string& field,
              SeriesInput& input);

/// The files that a series is read from: image, sidecars, gradients, motion.
std::vector<std::string> filesOf(const SeriesInput& input);

/// The fields of the sidecars of a series as they stand in that of the corrected one: all that stay
/// true as they are, and under "DistortionCorrection" those that described the distortion or the
/// file (direction, readout time, echo spacings, links to fields, description, sources), so that
/// nobody corrects it a second time by them. A field map (`_epi`) has its direction in both places:
/// the standard requires it of every image of that name.
Json fieldsAfterCorrection(const SeriesInput& input);

/// The same of two series that were joined: the fields that are equal in both. Under
/// "DistortionCorrection" those of the second one are its "FieldsBeforeOfPartner".
Json fieldsAfterJoining(const SeriesInput& first, const SeriesInput& second);

/// The value of "DistortionCorrection" in the sidecar of a corrected image, by which a second
/// correction is noticed (bids::doubtsAboutSecondCorrection): the fields that held before.
Json distortionCorrection(const Json& fieldsBefore);

/// Whether an image of this file name has to tell its PhaseEncodingDirection: the suffix is epi.
bool needsDirection(const std::string& imageFile);

/// A sentence when one of two images that are joined by their orientations has none; empty when
/// both have one.
std::string guessOfPlace(const std::string& file, bool isOriented, const std::string& other,
                         bool otherIsOriented);

/// What part of the head in `mean`, of an image on `grid`, lies off the grid of the field.
double partOfHeadOff(const Volume<float>& mean, const Grid& grid, const FieldHz& field);

/// A sentence when more than a hundredth of the head in `mean`, of an image with that header, lies
/// off the grid of the field; empty otherwise.
std::string headOffField(const Volume<float>& mean, const nifti::Header& header,
                         const std::string& file, const FieldHz& field);

}  // namespace mirel
