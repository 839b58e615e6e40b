#include "bids/sidecar.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "bids/error.h"
#include "nifti/image.h"

namespace bids {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t largestSidecar = 16U << 20U;
// Lines that were interpolated, or counted with the last gap, make a few percent.
constexpr double largestContradiction = 0.1;

std::string textOfNumber(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.6g", value);
  return text;
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
    case ReadoutSource::option:
      break;
  }
  return "option";
}

Sidecar::Sidecar(const std::string& fileName) : name(fileName) {
  std::error_code failure;
  if (fs::is_directory(name, failure)) fail("is a directory, not a JSON file");
  std::ifstream is(name, std::ios::binary);
  if (!is) fail(std::string("cannot be opened: ") + std::strerror(errno));
  if (fs::file_size(name, failure) > largestSidecar || failure)
    fail("is no sidecar: it is larger than 16 MB, or no ordinary file");
  content = nlohmann::json::parse(is, nullptr, /*allow_exceptions=*/false);
  if (content.is_discarded()) fail("is not valid JSON");
  if (!content.is_object()) fail("is JSON, but not an object with named fields");
}

void Sidecar::fail(const std::string& fault) const { throw Error(name + " " + fault); }

std::optional<series::PhaseEncodingDirection> Sidecar::phaseEncoding() const {
  const auto field = content.find("PhaseEncodingDirection");
  if (field == content.end()) return std::nullopt;
  if (!field->is_string()) fail("has a PhaseEncodingDirection that is not a text");
  return series::parsePhaseEncoding(field->get<std::string>(), name);
}

std::optional<double> Sidecar::seconds(const char* field) const {
  const auto found = content.find(field);
  if (found == content.end()) return std::nullopt;
  if (!found->is_number()) fail(std::string("has a ") + field + " that is not a number");
  const double value = found->get<double>();
  if (!std::isfinite(value) || value <= 0)
    fail(std::string("has a ") + field + " of " + textOfNumber(value) +
         ", which is not a positive time");
  return value;
}

std::string Sidecar::contradictionOf(double totalReadoutTime, int lines) const {
  const auto spacing = content.find("EffectiveEchoSpacing");
  if (spacing == content.end() || !spacing->is_number()) return {};
  const double bySpacing = spacing->get<double>() * (lines - 1.0);
  if (std::abs(bySpacing - totalReadoutTime) <= largestContradiction * totalReadoutTime) return {};
  return name + " contradicts itself: its TotalReadoutTime is " + textOfNumber(totalReadoutTime) +
         " s, but its EffectiveEchoSpacing times (lines - 1) is " + textOfNumber(bySpacing) +
         " s; the former is taken";
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
      checkReadout(time,
                   "the total readout time by " + std::string(candidate.field) + " in " + name);
      Readout result{time, candidate.source};
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
  throw Error(what + " is " + textOfNumber(seconds) + " s, which no echo-planar readout takes (" +
              textOfNumber(shortestReadout) + " to " + textOfNumber(longestReadout) +
              " s; is it in milliseconds?)");
}

}  // namespace bids
