#include "host/outputs.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "base/error.h"
#include "base/samefile.h"

namespace mirel {

namespace {

namespace fs = std::filesystem;

void refuseOverwriting(const ProjectInfo& source, const std::string& output,
                       const std::vector<ProjectInfo>& projects) {
  for (const ProjectInfo& project : projects)
    for (const std::string& input : {project.fileName, project.dataFileName})
      if (sameFile(output, input))
        throw Error("the corrected copy of " + source.fileName + " would overwrite " + input +
                    ", which is an input");
}

}  // namespace

void refuseSharedMaps(const std::string& projectA, const std::string& projectB) {
  if (sameFile(projectA, projectB))
    throw Error(projectA + " and " + projectB +
                " are the same file: the estimate needs two projects with opposite "
                "phase-encoding directions");
  if (sameFile(vdm_filename(projectA), vdm_filename(projectB)))
    throw Error("the maps of " + projectA + " and " + projectB + " would both be " +
                vdm_filename(projectA) + "; rename one of the projects");
}

void refuseOtherDimensions(const ProjectInfo& project, const std::string& wanted,
                           const std::string& reference) {
  if (project.dimensionText() != wanted)
    throw Error(project.fileName + " is " + project.dimensionText() + " voxels, but " + reference +
                " is " + wanted + ": they must have the same dimensions");
}

void refuseOverwrittenInputs(const std::vector<ProjectInfo>& projects) {
  for (std::size_t i = 0; i < projects.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j)
      if (sameFile(projects[i].fileName, projects[j].fileName))
        throw Error(projects[i].fileName + " is listed twice");
    refuseOverwriting(projects[i], correctedProjectName(projects[i].fileName), projects);
    refuseOverwriting(projects[i], correctedDataName(projects[i].fileName), projects);
  }
}

ExpectedOutputs::Stamp ExpectedOutputs::stampOf(const std::string& fileName) {
  struct stat status {};
  if (stat(fileName.c_str(), &status) != 0) return {};
  return {true, status.st_ino, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

void ExpectedOutputs::add(const std::string& fileName) {
  const fs::path path(fileName);
  const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
  if (access(folder.c_str(), W_OK | X_OK) != 0)
    throw Error("cannot write " + fileName + ": the folder " + folder.string() +
                " is not writable");
  std::error_code error;
  if (fs::is_directory(path, error))
    throw Error("cannot write " + fileName + ": a folder has this name");
  outputs.push_back({fileName, stampOf(fileName)});
}

std::vector<std::string> ExpectedOutputs::missing() const {
  std::vector<std::string> result;
  for (const Output& output : outputs) {
    const Stamp now = stampOf(output.name);
    if (!now.exists || now == output.before) result.push_back(output.name);
  }
  return result;
}

std::vector<std::string> ExpectedOutputs::names() const {
  std::vector<std::string> result;
  for (const Output& output : outputs) result.push_back(output.name);
  return result;
}

}  // namespace mirel
