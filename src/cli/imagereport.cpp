#include "cli/imagereport.h"

#include "bids/inheritance.h"
#include "jobs/recordjson.h"
#include "nifti/image.h"
#include "nifti/orientation.h"
#include "numerics/datasummary.h"

namespace mirel {

namespace {

using Json = nlohmann::ordered_json;

Json jsonOf(const glm::dmat4& m) {
  Json rows = Json::array();
  for (int row = 0; row < 3; ++row) rows.push_back({m[0][row], m[1][row], m[2][row], m[3][row]});
  return rows;
}

Json sidecarReport(const bids::Sidecar& sidecar, glm::ivec3 dims) {
  Json report = {{"file", oneOrList(sidecar.fileNames())}};
  const auto direction = sidecar.phaseEncoding();
  report["phaseEncodingDirection"] = direction ? Json(nameOf(*direction)) : Json();
  if (direction) report["phaseEncodingDirectionFile"] = sidecar.phaseEncodingFile();
  const auto readout = sidecar.readout(dims[direction ? direction->axis : 1]);
  report["totalReadoutTimeMs"] = readout ? Json(readout->seconds * 1000) : Json();
  if (readout) {
    report["totalReadoutTimeSource"] = nameOf(readout->source);
    report["totalReadoutTimeFile"] = readout->file;
  }
  return report;
}

Json dataReport(nifti::Reader& image) {
  DataSummaryBuilder builder;
  Volume<float> volume;
  for (int t = 0; t < image.storedVolumes(); ++t) {
    image.readVolume(t, volume);
    builder.add(volume.data(), static_cast<std::size_t>(volume.size()));
  }
  const DataSummary summary = builder.summary();
  return {{"values", summary.values},
          {"nonFinite", summary.nonFinite},
          {"minimum", summary.minimum},
          {"maximum", summary.maximum},
          {"mean", summary.mean},
          {"standardDeviation", summary.standardDeviation},
          {"rootMeanSquare", summary.rootMeanSquare}};
}

Json headerReport(const nifti::Header& h) {
  return {{"niftiVersion", h.version},
          {"dimensions", {h.dims.x, h.dims.y, h.dims.z}},
          {"volumes", h.volumes},
          {"vectorComponents", h.vectorComponents},
          {"voxelSizeMm", {h.voxelSizeMm.x, h.voxelSizeMm.y, h.voxelSizeMm.z}},
          {"repetitionTimeMs", h.repetitionTimeSeconds * 1000},
          {"orientation", nifti::orientationLetters(h.affine())},
          {"affine", jsonOf(h.affine())},
          {"sformCode", h.sformCode},
          {"qformCode", h.qformCode},
          {"dataType", nifti::nameOf(h.type)},
          {"slope", h.slope},
          {"intercept", h.inter},
          {"intentCode", h.intentCode},
          {"description", h.description}};
}

}  // namespace

Json imageReport(const std::string& fileName) {
  nifti::Reader image(fileName, nifti::Contents::vectorsToo);
  Json report = {{"file", fileName}, {"kind", "nifti"}};
  report.update(headerReport(image.header()));
  std::vector<std::string> warnings;
  if (image.header().sformCode <= 0 && image.header().qformCode <= 0)
    warnings.push_back(fileName + " has no orientation: its axes are taken as they are stored");
  report["sidecar"] = nullptr;
  try {
    if (const auto sidecar = bids::findSidecar(fileName))
      report["sidecar"] = sidecarReport(*sidecar, image.header().dims);
  } catch (const std::exception& failure) {
    warnings.push_back(failure.what());
  }
  report["data"] = nullptr;
  try {
    report["data"] = dataReport(image);
  } catch (const std::exception& failure) {
    warnings.push_back(failure.what());
  }
  report["warnings"] = warnings;
  return report;
}

}  // namespace mirel
