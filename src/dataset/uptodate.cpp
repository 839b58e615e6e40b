#include "dataset/uptodate.h"

#include <algorithm>
#include <filesystem>
#include <optional>

#include "base/error.h"
#include "base/inputfile.h"
#include "bids/inheritance.h"
#include "bids/name.h"
#include "bids/sidecar.h"
#include "jobs/checksum.h"
#include "jobs/recordjson.h"
#include "jobs/resultnames.h"
#include "jobs/seriesrealigned.h"
#include "nifti/filename.h"
#include "nifti/gradients.h"

namespace mirel::dataset {

namespace {

namespace fs = std::filesystem;

std::optional<Json> recordOf(const std::string& stem) {
  std::error_code ignored;
  if (!fs::is_regular_file(stem + ".json", ignored)) return std::nullopt;
  const bids::Sidecar sidecar(stem + ".json");
  const Json* record = sidecar.json().find("Mirel");
  return record == nullptr ? std::nullopt : std::optional<Json>(*record);
}

int volumesIn(const Json& input, const char* field) {
  return static_cast<int>(input.numberOf(field).value_or(0));
}

bool isVolume(const Json& input, const PairSource& source) {
  return volumesIn(input, "Volume") == source.volume && volumesIn(input, "MeanOfVolumes") == 0 &&
         input.find("JoinedVolumes") == nullptr;
}

// The bytes of an image and of all that describes it.
bool isOfFile(const Json& input, const std::string& file, Checksums& sums) {
  std::vector<std::string> ofSidecars;
  if (const auto sidecar = bids::findSidecar(file))
    for (const std::string& each : sidecar->fileNames()) ofSidecars.push_back(sums.of(each));
  const Json* recorded = input.find("SidecarSHA256");
  if (recorded == nullptr ? !ofSidecars.empty()
                          : ofSidecars.empty() || recorded->dump() != oneOrList(ofSidecars).dump())
    return false;
  return input.textOf("SHA256") == sums.of(file);
}

bool hasImage(const std::string& stem) {
  std::error_code ignored;
  return fs::is_regular_file(stem + ".nii.gz", ignored);
}

// Copies, but for directions that were turned with a head that moved. `found`: what the record says
// of the series.
bool hasGradients(const std::string& stem, const std::string& series, const Json& found) {
  const bool moved = found.contains("Motion");
  for (const std::string end : {".bvec", ".bval"}) {
    const std::string file = nifti::gradientFileOf(series, end);
    if (file.empty()) {
      if (hadGradients(found, end)) return false;
      continue;
    }
    std::error_code ignored;
    if (!fs::is_regular_file(stem + end, ignored)) return false;
    const std::string wanted =
        moved && end == ".bvec"
            ? turnedDirections(file, series, motionStemOf(stem, series) + motionEnd)
            : readWholeFile(file, largestTable);
    if (readWholeFile(stem + end, largestTable) != wanted) return false;
  }
  return true;
}

// Whether the head's motion within a series was looked for as it is to be. Volumes with diffusion
// gradients, of which the record tells where there are some, matter where they are asked for.
bool isRealignedBy(const SeriesSettings& settings, const Json& series, const std::string& motion) {
  const Json* found = series.find("Realignment");
  if (!settings.realign) return found == nullptr && !series.contains("Motion");
  std::error_code ignored;
  if (found == nullptr || !isOurs(motion) || !fs::is_regular_file(motion + motionEnd, ignored))
    return false;
  const bool weightedToo = found->contains("WeightedVolumesToo");
  return settings.realignWeighted ? weightedToo || !found->contains("VolumesBetween")
                                  : !weightedToo;
}

// All that is known without reading an image.
bool hasResult(const std::string& stem, const std::optional<Json>& record,
               const std::string& version) {
  return record && hasImage(stem) && record->textOf("Version") == version;
}

bool isSaid(bool wanted, const Json& value) { return value.dump() == (wanted ? "true" : "false"); }

bool isBy(InterpolationKernel kernel, const Json& options) {
  return options.textOf("Interpolation") == nameOf(kernel);
}

bool isOfPair(const Json& record, const PairSource& a, const PairSource& b,
              InterpolationKernel kernel) {
  const Json &inputs = record.at("Inputs"), &options = record.at("Options");
  return options.textOf("Estimator") == "mass-preserving" &&
         options.at("EstimateMotion").dump() == "true" &&
         options.at("Modulation").dump() == "true" && isBy(kernel, options) &&
         isVolume(inputs.at(0), a) && isVolume(inputs.at(1), b);
}

}  // namespace

const std::string& Checksums::of(const std::string& file) {
  const auto there = known.find(file);
  return there != known.end() ? there->second : known.emplace(file, sha256Of(file)).first->second;
}

bool isPairUpToDate(const std::vector<std::string>& stems, const PairSource& a, const PairSource& b,
                    InterpolationKernel interpolation, const std::string& version,
                    Checksums& sums) try {
  std::vector<Json> records;
  for (const std::string& stem : stems) {
    const std::optional<Json> record = recordOf(stem);
    if (!hasResult(stem, record, version) || !isOfPair(*record, a, b, interpolation)) return false;
    records.push_back(*record);
  }
  return std::all_of(records.begin(), records.end(), [&](const Json& record) {
    const Json& inputs = record.at("Inputs");
    return isOfFile(inputs.at(0), a.file, sums) && isOfFile(inputs.at(1), b.file, sums);
  });
} catch (const std::exception&) {
  return false;
}

bool isSeriesUpToDate(const std::string& stem, const std::string& series, const std::string& field,
                      const SeriesSettings& settings, const std::string& version,
                      Checksums& sums) try {
  const std::optional<Json> record = recordOf(stem);
  if (!hasResult(stem, record, version)) return false;
  const Json& source = record->contains("Field") ? record->at("Field") : record->part("Map");
  const Json &options = record->at("Options"), &found = record->at("Series");
  return isSaid(settings.modulation == Modulation::on, options.at("Modulation")) &&
         isSaid(settings.floatOutput, options.at("FloatOutput")) &&
         isBy(settings.interpolation, options) && found.contains("Alignment") == settings.align &&
         isRealignedBy(settings, found, motionStemOf(stem, series)) &&
         hasGradients(stem, series, found) && source.textOf("SHA256") == sums.of(field) &&
         isOfFile(found, series, sums);
} catch (const std::exception&) {
  return false;
}

bool isMeasurementUpToDate(const std::string& stem, const std::vector<std::string>& files,
                           const std::string& magnitude, const std::string& version,
                           Checksums& sums) try {
  const std::optional<Json> record = recordOf(stem);
  if (!hasResult(stem, record, version)) return false;
  const Json* phases = record->find("Phases");
  const Json::List inputs = phases != nullptr ? phases->list() : Json::List{record->at("Field")};
  if (inputs.size() != files.size()) return false;
  for (std::size_t n = 0; n < files.size(); ++n)
    if (!isOfFile(inputs[n], files[n], sums)) return false;
  const std::string ofMagnitude = magnitude.empty() ? "" : sums.of(magnitude);
  return record->part("Magnitude").textOf("SHA256") == ofMagnitude;
} catch (const std::exception&) {
  return false;
}

std::string motionStemOf(const std::string& stem, const std::string& series) {
  return (fs::path(stem).parent_path() / motionName(bids::Name::of(series))).string();
}

std::string trustIn(const std::string& stem) try {
  const std::optional<Json> record = recordOf(stem);
  return record ? record->part("Verdict").textOf("Trust") : "";
} catch (const std::exception&) {
  return "";
}

bool isOurs(const std::string& stem) try {
  return recordOf(stem).has_value();
} catch (const std::exception&) {
  return false;
}

}  // namespace mirel::dataset
