#include "dataset/description.h"

#include <filesystem>

#include "base/error.h"
#include "base/inputfile.h"
#include "base/json.h"
#include "base/moveall.h"
#include "base/outputfile.h"
#include "base/percentencoded.h"
#include "bids/inheritance.h"
#include "bids/sidecar.h"

namespace mirel::dataset {

namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t largestText = 64U << 20U;
// Logs, pages, tables of the group and what no rule of the standard has a name for.
constexpr const char* ignoreText =
    "logs/\n*.html\ngroup_*\n*_vdm.*\n*_xfm.*\n*_desc-*_dwi.bval\n*_desc-*_dwi.bvec\n";

std::string relativePath(const std::string& from, const std::string& to) {
  std::error_code ignored;
  return fs::weakly_canonical(to, ignored)
      .lexically_relative(fs::weakly_canonical(from, ignored))
      .generic_string();
}

// As a URI, which has to be absolute.
std::string uriOf(const std::string& folder) {
  std::error_code ignored;
  return "file://" + percentEncoded(fs::weakly_canonical(folder, ignored).string());
}

Json rawDescription(const std::string& dataset) {
  try {
    return bids::Sidecar(dataset + "/" + bids::descriptionFile).json();
  } catch (const Error&) {
    return Json::object();  // told when the dataset was listed
  }
}

void refuseOthers(const std::string& output) {
  const std::string file = output + "/" + bids::descriptionFile;
  std::error_code ignored;
  if (!fs::exists(file, ignored)) return;
  const bids::Sidecar there(file);
  const Json* made = there.json().find("GeneratedBy");
  const std::string by = made == nullptr ? "" : made->dump();
  if (by.find("\"Mirel\"") == std::string::npos)
    throw Error(file, "is that of a dataset which Mirel did not make: name another output folder");
}

}  // namespace

void writeIfDifferent(const std::string& file, const std::string& text) {
  clearLeftovers(fs::path(file).parent_path());
  std::error_code ignored;
  if (fs::is_regular_file(file, ignored) && readWholeFile(file, largestText) == text) return;
  OutFile out(file);
  out.write(text);
  out.commit();
}

void describeOutput(const std::string& dataset, const std::string& output,
                    const std::string& version) {
  refuseOthers(output);
  std::error_code failure;
  fs::create_directories(fs::path(output) / "logs", failure);
  if (failure) throw Error("the output folder " + output + " cannot be made: " + failure.message());
  const Json raw = rawDescription(dataset);
  const std::string link = relativePath(output, dataset);
  Json source = {{"URL", uriOf(dataset)}};
  if (const Json* doi = raw.find("DatasetDOI")) source["DOI"] = *doi;
  Json json = {{"Name", "Images corrected for distortion"},
               {"BIDSVersion", "1.8.0"},
               {"DatasetType", "derivative"},
               {"GeneratedBy", Json::array({Json{{"Name", "Mirel"}, {"Version", version}}})},
               {"SourceDatasets", Json::array({source})},
               {"DatasetLinks", Json{{"raw", link}}}};
  if (const Json* licence = raw.find("License")) json["License"] = *licence;
  writeIfDifferent(output + "/" + bids::descriptionFile,
                   json.dump(2, Json::NotUtf8::replaced) + "\n");
  writeIfDifferent(output + "/.bidsignore", ignoreText);
}

}  // namespace mirel::dataset
