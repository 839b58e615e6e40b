#include "tasks/apply.h"

#include <string>

#include "files/filenames.h"
#include "files/mydmr.h"
#include "files/myfmr.h"
#include "hostapi/ztaccess.h"
#include "tasks/correct.h"
#include "tasks/datasets.h"
#include "vdm/vdmmap.h"

namespace mirel {

namespace {

// The project's untransposed volumes are compared with the map as it will be applied: with
// "rllr" a project that is not square in plane is refused.
void correctFile(const Volume<float>& vdm, const std::string& fileName, bool rllr) {
  if (hasExtension(fileName, "fmr")) {
    FMR fmr(fileName, /*loadData=*/true);
    requireSameDimensions(firstVolume(fmr.stcData, fileName).dimensions(), vdm.dimensions());
    correct_fmr(vdm, fmr, rllr);
  } else if (hasExtension(fileName, "dmr")) {
    DMR dmr(fileName, /*loadData=*/true);
    requireSameDimensions(firstVolume(dmr.dwiData, fileName).dimensions(), vdm.dimensions());
    correct_dmr(vdm, fileName, dmr, rllr);
  }
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
