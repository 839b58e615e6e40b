#include "tasks/select.h"

#include <optional>
#include <string>

#include "files/project.h"
#include "hostapi/ztaccess.h"

namespace mirel {

namespace {

std::string openFileName(const char* title, const char* filter) {
  char buffer[512] = {};
  exported(host::ztGetOpenFileName, "ztGetOpenFileName")(title, "", filter, buffer);
  buffer[sizeof buffer - 1] = '\0';
  return buffer;
}

}  // namespace

void selectProject() {
  const std::string path = openFileName("Please select an FMR or DMR project.", "*.fmr *.dmr");
  if (const std::optional<ProjectKind> kind = projectKindOf(path)) {
    // A DMR is read whole, so that one whose data cannot be used is refused here already.
    const bool isDmr = kind == ProjectKind::dmr;
    const Project project(path, isDmr ? ProjectContent::withData : ProjectContent::headerOnly);
    set_int_parameter("nr_of_volumes", project.header().NrOfVolumes.value());
    set_int_parameter("display_volume", isDmr ? project.dmr()->DisplayVolume.value() + 1 : 1);
  }
  set_string_parameter("filename", path);
}

void selectVdm() {
  set_string_parameter("filename", openFileName("Please select an VDM.", "*_vdm.map"));
}

}  // namespace mirel
