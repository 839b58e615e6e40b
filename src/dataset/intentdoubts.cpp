#include "dataset/intentdoubts.h"

#include <algorithm>

#include "bids/intent.h"

namespace mirel::dataset {

namespace {

std::string pathOf(const std::string& entry) {
  return entry.starts_with("bids:") ? entry.substr(entry.rfind(':') + 1) : entry;
}

}  // namespace

std::vector<Remark> doubtsAboutIntent(const std::vector<ImageFacts>& images,
                                      const std::vector<std::string>& otherPaths) {
  std::vector<std::string> paths = otherPaths;
  for (const ImageFacts& image : images) paths.push_back(image.image.path);
  std::vector<Remark> doubts;
  const auto add = [&](const Remark& doubt) {
    if (std::find(doubts.begin(), doubts.end(), doubt) == doubts.end()) doubts.push_back(doubt);
  };
  for (const ImageFacts& image : images)
    for (const std::string& entry : image.intendedFor) {
      const std::string who = "IntendedFor of " + image.image.path + " names " + entry;
      if (entry.starts_with("bids:") && !entry.starts_with("bids::")) {
        add(who + ", an image of another dataset, which is not looked at");
        continue;
      }
      const bool isThere = std::any_of(paths.begin(), paths.end(), [&](const std::string& path) {
        return bids::isIntended(pathOf(entry), path);
      });
      if (!isThere) add(who + ", but there is no such image");
    }
  return doubts;
}

}  // namespace mirel::dataset
