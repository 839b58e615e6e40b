#include <iostream>
#include <memory>

#include "base/error.h"
#include "base/json.h"
#include "cli/command.h"
#include "cli/imagereport.h"
#include "files/headerdoubts.h"
#include "files/mapfile.h"
#include "files/project.h"
#include "files/projectinfo.h"
#include "nifti/filename.h"
#include "nifti/image.h"
#include "numerics/datasummary.h"

namespace mirel {

namespace {

constexpr const char* infoDescription =
    "Tell what an image, a project or a map contains: its header and a summary of its data.\n";

Json jsonOf(const DataSummary& summary) {
  return {{"values", summary.values},
          {"nonFinite", summary.nonFinite},
          {"minimum", summary.minimum},
          {"maximum", summary.maximum},
          {"mean", summary.mean},
          {"standardDeviation", summary.standardDeviation},
          {"rootMeanSquare", summary.rootMeanSquare}};
}

DataSummary summaryOf(const std::vector<Volume<float>>& volumes) {
  DataSummaryBuilder builder;
  for (const Volume<float>& volume : volumes)
    builder.add(volume.data(), static_cast<std::size_t>(volume.size()));
  return builder.summary();
}

Json projectReport(const std::string& fileName) {
  const ProjectInfo info = readProjectInfo(fileName);
  Json report = {{"file", fileName},
                 {"kind", nameOf(info.kind)},
                 {"dimensions", {info.dimX, info.dimY, info.dimZ}},
                 {"volumes", info.volumes},
                 {"inplaneResolutionMm", {info.voxelXMm, info.voxelYMm}},
                 {"sliceThicknessMm", info.sliceThicknessMm},
                 {"sliceGapMm", info.sliceGapMm},
                 {"repetitionTimeMs", info.repetitionTimeMs},
                 {"echoTimeMs", info.echoTimeMs},
                 {"dataFile", info.dataFileName},
                 {"dataType", info.bytesPerSample == 4 ? "float32" : "int16"}};
  if (info.kind == ProjectKind::dmr) {
    report["displayVolume"] = info.displayVolume;
    report["gradientDirections"] = info.gradientDirections;
  }
  std::vector<std::string> warnings = voxelSizeWarnings(info);
  for (const std::string& warning : doubtsAboutHeader(info.fileName)) warnings.push_back(warning);
  for (const std::string& warning : dataFileWarnings(info)) warnings.push_back(warning);
  try {
    report["data"] = jsonOf(summaryOf(Project(fileName, ProjectContent::withData).volumes()));
  } catch (const std::exception& failure) {
    report["data"] = nullptr;
    warnings.push_back(failure.what());
  }
  report["warnings"] = warnings;
  return report;
}

Json mapReport(const std::string& fileName) {
  const Map map = readMapFile(fileName);
  DataSummaryBuilder builder;
  builder.add(map.values.data(), map.values.size());
  return {{"file", fileName},
          {"kind", "map"},
          {"dimensions", {map.header.dimX, map.header.dimY, map.header.dimZ}},
          {"mapKind", map.header.kind},
          {"parameters", {map.header.param1, map.header.param2}},
          {"flag", map.header.flag},
          {"data", jsonOf(builder.summary())}};
}

/// "dimensions: 64 64 30", a line per entry; nested entries are indented.
void printText(const Json& report, const std::string& indent) {
  for (const auto& [key, value] : report.items()) {
    if (value.is_object()) {
      std::cout << indent << key << ":\n";
      printText(value, indent + "  ");
      continue;
    }
    if (value.is_array() && value.list().empty()) continue;
    std::cout << indent << key << ":";
    if (value.is_array() && value.list().front().is_string()) {
      for (const Json& line : value.list()) std::cout << "\n" << indent << "  " << line.string();
    } else if (value.is_array() && value.list().front().is_array()) {
      for (const Json& row : value.list()) {
        std::cout << "\n" << indent << " ";
        for (const Json& item : row.list()) std::cout << " " << item.dump();
      }
    } else if (value.is_array()) {
      for (const Json& item : value.list()) std::cout << " " << item.dump();
    } else if (value.is_string()) {
      std::cout << " " << value.string();
    } else if (value.is_null()) {
      std::cout << " none";
    } else {
      std::cout << " " << value.dump();
    }
    std::cout << "\n";
  }
}

Json reportOf(const std::string& fileName) {
  if (fileName.ends_with(".map")) return mapReport(fileName);
  if (isProjectName(fileName)) return projectReport(fileName);
  if (nifti::hasNiftiName(fileName)) return imageReport(fileName);
  throw Error(fileName,
              "is neither an image (.nii, .nii.gz) nor a project (.fmr, .dmr) nor a map (.map)");
}

int runInfo(const std::string& fileName, bool json) {
  const Json report = reportOf(fileName);
  if (json)
    // File names need not be UTF-8: bytes that are not become the replacement character.
    std::cout << report.dump(2, Json::NotUtf8::replaced) << "\n";
  else
    printText(report, "");
  return exitSuccess;
}

}  // namespace

void addInfoCommand(Command& app, Program& program) {
  Command* command = app.add_subcommand("info", infoDescription);
  struct InfoCommandOptions {
    std::string file;
    bool json = false;
  };
  const auto options = std::make_shared<InfoCommandOptions>();
  command
      ->add_option("FILE", options->file,
                   "An image (.nii, .nii.gz), a project (.fmr, .dmr) or a map (.map)")
      ->type_name("")
      ->required();
  command->add_flag("--json", options->json, "As JSON (lengths in mm, times in ms)");
  command->callback([options, &program] {
    program.action = [options] { return runInfo(options->file, options->json); };
  });
}

}  // namespace mirel
