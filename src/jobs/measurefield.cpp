#include "jobs/measurefield.h"

#include <filesystem>

#include "base/error.h"
#include "base/numbertext.h"
#include "base/outputfolder.h"
#include "bids/sidecar.h"
#include "field/fieldhz.h"
#include "jobs/measurement.h"
#include "jobs/recordjson.h"
#include "jobs/sourcenames.h"
#include "nifti/filename.h"
#include "nifti/finite.h"

namespace mirel {

namespace {

constexpr const char* fieldDescription =
    "Measured field, smoothed and continued beyond the head: f in true(y) = I(y + f T) for phase "
    "encoding along i, j or k and the total readout time T, I(y - f T) along i-, j- or k-";

Json figuresOf(const MeasuredField& field) {
  return {{"Voxels", field.voxels},
          {"Outliers", field.outliers},
          {"Regions", field.regions},
          {"NoiseHz", field.noiseHz},
          {"MedianHz", field.medianHz}};
}

std::string figuresText(const MeasuredField& field) {
  std::string sentence = std::to_string(field.voxels) + " voxels tell the field, with a noise of " +
                         text("%.2g", field.noiseHz) + " Hz; " +
                         counted(field.outliers, "outlier") +
                         (field.outliers == 1 ? " was left out" : " were left out");
  if (field.regions > 1)
    sentence += ", and " + std::to_string(field.regions) + " regions brought to the same turns";
  return sentence;
}

Json originOf(const Measurement& measurement, const MeasureFieldOptions& options,
              const std::vector<Remark>& warnings) {
  Json origin = {{"Version", options.version}};
  origin.update(measurement.origin);
  origin["Figures"] = figuresOf(measurement.field);
  for (const Remark& warning : warnings) origin["Warnings"].push_back(warning.text);
  return origin;
}

std::vector<std::string> write(const Measurement& measurement, const Json& origin,
                               const std::string& output) {
  const std::filesystem::path target(output);
  const std::string place = target.has_parent_path() ? target.parent_path().string() : ".";
  const std::string image = target.filename().string();
  const std::string sidecar = bids::sidecarName(image);
  OutputFolder folder(place);
  for (const std::string& name : {image, sidecar}) folder.announce(name, measurement.files);
  const SourceNames names(place, measurement.files, SourceNames::Description::kept);
  std::vector<std::string> sources;
  for (const std::string& file : measurement.files) sources.push_back(names.of(file));
  return folder.write([&] {
    writeField({measurement.field.hz, measurement.header.affine(), output}, measurement.header,
               folder.path(image));
    folder.writeText(sidecar, sidecarText(fieldDescription, "Hz", sources, origin, Json::object()));
  });
}

}  // namespace

MeasuredFieldRun measureField(const MeasureFieldOptions& options) {
  if (!nifti::hasNiftiName(options.output))
    throw Error("a field is written as a NIfTI image; " + options.output +
                " ends with neither .nii nor .nii.gz");
  MeasuredFieldRun run;
  const Measurement measurement = readMeasurement(options, run);
  nifti::requireFinite(measurement.field.hz, options.output);
  run.notes.emplace_back(figuresText(measurement.field));
  run.outputs = write(measurement, originOf(measurement, options, run.warnings), options.output);
  return run;
}

}  // namespace mirel
