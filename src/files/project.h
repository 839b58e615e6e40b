#pragma once

#include <iosfwd>
#include <string>
#include <variant>
#include <vector>

#include "containers/volume.h"
#include "files/mydmr.h"
#include "files/myfmr.h"
#include "files/projectnames.h"

namespace mirel {

/// What to read of a project.
enum class ProjectContent { headerOnly, withData };

/// A project of either kind. What both have in common is reached through this class, what only
/// one has through `fmr()` and `dmr()`.
class Project {
 public:
  /// Reads an FMR when the name ends in ".fmr", and whatever the DMR reader makes of any other
  /// file: to be asked `isProjectName` before, where other names are to be refused or passed over.
  /// Errors: those of the constructors of FMR and DMR.
  Project(const std::string& fileName, ProjectContent content);
  /// A new project without any line or volume. Nothing is read or written.
  static Project blank(ProjectKind kind, const std::string& fileName);

  ProjectKind kind() const { return fmr() ? ProjectKind::fmr : ProjectKind::dmr; }
  /// Null for a project of the other kind.
  FMR* fmr() { return std::get_if<FMR>(&project); }
  const FMR* fmr() const { return std::get_if<FMR>(&project); }
  DMR* dmr() { return std::get_if<DMR>(&project); }
  const DMR* dmr() const { return std::get_if<DMR>(&project); }

  /// File name and lines.
  ProjectHeader& header();
  const ProjectHeader& header() const;
  /// The data in memory, one volume per time point or measurement; empty until they are loaded.
  std::vector<Volume<float>>& volumes();
  const std::vector<Volume<float>>& volumes() const;
  /// Beside the header, named by its Prefix.
  std::string dataFileName() const;

  /// (Re)loads the volumes. Errors: those of `LoadSTC` and `LoadDWI`.
  void load();
  /// Writes the header text.
  void printTo(std::ostream& os) const;
  /// Errors: those of the kinds' `Save` and `SaveAs`.
  void save();
  void saveAs(const std::string& newFileName);

 private:
  explicit Project(std::variant<FMR, DMR> content) : project(std::move(content)) {}

  std::variant<FMR, DMR> project;
};

}  // namespace mirel
