#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "average/joinvolumes.h"
#include "average/volumechoice.h"
#include "base/advice.h"
#include "bids/acquisition.h"
#include "containers/volume.h"
#include "nifti/header.h"
#include "numerics/spikes.h"

namespace mirel {

/// Which image to take from a file, and what is said about it in place of its sidecars.
struct ImageOptions {
  std::string file;
  int volume = 0;       ///< counted from 0
  int meanOfFirst = 0;  ///< above 0: the mean of so many volumes, from `volume` on
  /// In place of both: several volumes, joined to one image (joinVolumes).
  VolumeChoice choice = {};
  /// Further images of the same direction and readout time that are joined with it.
  std::vector<std::string> more = {};
  bids::GivenAcquisition given = {};

  bool isJoined() const { return choice.isMade() || !more.empty(); }
};

/// What is known about an image without its voxels.
struct ImageDescription {
  ImageOptions options;
  nifti::Header header;
  bids::Acquisition acquisition;
  /// What became of the volumes that were joined, without the image.
  std::optional<JoinedVolumes> joined;
  std::vector<FileStamp> moreStamps;  ///< of options.more
  Spikes spikes;                      ///< voxels that the estimate leaves out
  FileStamp stamp;                    ///< of the file before it was read

  /// What messages call it: the file, with the volume if it has several.
  std::string title() const;
  /// The volumes of the file that it was made of, ascending.
  std::vector<int> volumesTaken() const;
  /// Of an image whose direction is settled.
  bids::PhaseEncodingDirection direction() const { return acquisition.direction->value; }
};

/// One image of a pair.
struct InputImage : ImageDescription {
  Volume<float> image;
};

/// Where a pair counts: 0 to 1 at each voxel of the undistorted image.
struct PairMask {
  FileStamp stamp;  ///< of its file before it was read
  Volume<float> weights;
};

/// Two images of one object and one grid with opposite phase encoding, their directions settled.
struct PairInput {
  InputImage a, b;
  /// Where the estimate and the figures look; nothing: everywhere.
  std::optional<PairMask> mask;
  /// Displacement in voxels along the axis, forward for A, that the estimate starts from. Empty: it
  /// finds a start of its own.
  Volume<float> start;
  std::string startFile;  ///< of the field that it was made of
  /// It is the mean of the estimate's prior, too.
  bool startIsPrior = false;
  /// It is the map, and nothing is estimated.
  bool startIsMap = false;
  /// A pair of the same head along another axis, whose field counts beside that of the pair.
  std::shared_ptr<const PairInput> across;
  /// The readout time that both have; nothing when it is not known: then there are no Hz.
  std::optional<double> readoutSeconds;
  /// What had to be assumed, and what is suspicious.
  std::vector<Remark> notes, warnings;

  int axis() const { return a.direction().axis; }
};

/// Reads both images and what is to be known about them, and checks that they are a pair.
///
///   direction   the option, else the sidecars' PhaseEncodingDirection. Where one image has
///               neither option nor sidecar it is the opposite of the other's; where both have
///               none, the axis j is assumed, without readout times.
///   readout     the option, else the sidecars (bids::Sidecar::readout); an image without either
///               has the other one's; where both have none there are no Hz, and a note says so.
///
/// Notes and warnings also tell of voxels that stand far out of all others (findSpikes), of readout
/// times that differ by more than 1 % (then their mean
/// counts), of diffusion-weighted volumes (checkWeighting), of images that are not of one field
/// by their sidecars (bids::doubtAboutPair).
///
/// Errors  Error, one sentence that names the file and the fault: those of the readers and of
///         bids::resolveAcquisition; a volume that is not there; fewer than 4 voxels along an
///         axis; voxels that are not finite; a constant image; sidecars without a direction; two
///         times the same image; other dimensions or another place (by more than a twentieth of a
///         voxel); the same direction or another axis.
PairInput readPair(const ImageOptions& a, const ImageOptions& b);

/// The voxel sizes along the image's axes as a project made from the image tells them to the
/// estimate task: the affine's column lengths in single precision. A header on the disk has six
/// digits of them, which this does not follow.
glm::dvec3 projectVoxelSize(const nifti::Header& header);

}  // namespace mirel
