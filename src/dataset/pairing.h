#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "dataset/facts.h"

/// Which images of a list, by their numbers in it, make a pair from which a field can be estimated.
namespace mirel::dataset {

struct ImagePair {
  std::size_t a = 0, b = 0;
  bool operator==(const ImagePair&) const = default;
  bool has(std::size_t image) const { return a == image || b == image; }
};

/// Why two images are no pair, in words that go on after their names; empty when they can be one:
/// opposite directions along one axis, the same grid to a twentieth of a voxel, volumes without
/// diffusion weighting.
std::string whyNoPair(const ImageFacts& a, const ImageFacts& b);

/// Whether two readout times differ by no more than 1 %; one that is not known could be any.
bool haveSameReadout(const ImageFacts& a, const ImageFacts& b);

/// Pairs among the images of `pool`, each image in one at most. First those whose names are the
/// same but for dir, then, of what is left, the nearest in time; where times are not known the next
/// by name. The image that comes first by its name is `a`.
std::vector<ImagePair> pairsOf(const std::vector<ImageFacts>& images,
                               const std::vector<std::size_t>& pool);

/// Why there is no pair in a pool, in a sentence that names images; empty for an empty pool.
std::string whyNone(const std::vector<ImageFacts>& images, const std::vector<std::size_t>& pool);

/// Which of several times is the shortest, in s; nothing where one is infinite (not known), two are
/// the shortest, or there are none.
std::optional<std::size_t> shortestOf(const std::vector<double>& seconds);

/// Time between two acquisitions in s; infinite where one is not known.
double secondsBetween(const ImageFacts& a, const ImageFacts& b);

/// Which of several pairs serves an image.
struct NearestPair {
  std::optional<ImagePair> pair;  ///< nothing where there is none, or time cannot decide
  std::string how;                ///< ", the nearest in time of 3 pairs (65 s away)"; may be empty
};
/// A pair that the image is in, else the only one, else the nearest in time.
NearestPair nearestPair(const std::vector<ImageFacts>& images, const std::vector<ImagePair>& pairs,
                        std::size_t image);

/// "sub-01_dir-AP_epi.nii.gz and sub-01_dir-PA_epi.nii.gz"; ", " between more than two.
std::string namesOf(const std::vector<ImageFacts>& images, const std::vector<std::size_t>& which);
std::string namesOf(const std::vector<ImageFacts>& images, const ImagePair& pair);

}  // namespace mirel::dataset
