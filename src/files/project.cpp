#include "files/project.h"

#include <utility>

namespace mirel {

namespace {

using AnyProject = std::variant<FMR, DMR>;

AnyProject read(const std::string& fileName, ProjectContent content) {
  const bool loadData = content == ProjectContent::withData;
  if (projectKindOf(fileName) == ProjectKind::fmr) return FMR(fileName, loadData);
  return DMR(fileName, loadData);
}

}  // namespace

Project::Project(const std::string& fileName, ProjectContent content)
    : project(read(fileName, content)) {}

Project Project::blank(ProjectKind kind, const std::string& fileName) {
  if (kind == ProjectKind::fmr) return Project(AnyProject(FMR::blank(fileName)));
  return Project(AnyProject(DMR::blank(fileName)));
}

ProjectHeader& Project::header() {
  return std::visit([](auto& p) -> ProjectHeader& { return p; }, project);
}

const ProjectHeader& Project::header() const {
  return std::visit([](const auto& p) -> const ProjectHeader& { return p; }, project);
}

std::vector<Volume<float>>& Project::volumes() {
  return fmr() ? fmr()->stcData : std::get<DMR>(project).dwiData;
}

const std::vector<Volume<float>>& Project::volumes() const {
  return fmr() ? fmr()->stcData : std::get<DMR>(project).dwiData;
}

std::string Project::dataFileName() const { return header().dataFileName(dataExtensionOf(kind())); }

void Project::load() { fmr() ? fmr()->LoadSTC() : std::get<DMR>(project).LoadDWI(); }

void Project::printTo(std::ostream& os) const {
  std::visit([&os](const auto& p) { p.PrintTo(os); }, project);
}

void Project::save() {
  std::visit([](auto& p) { p.Save(); }, project);
}

void Project::saveAs(const std::string& newFileName) {
  std::visit([&newFileName](auto& p) { p.SaveAs(newFileName); }, project);
}

}  // namespace mirel
