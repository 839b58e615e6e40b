#include "bids/sidecar.h"

#include <cmath>
#include <cstring>
#include <filesystem>

#include "base/error.h"
#include "base/inputfile.h"
#include "base/numbertext.h"
#include "nifti/filename.h"
#include "nifti/image.h"

namespace mirel::bids {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t largestSidecar = 16U << 20U;
// Those of scanners with all their private fields have some hundred.
constexpr std::size_t mostFields = 10000;
// Lines that were interpolated, or counted with the last gap, make a few percent.
constexpr double largestContradiction = 0.1;

Json readObject(const std::string& name) {
  const auto fail = [&](const std::string& fault) { throw Error(name, fault); };
  std::error_code failure;
  if (fs::is_directory(name, failure)) fail("is a directory, not a JSON file");
  if (fs::exists(name, failure) && (fs::file_size(name, failure) > largestSidecar || failure))
    fail("is no sidecar: it is larger than 16 MB, or no ordinary file");
  std::optional<Json> value = Json::parse(readWholeFile(name, largestSidecar));
  if (!value) fail("is not valid JSON");
  if (!value->is_object()) fail("is JSON, but not an object with named fields");
  if (value->items().size() > mostFields)
    fail("is no sidecar: it has " + std::to_string(value->items().size()) + " fields");
  return *std::move(value);
}

}  // namespace

std::string nameOf(ReadoutSource source) {
  switch (source) {
    case ReadoutSource::totalReadoutTime:
      return "TotalReadoutTime";
    case ReadoutSource::effectiveEchoSpacing:
      return "EffectiveEchoSpacing times (lines - 1)";
    case ReadoutSource::estimated:
      return "estimated by the converter";
    case ReadoutSource::table:
      return "acquisition table";
    case ReadoutSource::option:
      break;
  }
  return "option";
}

std::string sourceText(const Readout& readout) {
  return nameOf(readout.source) + (readout.file.empty() ? "" : " in " + readout.file);
}

Sidecar::Sidecar(const std::string& fileName) : Sidecar(std::vector<std::string>{fileName}) {}

Sidecar::Sidecar(const std::vector<std::string>& fileNames) : names(fileNames) {
  Json all = Json::object();
  for (const std::string& name : names) {
    read.emplace_back(name);
    const Json object = readObject(name);
    all.update(object);
    for (const auto& [field, value] : object.items()) origins[field] = name;
  }
  content = std::make_shared<const Json>(std::move(all));
}

std::string Sidecar::title() const {
  std::string farther;
  for (std::size_t n = names.size() - 1; n-- > 0;)
    farther += (farther.empty() ? "" : ", ") + names[n];
  return names.back() + (farther.empty() ? "" : " (with " + farther + ")");
}

void Sidecar::fail(const std::string& field, const std::string& fault) const {
  throw Error::ofField(fileOf(field), field, "has a field " + field + " " + fault);
}

std::optional<PhaseEncodingDirection> Sidecar::phaseEncoding() const {
  const char* name = "PhaseEncodingDirection";
  const Json* field = content->find(name);
  if (field == nullptr) return std::nullopt;
  if (!field->is_string()) fail(name, "that is not a text");
  return parsePhaseEncoding(field->string(), fileOf(name));
}

std::optional<double> Sidecar::seconds(const char* field) const {
  const Json* found = content->find(field);
  if (found == nullptr) return std::nullopt;
  if (!found->is_number()) fail(field, "that is not a number");
  const double value = found->number();
  if (!std::isfinite(value) || value <= 0)
    fail(field, "of " + text(value) + ", which is not a positive time");
  return value;
}

std::string Sidecar::contradictionOf(double totalReadoutTime, int lines) const {
  const std::optional<double> spacing = content->numberOf("EffectiveEchoSpacing");
  if (!spacing) return {};
  const double bySpacing = *spacing * (lines - 1.0);
  if (std::abs(bySpacing - totalReadoutTime) <= largestContradiction * totalReadoutTime) return {};
  const std::string& one = fileOf("TotalReadoutTime");
  const std::string& other = fileOf("EffectiveEchoSpacing");
  return (one == other ? one + " contradicts itself" : one + " contradicts " + other) +
         ": its TotalReadoutTime is " + text(totalReadoutTime) + " s, but " +
         (one == other ? "its" : "the latter's") + " EffectiveEchoSpacing times (lines - 1) is " +
         text(bySpacing) + " s; the TotalReadoutTime is taken";
}

std::optional<Readout> Sidecar::readout(int lines) const {
  const struct {
    const char* field;
    double factor;
    ReadoutSource source;
  } candidates[] = {
      {"TotalReadoutTime", 1.0, ReadoutSource::totalReadoutTime},
      {"EffectiveEchoSpacing", lines - 1.0, ReadoutSource::effectiveEchoSpacing},
      {"EstimatedTotalReadoutTime", 1.0, ReadoutSource::estimated},
      {"EstimatedEffectiveEchoSpacing", lines - 1.0, ReadoutSource::estimated},
  };
  for (const auto& candidate : candidates)
    if (const std::optional<double> value = seconds(candidate.field)) {
      const double time = *value * candidate.factor;
      checkReadout(time, "the total readout time by " + std::string(candidate.field) + " in " +
                             fileOf(candidate.field));
      Readout result{time, candidate.source, fileOf(candidate.field)};
      if (candidate.source == ReadoutSource::totalReadoutTime)
        result.contradiction = contradictionOf(time, lines);
      return result;
    }
  return std::nullopt;
}

std::string sidecarName(const std::string& imageFile) {
  return nifti::niftiStem(imageFile) + ".json";
}

void checkReadout(double seconds, const std::string& what) {
  if (seconds >= shortestReadout && seconds <= longestReadout) return;
  throw Error(what + " is " + text(seconds) + " s, which no echo-planar readout takes (" +
              text(shortestReadout) + " to " + text(longestReadout) +
              " s; is it in milliseconds?)");
}

}  // namespace mirel::bids
