#include "jobs/resultnames.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

namespace mirel {

namespace {

constexpr const char* description = "preproc";

bool hasDescription(const bids::Name& name) {
  return std::any_of(name.entities.begin(), name.entities.end(),
                     [](const auto& entity) { return entity.first == "desc"; });
}

std::string uncapitalised(std::string word) {
  if (!word.empty()) word[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(word[0])));
  return word;
}

bool mayStandInFieldmap(const std::string& key) {
  constexpr std::array<std::string_view, 7> keys = {"sub",   "ses",   "acq", "run",
                                                    "chunk", "space", "res"};
  return std::find(keys.begin(), keys.end(), key) != keys.end();
}

// A transform of an image to another place; a description of the image comes first.
std::string transformName(const bids::Name& image, const std::string& target,
                          const std::string& detail) {
  bids::Name warp;
  std::string front, label;
  for (const auto& entity : image.entities)
    if (entity.first == "desc")
      label = entity.second;
    else
      warp.entities.push_back(entity);
  if (!image.isStructured() && !image.suffix.empty()) front = image.suffix + "_";
  warp.entities.emplace_back("from", "orig");
  warp.entities.emplace_back("to", target);
  warp.entities.emplace_back("mode", "image");
  label += label.empty() ? uncapitalised(detail) : detail;
  if (!label.empty()) warp.entities.emplace_back("desc", label);
  warp.suffix = "xfm";
  return front + warp.text();
}

}  // namespace

std::string labelPart(const std::string& word) {
  std::string label;
  for (const char c : word)
    if (std::isalnum(static_cast<unsigned char>(c)) != 0) label += c;
  if (!label.empty())
    label[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(label[0])));
  return label;
}

std::string correctedName(const bids::Name& image, const std::string& detail) {
  return derivedName(image, (hasDescription(image) ? "undistorted" : description) + detail);
}

std::string restoredName(const bids::Name& first, const bids::Name& second) {
  return derivedName(commonName(first, second), "restored");
}

std::string warpName(const bids::Name& image, const std::string& detail) {
  return transformName(image, "undistorted", detail);
}

std::string motionName(const bids::Name& image) {
  const bool named = image.isStructured() && !image.suffix.empty();
  return transformName(image, named ? image.suffix + "ref" : "reference", "Hmc");
}

std::string displacementName(const bids::Name& image, const std::string& unit,
                             const std::string& detail) {
  return derivedName(image, unit + detail, "vdm");
}

std::string pairResultName(const bids::Name& a, const bids::Name& b, const std::string& suffix,
                           const std::string& detail, const std::string& label) {
  bids::Name common = commonName(a, b);
  std::string described = label;
  for (const auto& [key, value] : common.entities)
    if (key != "desc" && !mayStandInFieldmap(key)) described += labelPart(key) + labelPart(value);
  if (common.isStructured()) common.suffix.clear();
  std::erase_if(common.entities, [](const auto& entity) {
    return entity.first != "desc" && !mayStandInFieldmap(entity.first);
  });
  return derivedName(common, described + detail, suffix);
}

}  // namespace mirel
