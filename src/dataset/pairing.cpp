#include "dataset/pairing.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/dimensions.h"
#include "base/error.h"
#include "base/numbertext.h"

namespace mirel::dataset {

namespace {

constexpr double readoutTolerance = 0.01;
constexpr double never = std::numeric_limits<double>::infinity();

using Pool = std::vector<std::size_t>;

std::string nameWithoutDirection(const ImageFacts& image) {
  bids::Name name = image.image.name;
  std::erase_if(name.entities, [](const auto& entity) { return entity.first == "dir"; });
  return image.image.datatype + "/" + name.text();
}

struct Candidate {
  ImagePair pair;
  bool sameName = false;
  bool sameSuffix = false;
  double seconds = never;
};

std::vector<Candidate> candidatesIn(const std::vector<ImageFacts>& images, const Pool& pool) {
  std::vector<Candidate> candidates;
  for (std::size_t i = 0; i < pool.size(); ++i)
    for (std::size_t j = i + 1; j < pool.size(); ++j) {
      const ImageFacts &a = images[pool[i]], &b = images[pool[j]];
      if (!whyNoPair(a, b).empty()) continue;
      candidates.push_back({{pool[i], pool[j]},
                            nameWithoutDirection(a) == nameWithoutDirection(b),
                            a.image.suffix() == b.image.suffix(),
                            secondsBetween(a, b)});
    }
  std::stable_sort(candidates.begin(), candidates.end(),
                   [](const Candidate& a, const Candidate& b) {
                     if (a.sameName != b.sameName) return a.sameName;
                     if (a.sameSuffix != b.sameSuffix) return a.sameSuffix;
                     return a.seconds < b.seconds;
                   });
  return candidates;
}

double secondsFrom(const std::vector<ImageFacts>& images, const ImagePair& pair,
                   std::size_t image) {
  return std::min(secondsBetween(images[pair.a], images[image]),
                  secondsBetween(images[pair.b], images[image]));
}

}  // namespace

std::string whyNoPair(const ImageFacts& a, const ImageFacts& b) {
  if (!a.direction || !b.direction) return "have no known directions";
  if (a.direction->axis != b.direction->axis) return "are encoded along different axes";
  if (a.direction->sign == b.direction->sign)
    return "have the same direction, " + nameOf(*a.direction);
  if (a.unweightedVolume < 0 || b.unweightedVolume < 0)
    return "have no volumes without diffusion weighting";
  if (!a.grid || !b.grid) return "";
  if (a.grid->dims != b.grid->dims)
    return "have other grids, " + text(a.grid->dims) + " and " + text(b.grid->dims) + " voxels";
  try {
    const double apart = cornersApart(*b.grid, *a.grid, a.image.path);
    if (apart <= samePlaceVoxels) return "";
    return "lie at different places, up to " + counted("%.2g", apart, "voxel") + " apart";
  } catch (const Error& error) {
    return std::string("cannot be compared: ") + error.what();
  }
}

bool haveSameReadout(const ImageFacts& a, const ImageFacts& b) {
  if (!a.readoutSeconds || !b.readoutSeconds) return true;
  return std::fabs(*a.readoutSeconds - *b.readoutSeconds) <=
         readoutTolerance * std::max(*a.readoutSeconds, *b.readoutSeconds);
}

std::vector<ImagePair> pairsOf(const std::vector<ImageFacts>& images, const Pool& given) {
  Pool pool = given;
  std::sort(pool.begin(), pool.end(), [&](std::size_t a, std::size_t b) {
    return images[a].image.path < images[b].image.path;
  });
  std::vector<ImagePair> pairs;
  for (const Candidate& candidate : candidatesIn(images, pool)) {
    const auto isTaken = [&](std::size_t image) {
      return std::any_of(pairs.begin(), pairs.end(),
                         [&](const ImagePair& pair) { return pair.has(image); });
    };
    if (!isTaken(candidate.pair.a) && !isTaken(candidate.pair.b)) pairs.push_back(candidate.pair);
  }
  return pairs;
}

std::string whyNone(const std::vector<ImageFacts>& images, const Pool& pool) {
  if (pool.empty()) return "";
  if (pool.size() == 1) {
    const ImageFacts& image = images[pool[0]];
    if (!image.fault.empty()) return image.fault;
    if (!image.direction) return image.fileName() + " has no PhaseEncodingDirection";
    return "there is no image of the direction opposite to that of " + image.fileName() + ", " +
           nameOf(*image.direction);
  }
  for (const std::size_t one : pool) {
    if (!images[one].fault.empty()) return images[one].fault;
    if (!images[one].direction) return images[one].fileName() + " has no PhaseEncodingDirection";
  }
  // The most telling reason is that of two opposite images.
  ImagePair shown{pool[0], pool[1]};
  for (std::size_t i = 0; i < pool.size(); ++i)
    for (std::size_t j = i + 1; j < pool.size(); ++j)
      if (*images[pool[i]].direction == images[pool[j]].direction->opposite())
        shown = {pool[i], pool[j]};
  const std::string why = whyNoPair(images[shown.a], images[shown.b]);
  return why.empty() ? "" : namesOf(images, shown) + " " + why;
}

double secondsBetween(const ImageFacts& a, const ImageFacts& b) {
  if (!a.acquiredSeconds || !b.acquiredSeconds) return never;
  return std::fabs(*a.acquiredSeconds - *b.acquiredSeconds);
}

std::optional<std::size_t> shortestOf(const std::vector<double>& seconds) {
  const auto isKnown = [](double each) { return std::isfinite(each); };
  if (seconds.empty() || !std::all_of(seconds.begin(), seconds.end(), isKnown)) return std::nullopt;
  const auto shortest = std::min_element(seconds.begin(), seconds.end());
  if (std::count(seconds.begin(), seconds.end(), *shortest) > 1) return std::nullopt;
  return static_cast<std::size_t>(shortest - seconds.begin());
}

NearestPair nearestPair(const std::vector<ImageFacts>& images, const std::vector<ImagePair>& pairs,
                        std::size_t image) {
  for (const ImagePair& pair : pairs)
    if (pair.has(image)) return {pair, ""};
  if (pairs.size() == 1) return {pairs[0], ""};
  std::vector<double> seconds;
  for (const ImagePair& pair : pairs) seconds.push_back(secondsFrom(images, pair, image));
  const std::optional<std::size_t> nearest = shortestOf(seconds);
  if (!nearest) return {};
  return {pairs[*nearest], ", the nearest in time of " + std::to_string(pairs.size()) + " pairs (" +
                               text("%.0f", seconds[*nearest]) + " s away)"};
}

std::string namesOf(const std::vector<ImageFacts>& images, const Pool& which) {
  std::string names;
  for (std::size_t n = 0; n < which.size(); ++n) {
    const bool isLast = n + 1 == which.size();
    if (n > 0) names += isLast ? " and " : ", ";
    names += images[which[n]].fileName();
  }
  return names;
}

std::string namesOf(const std::vector<ImageFacts>& images, const ImagePair& pair) {
  return namesOf(images, Pool{pair.a, pair.b});
}

}  // namespace mirel::dataset
