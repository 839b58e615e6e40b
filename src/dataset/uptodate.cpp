#include "dataset/uptodate.h"

#include <filesystem>
#include <optional>
#include <vector>

#include "base/error.h"
#include "base/inputfile.h"
#include "bids/inheritance.h"
#include "bids/sidecar.h"
#include "jobs/checksum.h"
#include "jobs/recordjson.h"
#include "nifti/filename.h"
#include "nifti/gradients.h"

namespace mirel::dataset {

namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t largestTable = 16U << 20U;

std::optional<Json> recordOf(const std::string& stem) {
  std::error_code ignored;
  if (!fs::is_regular_file(stem + ".json", ignored)) return std::nullopt;
  const bids::Sidecar sidecar(stem + ".json");
  const Json* record = sidecar.json().find("Mirel");
  return record == nullptr ? std::nullopt : std::optional<Json>(*record);
}

// "" where there is no such text.
std::string textIn(const Json& json, const char* field) {
  const Json* value = json.find(field);
  return value != nullptr && value->is_string() ? value->string() : "";
}

int numberIn(const Json& json, const char* field) {
  const Json* value = json.find(field);
  return value != nullptr && value->is_number() ? value->integer() : 0;
}

// The bytes of an image and of all that describes it.
bool isOfFile(const Json& input, const std::string& file) {
  if (textIn(input, "SHA256") != sha256Of(file)) return false;
  std::vector<std::string> sums;
  if (const auto sidecar = bids::findSidecar(file))
    for (const std::string& each : sidecar->fileNames()) sums.push_back(sha256Of(each));
  const Json* recorded = input.find("SidecarSHA256");
  if (recorded == nullptr) return sums.empty();
  return !sums.empty() && recorded->dump() == oneOrList(sums).dump();
}

bool isSource(const Json& input, const PairSource& source) {
  return numberIn(input, "Volume") == source.volume && numberIn(input, "MeanOfVolumes") == 0 &&
         isOfFile(input, source.file);
}

bool hasImage(const std::string& stem) {
  std::error_code ignored;
  return fs::is_regular_file(stem + ".nii.gz", ignored);
}

bool hasGradients(const std::string& stem, const std::string& series) {
  for (const char* end : {".bvec", ".bval"}) {
    const std::string file = nifti::gradientFileOf(series, end);
    if (file.empty()) continue;
    std::error_code ignored;
    if (!fs::is_regular_file(stem + end, ignored) ||
        readWholeFile(stem + end, largestTable) != readWholeFile(file, largestTable))
      return false;
  }
  return true;
}

}  // namespace

bool isPairUpToDate(const std::string& stem, const PairSource& a, const PairSource& b,
                    const std::string& version) try {
  const auto record = recordOf(stem);
  if (!record || !hasImage(stem) || textIn(*record, "Version") != version) return false;
  const Json &inputs = record->at("Inputs"), &options = record->at("Options");
  return textIn(options, "Estimator") == "mass-preserving" &&
         options.at("EstimateMotion").dump() == "true" &&
         options.at("Modulation").dump() == "true" && isSource(inputs.at(0), a) &&
         isSource(inputs.at(1), b);
} catch (const std::exception&) {
  return false;
}

bool isSeriesUpToDate(const std::string& stem, const std::string& series, const std::string& field,
                      const std::string& version) try {
  const auto record = recordOf(stem);
  if (!record || !hasImage(stem) || textIn(*record, "Version") != version) return false;
  const Json* source = record->find("Field");
  if (source == nullptr) source = record->find("Map");
  const Json& options = record->at("Options");
  return source != nullptr && textIn(*source, "SHA256") == sha256Of(field) &&
         options.at("Modulation").dump() == "true" && options.at("FloatOutput").dump() == "false" &&
         isOfFile(record->at("Series"), series) && hasGradients(stem, series);
} catch (const std::exception&) {
  return false;
}

bool isOurs(const std::string& stem) try {
  return recordOf(stem).has_value();
} catch (const std::exception&) {
  return false;
}

}  // namespace mirel::dataset
