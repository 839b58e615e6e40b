#include "files/projectnames.h"

#include "files/filenames.h"

namespace mirel {

namespace {

constexpr const char* vdmEnd = "_vdm.map";
constexpr const char* vdmDerivativeEnd = "_vdmderiv.map";

}  // namespace

std::optional<ProjectKind> projectKindOf(const std::string& fileName) {
  if (hasExtension(fileName, "fmr")) return ProjectKind::fmr;
  if (hasExtension(fileName, "dmr")) return ProjectKind::dmr;
  return std::nullopt;
}

bool isProjectName(const std::string& fileName) { return projectKindOf(fileName).has_value(); }

std::string nameOf(ProjectKind kind) { return kind == ProjectKind::fmr ? "fmr" : "dmr"; }

std::string dataExtensionOf(ProjectKind kind) { return kind == ProjectKind::fmr ? ".stc" : ".dwi"; }

std::string vdm_filename(const std::string& projectFileName) {
  return addToFileNameNewExtension(projectFileName, vdmEnd);
}

std::string vdmderiv_filename(const std::string& projectFileName) {
  return addToFileNameNewExtension(projectFileName, vdmDerivativeEnd);
}

bool isVdmName(const std::string& fileName) { return fileName.ends_with(vdmEnd); }

std::vector<std::string> possibleProjectsOf(const std::string& mapFileName) {
  std::vector<std::string> projects;
  for (const std::string end : {vdmEnd, vdmDerivativeEnd}) {
    if (!mapFileName.ends_with(end)) continue;
    const std::string stem = mapFileName.substr(0, mapFileName.size() - end.size());
    for (const ProjectKind kind : {ProjectKind::fmr, ProjectKind::dmr})
      projects.push_back(stem + "." + nameOf(kind));
  }
  return projects;
}

std::string correctedProjectName(const std::string& projectFileName) {
  return addToFileName(projectFileName, "_undist");
}

std::string correctedDataName(const std::string& projectFileName) {
  // As the project is read: what is no FMR is a DMR.
  const ProjectKind kind = projectKindOf(projectFileName).value_or(ProjectKind::dmr);
  return removeExtension(correctedProjectName(projectFileName)) + dataExtensionOf(kind);
}

}  // namespace mirel
