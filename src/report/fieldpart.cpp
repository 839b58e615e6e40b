#include "report/fieldpart.h"

#include <array>

#include "picture/orient.h"
#include "picture/scale.h"
#include "report/charts.h"
#include "report/encode.h"

namespace mirel::report {

namespace {

using picture::numberText;

constexpr std::array ticks = {-1.0, -0.5, 0.0, 0.5, 1.0};

std::string barPicture() {
  constexpr int width = 256;
  picture::RgbImage bar(width, 1);
  for (int x = 0; x < width; ++x)
    bar.set(x, 0, picture::divergingColour(2 * (static_cast<float>(x) + 0.5F) / width - 1));
  return dataAddress(bar);
}

Json scaleRow(const std::string& unit, double limit) {
  Json texts = Json::array();
  for (const double part : ticks) texts.push_back(numberText(part * limit));
  return {{"unit", unit}, {"ticks", texts}};
}

Json scaleOf(const ShownField& field, double limitVoxels) {
  Json rows = Json::array();
  if (field.hzPerVoxel) rows.push_back(scaleRow("Hz", limitVoxels * *field.hzPerVoxel));
  rows.push_back(scaleRow("mm", limitVoxels * field.voxelMm));
  rows.push_back(scaleRow("voxels", limitVoxels));
  return rows;
}

// Slices from the feet upwards, as the views count them.
ProfileLine lineOf(const ShownField& field, const std::string& kind, const std::string& label,
                   double fraction) {
  const picture::PatientAxes axes = picture::patientAxes(field.affine);
  std::vector<double> values =
      quantileOfSlices(field.measured, field.shift, axes.axis[2], fraction);
  if (axes.against[2]) values = {values.rbegin(), values.rend()};
  return {kind, label, std::move(values)};
}

}  // namespace

ColouredField colouredField(const ShownField& field) {
  ColouredField coloured{field.shift, field.hzPerVoxel ? "Hz" : "voxels"};
  coloured.map *= static_cast<float>(field.hzPerVoxel.value_or(1));
  coloured.limit = picture::roundedUp(picture::robustLimit(coloured.map, field.measured));
  return coloured;
}

Json fieldPart(const Views& views, const ShownField& field, const ColouredField& coloured) {
  const double factor = field.hzPerVoxel.value_or(1);
  const auto& [map, unit, limit] = coloured;
  Json part = {{"title", field.title},
               {"note", field.note},
               {"bar", barPicture()},
               {"least", numberText(-limit) + " " + unit},
               {"most", numberText(limit) + " " + unit},
               {"scale", scaleOf(field, limit / factor)}};
  part["views"] = views.mapOver(
      field.title, {field.anatomy, field.window, map, limit, field.measured, field.stretch});
  part["charts"] =
      Json::array({histogram(field.hzPerVoxel ? "Field" : "Displacement", unit,
                             valuesIn(field.measured, map, 1), limit),
                   profile("Size of the displacement by axial slice", "axial slice", "voxels",
                           {lineOf(field, "median", "median", 0.5),
                            lineOf(field, "high", "99th percentile", 0.99)})});
  return part;
}

}  // namespace mirel::report
