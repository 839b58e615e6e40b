#include "pair/joinedinput.h"

#include <algorithm>
#include <cmath>
#include <glm/geometric.hpp>
#include <glm/trigonometric.hpp>

#include "base/dimensions.h"
#include "base/error.h"
#include "base/numbertext.h"
#include "bids/doubts.h"
#include "nifti/finite.h"
#include "nifti/orientation.h"
#include "numerics/statistics.h"

namespace mirel {

namespace {

constexpr double sizeTolerance = 1e-3;
const double leastCosine = std::cos(glm::radians(5.0));

void checkVolume(const PlacedImage& image, std::size_t beyond) {
  const auto bad = std::count_if(image.values.data(), image.values.data() + image.values.size(),
                                 [](float v) { return !std::isfinite(v); });
  if (bad > 0)
    throw Error(image.name, "has voxels that are " +
                                nifti::whatIsNotFinite(static_cast<std::size_t>(bad), beyond));
  if (image.values.min() == image.values.max())
    throw Error(image.name,
                "is constant: every voxel is " + text(static_cast<double>(image.values.min())));
}

// The volumes of a file that the options of `image` take.
std::vector<int> volumesOf(nifti::Reader& reader, const ImageOptions& options) {
  const nifti::Header& header = reader.header();
  if (options.choice.isMade()) return chosenVolumes(options.choice, reader.fileName(), header);
  return chosenVolumes({VolumeChoice::Kind::listed, {options.volume}}, reader.fileName(), header);
}

void append(nifti::Reader& reader, const ImageOptions& options,
            std::vector<VolumeToJoin>& volumes) {
  const std::string& file = reader.fileName();
  const bool one = reader.header().volumes == 1;
  for (const int n : volumesOf(reader, options)) {
    volumes.push_back({{reader.readVolume(n), reader.header().affine(),
                        one ? file : "volume " + std::to_string(n) + " of " + file},
                       file,
                       n});
    checkVolume(volumes.back().image, reader.roundingLoss().beyond);
  }
}

void checkGrid(const nifti::Header& header, const std::string& file,
               const ImageDescription& first) {
  const auto refuse = [&](const std::string& fault, const std::string& other) {
    throw Error(file, fault + " and " + first.options.file + " " + other +
                          ": images of one direction are joined when their grids differ by their "
                          "place alone");
  };
  if (header.dims != first.header.dims)
    refuse("has " + text(header.dims) + " voxels", text(first.header.dims));
  const glm::dmat4 own = header.affine(), others = first.header.affine();
  const glm::dvec3 sizes = nifti::columnLengths(own), wanted = nifti::columnLengths(others);
  for (int axis = 0; axis < 3; ++axis) {
    const std::string along = " along " + std::string(1, "ijk"[axis]);
    if (!(std::abs(sizes[axis] - wanted[axis]) <= sizeTolerance * wanted[axis]))
      refuse("has voxels of " + text(sizes[axis]) + " mm" + along, text(wanted[axis]) + " mm");
    const double cosine =
        glm::dot(glm::dvec3(own[axis]), glm::dvec3(others[axis])) / (sizes[axis] * wanted[axis]);
    if (!(cosine >= leastCosine))
      refuse("is turned by " +
                 counted("%.3g", glm::degrees(std::acos(std::clamp(cosine, -1.0, 1.0))), "degree") +
                 along,
             "is not");
  }
}

}  // namespace

void readJoined(nifti::Reader& reader, InputImage& image) {
  std::vector<VolumeToJoin> volumes;
  append(reader, image.options, volumes);
  for (const std::string& file : image.options.more) {
    image.moreStamps.emplace_back(file);
    nifti::Reader more(file);
    checkGrid(more.header(), file, image);
    append(more, image.options, volumes);
  }
  JoinedVolumes joined = joinVolumes(std::move(volumes));
  image.image = std::move(joined.image);
  joined.image = {};
  image.joined = std::move(joined);
}

bool takeSameVolume(const InputImage& a, const InputImage& b) {
  if (!a.joined && !b.joined) return a.options.volume == b.options.volume;
  const std::vector<int> ofA = a.volumesTaken(), ofB = b.volumesTaken();
  return std::find_first_of(ofA.begin(), ofA.end(), ofB.begin(), ofB.end()) != ofA.end();
}

void tellOfJoining(const InputImage& image, PairInput& pair) {
  if (!image.joined) return;
  const JoinedVolumes& joined = *image.joined;
  pair.notes.insert(pair.notes.end(), joined.notes.begin(), joined.notes.end());
  pair.warnings.insert(pair.warnings.end(), joined.warnings.begin(), joined.warnings.end());
  for (const std::string& file : image.options.more)
    for (const std::string& doubt : bids::doubtsAboutSubject(file, image.options.file))
      pair.warnings.emplace_back(doubt);
}

}  // namespace mirel
