#include "projects/correct.h"

#include <stdexcept>
#include <vector>

#include "vdm/vdm.h"

namespace mirel {

namespace {

void detach(ProjectHeader& header) {
  if (header.ShowAMRFile.isSet()) header.ShowAMRFile.updateValue(false);
  if (header.LoadAMRFile.isSet()) header.LoadAMRFile.updateValue("");
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
  fmr.SaveAs(correctedProjectName(fmr.fileName));
}

void correct_dmr(const Volume<float>& vdm, const std::string& fileName, DMR& dmr, bool transposed) {
  detach_amr(dmr);
  correctVolumes(vdm, dmr.dwiData, transposed);
  dmr.SaveAs(correctedProjectName(fileName));
}

void correctProject(const Volume<float>& vdm, Project& project, bool transposed) {
  if (FMR* fmr = project.fmr())
    correct_fmr(vdm, *fmr, transposed);
  else
    correct_dmr(vdm, project.header().fileName, *project.dmr(), transposed);
}

void detach_amr(FMR& fmr) { detach(fmr); }

void detach_amr(DMR& dmr) { detach(dmr); }

glm::ivec3 volumeDimensions(const Project& project) {
  if (project.volumes().empty())
    throw std::runtime_error("File " + project.header().fileName + " has no volumes.");
  return project.volumes().front().dimensions();
}

void requireSameDimensions(glm::ivec3 a, glm::ivec3 b) {
  if (a != b) throw std::runtime_error("All datasets must have the same dimensions!");
}

}  // namespace mirel
