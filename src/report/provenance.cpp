#include "report/provenance.h"

#include "base/numbertext.h"

namespace mirel::report {

namespace {

Json row(const std::string& what, const std::string& value) {
  return {{"what", what}, {"value", value}};
}

// As people write it: texts without quotes, lists with commas.
std::string plainText(const Json& value) {
  if (value.is_string()) return value.string();
  if (value.is_number()) return text(value.number());
  if (value.is_null()) return "none";
  std::string all;
  if (value.is_array()) {
    for (const Json& element : value.list()) all += (all.empty() ? "" : ", ") + plainText(element);
    return all;
  }
  if (value.is_object()) {
    for (const auto& [name, element] : value.items())
      all += (all.empty() ? "" : "; ") + name + " " + plainText(element);
    return all;
  }
  return value.dump() == "true" ? "yes" : "no";
}

std::vector<std::string> textsOf(const Json& oneOrMany) {
  if (!oneOrMany.is_array()) return {plainText(oneOrMany)};
  std::vector<std::string> texts;
  for (const Json& one : oneOrMany.list()) texts.push_back(plainText(one));
  return texts;
}

std::string readoutText(const Json& readout) {
  std::string told = plainText(readout.at("Seconds")) + " s";
  if (const Json* source = readout.find("Source")) told += ", " + plainText(*source);
  if (const Json* file = readout.find("File")) told += " in " + plainText(*file);
  return told;
}

void addSidecars(const Json& input, Json& rows) {
  const Json *names = input.find("Sidecar"), *sums = input.find("SidecarSHA256");
  if (names == nullptr || sums == nullptr) return;
  const std::vector<std::string> files = textsOf(*names), checksums = textsOf(*sums);
  for (std::size_t n = 0; n < std::min(files.size(), checksums.size()); ++n)
    rows.push_back(row("Sidecar", files[n] + ", SHA-256 " + checksums[n]));
}

void addAs(const char* title, const Json& input, const char* field, Json& rows) {
  if (const Json* value = input.find(field)) rows.push_back(row(title, plainText(*value)));
}

}  // namespace

Json inputPart(const std::string& role, const Json& input) {
  Json rows = Json::array();
  addAs("Volume", input, "Volume", rows);
  addAs("Mean of volumes", input, "MeanOfVolumes", rows);
  addAs("Joined volumes", input, "JoinedVolumes", rows);
  addAs("In the place of", input, "Reference", rows);
  if (const Json* direction = input.find("PhaseEncodingDirection")) {
    const Json* source = input.find("PhaseEncodingDirectionSource");
    rows.push_back(row("Phase encoding",
                       plainText(*direction) +
                           (source != nullptr ? ", from " + plainText(*source) : std::string())));
  }
  if (const Json* readout = input.find("TotalReadoutTime"))
    rows.push_back(row("Total readout time", readoutText(*readout)));
  addAs("Unit", input, "Units", rows);
  addAs("Unit from", input, "UnitsSource", rows);
  addAs("Displaced along", input, "DisplacementAxis", rows);
  addAs("Map times", input, "DisplacementFactor", rows);
  addAs("Background taken off", input, "Background", rows);
  addAs("SHA-256", input, "SHA256", rows);
  if (const Json* table = input.find("AcquisitionTable"))
    rows.push_back(row("Acquisition table", plainText(*table)));
  addSidecars(input, rows);
  return {{"role", role}, {"file", plainText(input.at("File"))}, {"rows", rows}};
}

Json optionsPart(const Json& options) {
  Json rows = Json::array();
  if (options.is_object())
    for (const auto& [name, value] : options.items()) rows.push_back(row(name, plainText(value)));
  return rows;
}

}  // namespace mirel::report
