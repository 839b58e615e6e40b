#include "pair/pairinput.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "base/dimensions.h"
#include "base/error.h"
#include "base/joined.h"
#include "base/numbertext.h"
#include "base/outputfile.h"
#include "base/samefile.h"
#include "bids/doubts.h"
#include "bids/intent.h"
#include "field/grid.h"
#include "nifti/finite.h"
#include "nifti/image.h"
#include "nifti/orientation.h"
#include "pair/joinedinput.h"
#include "pair/readoutratio.h"
#include "pair/weighting.h"

namespace mirel {

namespace {

constexpr int fewestVoxels = 4;

Volume<float> readImage(nifti::Reader& reader, const ImageOptions& options) {
  const int volumes = reader.header().volumes;
  const int count = std::max(options.meanOfFirst, 1);
  if (options.volume < 0 || options.volume > volumes - count)
    throw Error(options.file,
                "has " + counted(volumes, "volume") + ", counted from 0: there " +
                    (count == 1 ? "is no volume " + std::to_string(options.volume)
                                : "are no " + std::to_string(count) + " volumes from volume " +
                                      std::to_string(options.volume) + " on"));
  if (count == 1) return reader.readVolume(options.volume);
  Volume<double> sum(reader.header().dims, 0.0);
  Volume<float> volume;
  for (int t = 0; t < count; ++t) {
    reader.readVolume(options.volume + t, volume);
    for (int i = 0; i < sum.size(); ++i) sum.data()[i] += static_cast<double>(volume.data()[i]);
  }
  for (int i = 0; i < sum.size(); ++i) volume.data()[i] = static_cast<float>(sum.data()[i] / count);
  return volume;
}

void checkImage(const Volume<float>& image, const std::string& title, std::size_t beyond) {
  const glm::ivec3 n = image.dimensions();
  if (std::min({n.x, n.y, n.z}) < fewestVoxels)
    throw Error(title, "has " + text(n) + " voxels: a distortion can be estimated from " +
                           std::to_string(fewestVoxels) + " voxels along each axis or more");
  const auto bad = std::count_if(image.data(), image.data() + image.size(),
                                 [](float v) { return !std::isfinite(v); });
  if (bad > 0)
    throw Error(title, "has " + counted(bad, "voxel") + (bad == 1 ? " that is " : " that are ") +
                           nifti::whatIsNotFinite(static_cast<std::size_t>(bad), beyond));
  if (image.min() == image.max())
    throw Error(title, "is constant: every voxel is " + text(static_cast<double>(image.min())));
}

// Direction and readout of one image, as far as options and sidecars tell. A sidecar without a
// direction is refused: the other image does not speak for it.
void readAcquisition(InputImage& image, Advice::Of which) {
  const std::string& file = image.options.file;
  image.acquisition = bids::resolveAcquisition(file, image.header.dims, image.options.given,
                                               bids::SidecarUse::whereNeeded);
  if (!image.acquisition.sidecar) return;
  bids::requireDirection(image.acquisition, file, which);
}

InputImage readInput(const ImageOptions& options) {
  InputImage input;
  input.options = options;
  input.stamp = FileStamp(options.file);
  nifti::Reader reader(options.file);
  input.header = reader.header();
  if (options.isJoined())
    readJoined(reader, input);
  else
    input.image = readImage(reader, options);
  checkImage(input.image, input.title(), reader.roundingLoss().beyond);
  input.spikes = findSpikes(input.image);
  return input;
}

void checkSameGrid(const InputImage& a, const InputImage& b) {
  const glm::ivec3 n = a.header.dims;
  if (n != b.header.dims)
    throw Error(a.options.file, "has " + text(n) + " voxels and " + b.options.file + " " +
                                    text(b.header.dims) +
                                    ": both images of a pair have the same grid");
  const double farthest = cornersApart(gridOf(b.header), gridOf(a.header), a.options.file);
  if (!(farthest <= samePlaceVoxels))
    throw Error(a.options.file + " and " + b.options.file +
                " have as many voxels but lie at different places (up to " +
                counted("%.6g", farthest, "voxel") +
                " apart): both images of a pair have the same grid");
}

void addOnce(std::vector<Remark>& remarks, const std::string& sentence) {
  if (std::find(remarks.begin(), remarks.end(), Remark(sentence)) == remarks.end())
    remarks.push_back(sentence);
}

void warnOfSpikes(const InputImage& image, PairInput& pair) {
  const std::size_t count = image.spikes.voxels.size();
  if (count == 0) return;
  const bool one = count == 1;
  pair.warnings.emplace_back(
      image.title() + " has " + std::to_string(count) +
      (one ? " voxel that stands" : " voxels that stand") + " far out of all others (" +
      (one ? "its value is " : "the largest value is ") +
      text(static_cast<double>(image.spikes.largest)) + "): the estimate leaves " +
      (one ? "it" : "them") + " out, the corrected image keeps " + (one ? "it" : "them"));
}

void addDoubts(PairInput& pair) {
  for (const InputImage* image : {&pair.a, &pair.b}) {
    const ImageOptions& options = image->options;
    for (const std::string& doubt : bids::contradictionsOf(options.file, image->header.dims,
                                                           options.given, image->acquisition))
      addOnce(pair.warnings, doubt);
    for (const std::string& doubt :
         bids::doubtsAboutSecondCorrection(options.file, image->acquisition))
      addOnce(pair.warnings, doubt);
    for (const std::string& doubt :
         bids::doubtsAboutAcquiredLines(options.file, image->acquisition))
      addOnce(pair.notes, doubt);
    for (const std::string& note :
         bids::notesOnPassedOver(options.file, options.given, image->acquisition))
      addOnce(pair.notes, note);
  }
  for (const std::string& doubt :
       bids::doubtsAboutSubject(pair.b.options.file, pair.a.options.file))
    addOnce(pair.warnings, doubt);
}

std::string directionText(const InputImage& image) {
  return nameOf(image.direction()) + " (" + image.acquisition.direction->sourceText() + ")";
}

void settleDirections(PairInput& pair) {
  using bids::StatedDirection;
  InputImage& a = pair.a;
  InputImage& b = pair.b;
  const bool knownA = a.acquisition.direction.has_value();
  const bool knownB = b.acquisition.direction.has_value();
  if (!knownA && !knownB) {
    a.acquisition.direction = StatedDirection{{1, 1}, StatedDirection::Source::assumed};
    b.acquisition.direction = StatedDirection{{1, -1}, StatedDirection::Source::assumed};
    pair.notes.push_back(
        "there is neither a sidecar nor an option that tells the phase-encoding directions of " +
        a.title() + " and " + b.title() +
        ": the axis is taken to be j (the second one), and results are in voxels and mm, not Hz");
  } else if (!knownA || !knownB) {
    InputImage& unknown = knownA ? b : a;
    const InputImage& known = knownA ? a : b;
    unknown.acquisition.direction =
        StatedDirection{known.direction().opposite(), StatedDirection::Source::opposite};
    pair.notes.push_back(unknown.options.file +
                         " has neither a sidecar nor an option: its phase-encoding direction is "
                         "taken to be the opposite of that of " +
                         known.options.file + ", " + nameOf(unknown.direction()));
  }
  if (a.direction().axis != b.direction().axis)
    throw Error("phase encoding is along different axes: " + a.title() + " has " +
                directionText(a) + ", " + b.title() + " has " + directionText(b));
  if (a.direction() == b.direction())
    throw Error("a pair needs opposite phase-encoding directions, but " + a.title() + " has " +
                directionText(a) + " and " + b.title() + " has " + directionText(b));
}

void noteEstimatedReadouts(PairInput& pair) {
  for (const InputImage* image : {&pair.a, &pair.b})
    if (image->acquisition.readout->source == bids::ReadoutSource::estimated)
      addOnce(pair.notes, "the readout time in " + image->acquisition.readout->file +
                              " is an estimate of the program that converted the images: the "
                              "field in Hz is as good as that");
}

// Both images have a readout time, perhaps not the same.
void settleCommonReadout(PairInput& pair) {
  const bids::Readout& a = *pair.a.acquisition.readout;
  const bids::Readout& b = *pair.b.acquisition.readout;
  const std::string difference = pair.a.title() + " has a readout time of " + text(a.seconds) +
                                 " s (" + nameOf(a.source) + "), " + pair.b.title() + " one of " +
                                 text(b.seconds) + " s (" + nameOf(b.source) + ")";
  if (std::abs(a.seconds - b.seconds) > readoutTolerance * std::max(a.seconds, b.seconds)) {
    pair.readoutSeconds = a.seconds;
    pair.warnings.push_back(difference + ": each is taken to be displaced by its own");
    return;
  }
  pair.readoutSeconds = a.seconds == b.seconds ? a.seconds : 0.5 * (a.seconds + b.seconds);
}

std::string sidecarsWithoutReadout(const PairInput& pair) {
  std::string titles;
  for (const InputImage* image : {&pair.a, &pair.b})
    if (const auto& sidecar = image->acquisition.sidecar)
      titles += (titles.empty() ? "" : " nor ") + sidecar->title();
  if (titles.empty()) return {};
  return " (neither TotalReadoutTime nor EffectiveEchoSpacing is in " + titles + ")";
}

void settleReadout(PairInput& pair) {
  std::optional<bids::Readout>& a = pair.a.acquisition.readout;
  std::optional<bids::Readout>& b = pair.b.acquisition.readout;
  const bool assumed =
      pair.a.acquisition.direction->source == bids::StatedDirection::Source::assumed;
  if (!a && !b) {
    if (!assumed)
      pair.notes.emplace_back("the readout time is not known" + sidecarsWithoutReadout(pair) +
                                  ": results are in voxels and mm, not Hz",
                              Advice{Advice::Kind::giveReadout, Advice::Of::both});
    return;
  }
  if (assumed)
    throw Error("a readout time is given, but the phase-encoding directions of " + pair.a.title() +
                    " and " + pair.b.title() + " are not known",
                {Advice::Kind::giveDirection, Advice::Of::both});
  if (!a || !b) {
    pair.notes.push_back((a ? pair.b : pair.a).options.file +
                         " has no readout time of its own: that of the other image is taken");
    (a ? b : a) = a ? a : b;
  }
  settleCommonReadout(pair);
  noteEstimatedReadouts(pair);
}

}  // namespace

std::string ImageDescription::title() const {
  if (header.volumes <= 1) return options.file;
  if (options.choice.isMade()) {
    const std::vector<int> taken = volumesTaken();
    return std::string(taken.size() == 1 ? "volume " : "volumes ") + rangesOf(taken) + " of " +
           options.file;
  }
  if (options.meanOfFirst > 1)
    return "the mean of " + std::to_string(options.meanOfFirst) + " volumes of " + options.file;
  return "volume " + std::to_string(options.volume) + " of " + options.file;
}

std::vector<int> ImageDescription::volumesTaken() const {
  if (joined && options.choice.isMade()) return joined->volumesOf(options.file);
  std::vector<int> taken;
  for (int n = 0; n < std::max(options.meanOfFirst, 1); ++n) taken.push_back(options.volume + n);
  return taken;
}

PairInput readPair(const ImageOptions& a, const ImageOptions& b) {
  PairInput pair;
  pair.a = readInput(a);
  pair.b = readInput(b);
  if (sameFile(a.file, b.file) && takeSameVolume(pair.a, pair.b))
    throw Error("both images of the pair are " + pair.a.title(), {Advice::Kind::chooseVolumes});
  checkSameGrid(pair.a, pair.b);
  readAcquisition(pair.a, Advice::Of::first);
  readAcquisition(pair.b, Advice::Of::second);
  settleDirections(pair);
  settleReadout(pair);
  for (const InputImage* image : {&pair.a, &pair.b}) {
    tellOfJoining(*image, pair);
    warnOfSpikes(*image, pair);
    checkWeighting(*image, pair);
  }
  if (const auto doubt = bids::doubtAboutPair(bids::originOf(a.file, pair.a.acquisition.sidecar),
                                              bids::originOf(b.file, pair.b.acquisition.sidecar)))
    pair.warnings.push_back(*doubt);
  for (const InputImage* image : {&pair.a, &pair.b})
    if (const auto& readout = image->acquisition.readout;
        readout && !readout->contradiction.empty())
      addOnce(pair.warnings, readout->contradiction);
  addDoubts(pair);
  return pair;
}

glm::dvec3 projectVoxelSize(const nifti::Header& header) {
  const glm::dvec3 size = nifti::columnLengths(header.affine());
  glm::dvec3 result;
  for (int axis = 0; axis < 3; ++axis) {
    // By way of nine digits, as projects are made (convert/newproject.cpp).
    const std::string digits = text("%.9g", size[axis]);
    result[axis] = static_cast<double>(std::strtof(digits.c_str(), nullptr));
  }
  return result;
}

}  // namespace mirel
