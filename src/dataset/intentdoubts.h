#pragma once

#include <string>
#include <vector>

#include "base/advice.h"
#include "dataset/facts.h"

namespace mirel::dataset {

/// Entries of IntendedFor that lead nowhere: no image of that name is there, or it is one of
/// another dataset (bids:NAME:...), which is not looked at. Each is told once.
///
/// @param otherPaths  of images of the subject besides `images`
std::vector<Remark> doubtsAboutIntent(const std::vector<ImageFacts>& images,
                                      const std::vector<std::string>& otherPaths);

}  // namespace mirel::dataset
