#include "tasks/apply.h"

#include <string>

#include "files/project.h"
#include "hostapi/ztaccess.h"
#include "projects/correct.h"
#include "vdm/vdmmap.h"

namespace mirel {

namespace {

// The project's untransposed volumes are compared with the map as it will be applied: with
// "rllr" a project that is not square in plane is refused.
void correctFile(const Volume<float>& vdm, const std::string& fileName, bool rllr) {
  if (!isProjectName(fileName)) return;
  Project project(fileName, ProjectContent::withData);
  requireSameDimensions(volumeDimensions(project), vdm.dimensions());
  correctProject(vdm, project, rllr);
}

}  // namespace

void applyToFiles(std::ostream& log) {
  const bool rllr = get_bool_parameter("rllr");
  const std::string vdmFile = get_string_parameter("vdm");
  const std::vector<std::string> files = split_string(get_string_parameter("files"));
  log << "Loading VDM..." << std::flush;
  Volume<float> vdm = loadMap(vdmFile);
  if (rllr) vdm = vdm.transposeXY();
  log << "Applying VDM..." << std::flush;
  for (const std::string& fileName : files) correctFile(vdm, fileName, rllr);
  log << "Done." << std::flush;
}

}  // namespace mirel
