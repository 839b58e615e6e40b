#include "dataset/filterkeys.h"

#include <algorithm>
#include <array>

#include "nifti/filename.h"

namespace mirel::dataset {

namespace {

constexpr std::array keys = {
    FilterKey{"subject", "sub"},         FilterKey{"session", "ses"},
    FilterKey{"sample", "sample"},       FilterKey{"task", "task"},
    FilterKey{"acquisition", "acq"},     FilterKey{"ceagent", "ce"},
    FilterKey{"tracer", "trc"},          FilterKey{"reconstruction", "rec"},
    FilterKey{"direction", "dir"},       FilterKey{"run", "run", true},
    FilterKey{"proc", "proc"},           FilterKey{"modality", "mod"},
    FilterKey{"echo", "echo", true},     FilterKey{"flip", "flip", true},
    FilterKey{"inversion", "inv", true}, FilterKey{"mt", "mt"},
    FilterKey{"part", "part"},           FilterKey{"recording", "recording"},
    FilterKey{"space", "space"},         FilterKey{"chunk", "chunk", true},
    FilterKey{"datatype", "datatype"},   FilterKey{"suffix", "suffix"},
    FilterKey{"extension", "extension"},
};

}  // namespace

std::string FilterKey::valueOf(const IndexedImage& image) const {
  if (entity == "datatype") return image.datatype;
  if (entity == "suffix") return image.suffix();
  if (entity == "extension") return image.path.substr(nifti::niftiStem(image.path).size());
  return image.entity(std::string(entity));
}

std::string FilterKey::plain(const std::string& value) const {
  if (value.empty()) return value;
  if (isNumber) return value.substr(std::min(value.find_first_not_of('0'), value.size() - 1));
  return entity == "extension" && !value.starts_with('.') ? "." + value : value;
}

const FilterKey* filterKey(std::string_view name) {
  const auto found = std::find_if(keys.begin(), keys.end(), [&](const FilterKey& key) {
    return key.name == name || key.entity == name;
  });
  return found == keys.end() ? nullptr : &*found;
}

std::string filterKeyNames() {
  std::string names;
  for (const FilterKey& key : keys) names += (names.empty() ? "" : ", ") + std::string(key.name);
  return names;
}

}  // namespace mirel::dataset
