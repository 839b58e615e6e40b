#include "tasks/select.h"

#include <string>

#include "files/filenames.h"
#include "files/mydmr.h"
#include "files/myfmr.h"
#include "hostapi/ztaccess.h"

namespace mirel {

namespace {

std::string openFileName(const char* title, const char* filter) {
  char buffer[512] = {};
  host::ztGetOpenFileName(title, "", filter, buffer);
  buffer[sizeof buffer - 1] = '\0';
  return buffer;
}

}  // namespace

void selectProject() {
  const std::string path = openFileName("Please select an FMR or DMR project.", "*.fmr *.dmr");
  if (hasExtension(path, "fmr")) {
    const FMR fmr(path, /*loadData=*/false);
    set_int_parameter("nr_of_volumes", fmr.NrOfVolumes.value());
    set_int_parameter("display_volume", 1);
  } else if (hasExtension(path, "dmr")) {
    // Read whole, so that a project whose data cannot be used is refused here already.
    const DMR dmr(path, /*loadData=*/true);
    set_int_parameter("nr_of_volumes", dmr.NrOfVolumes.value());
    set_int_parameter("display_volume", dmr.DisplayVolume.value() + 1);
  }
  set_string_parameter("filename", path);
}

void selectVdm() {
  set_string_parameter("filename", openFileName("Please select an VDM.", "*_vdm.map"));
}

}  // namespace mirel
