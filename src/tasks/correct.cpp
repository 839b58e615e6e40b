#include "tasks/correct.h"

#include <vector>

#include "files/filenames.h"
#include "vdm/vdm.h"

namespace mirel {

namespace {

template <typename Project>
void detach(Project& project) {
  if (project.ShowAMRFile.isSet()) project.ShowAMRFile.updateValue(false);
  if (project.LoadAMRFile.isSet()) project.LoadAMRFile.updateValue("");
}

void correctVolumes(const Volume<float>& vdm, std::vector<Volume<float>>& volumes,
                    bool transposed) {
  for (Volume<float>& volume : volumes)
    volume = applyVdm(vdm, volume, transposed, /*intensityCorrection=*/false);
}

}  // namespace

void correct_fmr(const Volume<float>& vdm, FMR& fmr, bool transposed) {
  detach_amr(fmr);
  correctVolumes(vdm, fmr.stcData, transposed);
  fmr.SaveAs(addToFileName(fmr.fileName, "_undist"));
}

void correct_dmr(const Volume<float>& vdm, const std::string& fileName, DMR& dmr, bool transposed) {
  detach_amr(dmr);
  correctVolumes(vdm, dmr.dwiData, transposed);
  dmr.SaveAs(addToFileName(fileName, "_undist"));
}

void detach_amr(FMR& fmr) { detach(fmr); }

void detach_amr(DMR& dmr) { detach(dmr); }

}  // namespace mirel
