#include "pair/imagegroups.h"

#include <algorithm>
#include <cmath>

#include "base/error.h"
#include "base/numbertext.h"
#include "base/samefile.h"
#include "nifti/image.h"
#include "pair/readoutratio.h"

namespace mirel {

namespace {

// An image of a group and how it was acquired.
struct Known {
  std::string file;
  bids::PhaseEncodingDirection direction;
  std::optional<double> readoutSeconds;
};

Known knownOf(const std::string& file, const bids::GivenAcquisition& given) {
  const bids::Acquisition acquisition =
      bids::resolveAcquisition(file, nifti::Reader(file).header().dims, given);
  if (!acquisition.direction)
    throw Error(file,
                "has no sidecar that tells its phase-encoding direction, by which the images of a "
                "session are told apart");
  Known known{file, acquisition.direction->value, {}};
  if (acquisition.readout) known.readoutSeconds = acquisition.readout->seconds;
  return known;
}

void checkReadout(const Known& image, const Known& first) {
  if (!image.readoutSeconds || !first.readoutSeconds) return;
  const double a = *image.readoutSeconds, b = *first.readoutSeconds;
  if (std::abs(a - b) <= readoutTolerance * std::max(a, b)) return;
  throw Error(image.file, "has a readout time of " + text(a) + " s and " + first.file + " one of " +
                              text(b) +
                              " s: images of one direction are joined when they are "
                              "distorted alike");
}

// The first image of each direction, in whose options the others stand.
struct Group {
  Known first;
  ImageOptions* options;
};

}  // namespace

ImageGroups groupImages(const PairOptions& pair, const std::vector<std::string>& more) {
  ImageGroups groups{pair, {}};
  if (more.empty()) return groups;
  std::vector<Group> known = {{knownOf(pair.a.file, pair.a.given), &groups.pair.a},
                              {knownOf(pair.b.file, pair.b.given), &groups.pair.b}};
  std::vector<std::string> taken = {pair.a.file, pair.b.file};
  PairOptions second;
  for (const std::string& file : more) {
    for (const std::string& other : taken)
      if (sameFile(file, other)) throw Error(file, "is given twice");
    taken.push_back(file);
    const Known image = knownOf(file, {});
    const auto same = std::find_if(known.begin(), known.end(), [&](const Group& group) {
      return group.first.direction == image.direction;
    });
    if (same != known.end()) {
      checkReadout(image, same->first);
      same->options->more.push_back(file);
      continue;
    }
    if (known.size() > 2 && image.direction.axis != known[2].first.direction.axis)
      throw Error(file, "is encoded along a third axis, " + nameOf(image.direction) +
                            ": images of two axes can be taken together");
    ImageOptions& options = known.size() == 2 ? second.a : second.b;
    options = known.size() == 2 ? pair.a : pair.b;
    options.file = file;
    options.given = {};
    known.push_back({image, &options});
  }
  if (known.size() == 3)
    throw Error(known[2].first.file,
                "is encoded along " + nameOf(known[2].first.direction) +
                    ", but no image along the opposite direction is given: a field takes both");
  if (known.size() == 4) groups.across = second;
  return groups;
}

}  // namespace mirel
