#pragma once

#include <optional>
#include <string>
#include <vector>

namespace mirel {

/// What the name of a project says, and the names of the files that are made from it. Pure
/// functions of names (filenames.h); none touches the file system.

/// Functional run (".fmr", data in ".stc") and diffusion run (".dmr", data in ".dwi").
enum class ProjectKind { fmr, dmr };

/// The kind of a name that ends in ".fmr" or ".dmr", exactly so; nothing for any other name.
std::optional<ProjectKind> projectKindOf(const std::string& fileName);
bool isProjectName(const std::string& fileName);

/// "fmr", "dmr".
std::string nameOf(ProjectKind kind);
/// ".stc", ".dwi".
std::string dataExtensionOf(ProjectKind kind);

/// Name of the map beside a project: "/data/run1.fmr" gives "/data/run1_vdm.map". The last dot of
/// the whole name counts, be it in a directory's name.
std::string vdm_filename(const std::string& projectFileName);
/// The same for the map's derivative: "/data/run1_vdmderiv.map".
std::string vdmderiv_filename(const std::string& projectFileName);

/// Whether the name ends as those of `vdm_filename` do.
bool isVdmName(const std::string& fileName);
/// The names of the projects that a map or a map's derivative can belong to: "/data/run1.fmr" and
/// "/data/run1.dmr" for "/data/run1_vdm.map"; none for a name of another form.
std::vector<std::string> possibleProjectsOf(const std::string& mapFileName);

/// The corrected copy of a project: "/data/run1.fmr" gives "/data/run1_undist.fmr". A name without
/// a dot fails with std::out_of_range.
std::string correctedProjectName(const std::string& projectFileName);
/// The data file of that copy: "/data/run1_undist.stc".
std::string correctedDataName(const std::string& projectFileName);

}  // namespace mirel
