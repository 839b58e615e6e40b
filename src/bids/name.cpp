#include "bids/name.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <sstream>

#include "nifti/filename.h"
#include "nifti/image.h"

namespace mirel::bids {

namespace {

std::vector<std::string> partsOf(const std::string& stem) {
  std::vector<std::string> parts;
  std::istringstream is(stem);
  for (std::string part; std::getline(is, part, '_');) parts.push_back(part);
  return parts;
}

bool isEntity(const std::string& part) {
  const std::size_t dash = part.find('-');
  return dash != std::string::npos && dash > 0 && dash + 1 < part.size();
}

std::string capitalised(std::string word) {
  if (!word.empty()) word[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(word[0])));
  return word;
}

// "subj1_AP" and "subj1_PA": "subj1_AP_PA".
std::string joined(const std::string& a, const std::string& b) {
  const std::vector<std::string> first = partsOf(a), second = partsOf(b);
  const auto [end, different] =
      std::mismatch(first.begin(), first.end(), second.begin(), second.end());
  std::string result = a;
  for (auto part = different; part != second.end(); ++part) result += "_" + *part;
  return result;
}

}  // namespace

Name Name::of(const std::string& imageFile) {
  return ofStem(std::filesystem::path(nifti::niftiStem(imageFile)).filename().string());
}

Name Name::ofStem(const std::string& stem) {
  std::vector<std::string> parts = partsOf(stem);
  Name name;
  name.suffix = stem;
  if (parts.size() < 2 || isEntity(parts.back())) return name;
  if (!std::all_of(parts.begin(), parts.end() - 1, isEntity)) return name;
  name.suffix = parts.back();
  parts.pop_back();
  for (const std::string& part : parts) {
    const std::size_t dash = part.find('-');
    name.entities.emplace_back(part.substr(0, dash), part.substr(dash + 1));
  }
  return name;
}

std::string Name::entity(const std::string& wanted) const {
  for (const auto& [key, value] : entities)
    if (key == wanted) return value;
  return "";
}

std::string Name::text() const {
  std::string result;
  for (const auto& [key, value] : entities)
    result.append(key).append("-").append(value).append("_");
  return result + suffix;
}

std::string derivedName(const Name& source, const std::string& description,
                        const std::string& suffix) {
  if (!source.isStructured()) {
    const std::string front = source.suffix.empty() ? "" : source.suffix + "_";
    return front + "desc-" + description + (suffix.empty() ? "" : "_" + suffix);
  }
  Name derived;
  derived.suffix = suffix.empty() ? source.suffix : suffix;
  std::string text = description;
  for (const auto& entity : source.entities)
    if (entity.first == "desc")
      text = entity.second + capitalised(description);
    else
      derived.entities.push_back(entity);
  derived.entities.emplace_back("desc", text);
  return derived.text();
}

Name commonName(const Name& a, const Name& b) {
  Name common;
  for (const auto& entity : a.entities)
    if (entity.first != "dir" &&
        std::find(b.entities.begin(), b.entities.end(), entity) != b.entities.end())
      common.entities.push_back(entity);
  common.suffix = common.isStructured() ? a.suffix : joined(a.text(), b.text());
  return common;
}

}  // namespace mirel::bids
