#include "cli/bidsrules.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace mirel::bidsrules {

namespace {

bool has(const std::vector<std::string>& list, const std::string& text) {
  return std::find(list.begin(), list.end(), text) != list.end();
}

bool isLabel(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(),
                                      [](unsigned char c) { return std::isalnum(c) != 0; });
}

/// A name cut at "_": entities with their values, then the suffix.
struct Parts {
  std::vector<std::pair<std::string, std::string>> entities;
  std::string suffix, fault;

  explicit Parts(const std::string& stem) {
    std::istringstream words(stem);
    for (std::string word; std::getline(words, word, '_');) {
      if (!suffix.empty()) fault = "has " + suffix + " before its suffix";
      const std::size_t dash = word.find('-');
      if (dash == std::string::npos)
        suffix = word;
      else
        entities.emplace_back(word.substr(0, dash), word.substr(dash + 1));
    }
    if (suffix.empty()) fault = "has no suffix";
  }
  std::string value(const std::string& key) const {
    for (const auto& [entity, label] : entities)
      if (entity == key) return label;
    return "";
  }
};

std::string faultOfEntities(const Parts& name, const Rule& rule) {
  std::size_t place = 0;
  for (const auto& [key, label] : name.entities) {
    if (!isLabel(label)) return "has the label " + label;
    if (!has(rule.entities, key) && !has({"sub", "ses", "space", "res", "desc"}, key))
      return "has the entity " + key;
    const auto found = std::find(entityOrder().begin() + static_cast<std::ptrdiff_t>(place),
                                 entityOrder().end(), key);
    if (found == entityOrder().end()) return "has " + key + " twice or out of order";
    place = static_cast<std::size_t>(found - entityOrder().begin()) + 1;
  }
  for (const std::string& key : rule.required)
    if (name.value(key).empty()) return "has no " + key;
  return name.value("desc").empty() ? "has the name of a raw file" : "";
}

}  // namespace

std::string faultOfPath(const std::string& path) {
  const std::filesystem::path whole(path);
  const std::string file = whole.filename().string(), datatype = whole.parent_path().filename();
  const std::size_t dot = file.find('.');
  if (!has({".nii.gz", ".nii", ".json"}, file.substr(dot))) return "has another extension";
  const Parts name(file.substr(0, dot));
  if (!name.fault.empty()) return name.fault;
  const std::string session = name.value("ses");
  if (whole.parent_path() != std::filesystem::path("sub-" + name.value("sub")) /
                                 (session.empty() ? "" : "ses-" + session) / datatype)
    return "lies in the folder of another subject or session";
  for (const Rule& rule : rules())
    if (rule.datatype == datatype && has(rule.suffixes, name.suffix))
      return faultOfEntities(name, rule);
  return "has no rule for " + name.suffix + " in " + datatype;
}

std::vector<std::string> requiredKeys(const std::string& suffix) {
  std::vector<std::string> keys = {"SkullStripped", "Description", "Sources"};
  const auto add = [&](std::initializer_list<const char*> more) {
    keys.insert(keys.end(), more.begin(), more.end());
  };
  if (suffix == "epi") add({"PhaseEncodingDirection"});
  if (suffix == "fieldmap") add({"Units"});
  if (suffix == "bold") add({"TaskName", "RepetitionTime"});
  if (suffix == "asl")
    add({"MagneticFieldStrength", "MRAcquisitionType", "RepetitionTimePreparation",
         "ArterialSpinLabelingType", "PostLabelingDelay", "BackgroundSuppression", "M0Type",
         "TotalAcquiredPairs"});
  return keys;
}

}  // namespace mirel::bidsrules
