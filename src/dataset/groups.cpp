#include "dataset/groups.h"

#include <algorithm>
#include <cstdlib>
#include <map>

namespace mirel::dataset {

namespace {

// A single-band reference is of the series that its folder holds.
std::string kindOf(const IndexedImage& image) {
  if (image.suffix() != "sbref") return image.suffix();
  if (image.datatype == "dwi") return "dwi";
  return image.datatype == "perf" ? "asl" : "bold";
}

std::string keyOf(const ImageFacts& facts) {
  bids::Name name = facts.image.name;
  std::erase_if(name.entities, [](const auto& entity) {
    return entity.first == "echo" || entity.first == "part";
  });
  name.suffix = kindOf(facts.image);
  return facts.image.session + "/" + facts.image.datatype + "/" + name.text() + "/" +
         nameOf(*facts.direction);
}

bool servesBetter(const ImageFacts& a, const ImageFacts& b) {
  const bool refA = a.image.suffix() == "sbref", refB = b.image.suffix() == "sbref";
  if (refA != refB) return refA;
  const int echoA = std::atoi(a.image.entity("echo").c_str());
  const int echoB = std::atoi(b.image.entity("echo").c_str());
  return echoA != echoB ? echoA < echoB : a.image.path < b.image.path;
}

}  // namespace

bool canHaveField(const ImageFacts& image) {
  return isEpi(image.image) && image.fault.empty() && image.direction &&
         !isPartOfComplex(image.image);
}

std::vector<Group> groupsOf(const std::vector<ImageFacts>& images) {
  std::vector<Group> groups;
  std::map<std::string, std::size_t> known;
  for (std::size_t n = 0; n < images.size(); ++n) {
    if (!canHaveField(images[n])) continue;
    const auto [place, isNew] = known.emplace(keyOf(images[n]), groups.size());
    if (isNew) groups.push_back({{}, images[n].image.session, images[n].image.datatype == "fmap"});
    groups[place->second].members.push_back(n);
  }
  for (Group& group : groups)
    std::sort(group.members.begin(), group.members.end(),
              [&](std::size_t a, std::size_t b) { return servesBetter(images[a], images[b]); });
  return groups;
}

}  // namespace mirel::dataset
