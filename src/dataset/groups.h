#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "dataset/facts.h"

namespace mirel::dataset {

/// Images that one field distorts alike, since they are of one acquisition: the echoes of a series,
/// its magnitude parts and its single-band reference. They are numbers of a list of images.
struct Group {
  /// The ones that serve best to estimate a field come first: the single-band reference, then the
  /// shortest echo.
  std::vector<std::size_t> members;
  std::string session;
  bool isFieldMap = false;  ///< in the folder fmap

  std::size_t front() const { return members.front(); }
};

/// The groups of all EPI images that can have a field: without a fault, of a known direction, no
/// phase or complex part. Of one group are images of the same folder and direction whose names are
/// the same but for echo and part; a single-band reference belongs to its series.
std::vector<Group> groupsOf(const std::vector<ImageFacts>& images);

/// Whether a group may hold the image.
bool canHaveField(const ImageFacts& image);

}  // namespace mirel::dataset
