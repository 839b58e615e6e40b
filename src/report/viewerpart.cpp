#include "report/viewerpart.h"

#include "base/numbertext.h"
#include "report/packedimage.h"

namespace mirel::report {

namespace {

// At least so many steps from black to white, and from one end of the colours to the other.
constexpr int greySteps = 500, fieldSteps = 1000;
constexpr int mostVoxels = 4'000'000;

}  // namespace

ViewerPart::ViewerPart(Grid where, bool knowsSides, glm::ivec3 first)
    : grid(where), oriented(knowsSides), start(first) {}

bool ViewerPart::shows(const Grid& grid) {
  return grid.dims.x * grid.dims.y * grid.dims.z <= mostVoxels;
}

void ViewerPart::addBlock(const std::string& id, const std::string& packed) {
  data += "<script type=\"text/plain\" id=\"" + id + "\">" + packed + "</script>\n";
}

void ViewerPart::addImage(const std::string& name, const Volume<float>& image,
                          const picture::Window& window) {
  const std::string id = "viewer-image-" + std::to_string(images.size());
  const double range = static_cast<double>(window.high) - window.low;
  addBlock(id, packedImage(image, grid, stepsOf(image, range, greySteps).size));
  images.push_back({name, id, window});
}

void ViewerPart::addMean(const std::string& name, std::size_t first, std::size_t second,
                         const picture::Window& window) {
  images.push_back({name, images.at(first).id + " " + images.at(second).id, window});
}

void ViewerPart::setField(const ShownField& shown, const std::string& note) {
  const ColouredField coloured = colouredField(shown);
  addBlock("viewer-field",
           packedImage(coloured.map, grid,
                       stepsOf(coloured.map, 2.0 * coloured.limit, fieldSteps).size));
  addBlock("viewer-measured", packedImage(shown.measured, grid, 1));
  field = {{"note", note},
           {"unit", coloured.unit},
           {"hz", shown.hzPerVoxel.has_value()},
           {"perVoxel", text("%.9g", shown.hzPerVoxel.value_or(1))},
           {"mm", text("%.9g", shown.voxelMm)},
           {"limit", text(coloured.limit)}};
}

Json ViewerPart::part() const {
  Json page = field;
  page["oriented"] = oriented;
  page["start"] =
      std::to_string(start.x) + " " + std::to_string(start.y) + " " + std::to_string(start.z);
  Json list = Json::array();
  for (std::size_t n = 0; n < images.size(); ++n)
    list.push_back(Json{{"id", images[n].id},
                        {"name", images[n].name},
                        {"low", text(images[n].window.low)},
                        {"high", text(images[n].window.high)},
                        {"first", n + 1 == images.size()}});
  page["images"] = list;
  return page;
}

}  // namespace mirel::report
