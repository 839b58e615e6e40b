#include "report/viewerpart.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "base/numbertext.h"
#include "picture/draw.h"
#include "report/packedimage.h"

namespace mirel::report {

namespace {

// At least so many steps from black to white, and from one end of the colours to the other.
constexpr int greySteps = 150, fieldSteps = 400;
constexpr int mostVoxels = 4'000'000;

// Most of an image is air, whose noise would take most of the page and is not seen.
std::vector<char> darkOf(const ViewerPart::Image& image) {
  const std::span<const float> values(image.values.data(),
                                      static_cast<std::size_t>(image.values.size()));
  std::vector<char> dark(values.size());
  std::transform(values.begin(), values.end(), dark.begin(),
                 [&](float value) { return static_cast<char>(value < image.window.low); });
  return dark;
}

// Of the values -1, 0 and 1: red, green and blue of each. Between them the scale is even.
std::string coloursText() {
  std::string list;
  for (const float value : {-1.0F, 0.0F, 1.0F})
    for (const int part : picture::divergingColour(value))
      list += (list.empty() ? "" : " ") + std::to_string(part);
  return list;
}

}  // namespace

ViewerPart::ViewerPart(Grid where, bool knowsSides, glm::ivec3 first)
    : grid(where), oriented(knowsSides), start(first) {}

bool ViewerPart::shows(const Grid& grid) {
  return grid.dims.x * grid.dims.y * grid.dims.z <= mostVoxels;
}

void ViewerPart::addBlock(const std::string& id, const std::string& packed) {
  data += "<script type=\"text/plain\" id=\"" + id + "\">" + packed + "</script>\n";
}

void ViewerPart::addBut(const Image& image, const std::vector<char>& dark) {
  const std::string id = "viewer-image-" + std::to_string(images.size());
  const auto& [name, values, window] = image;
  const auto [step, exact] =
      stepsOf(values, static_cast<double>(window.high) - window.low, greySteps);
  // So far below the window that no value within it is told as this one.
  const auto black = static_cast<float>((std::floor(window.low / step) - 1) * step);
  Volume<float> kept = values;
  for (int n = 0; n < kept.size(); ++n)
    if (dark[static_cast<std::size_t>(n)] != 0) kept.data()[n] = black;
  addBlock(id, packedImage(kept, grid, step));
  images.push_back({name, id, window, text(black), exact ? 0 : step / 2});
}

void ViewerPart::addImage(const Image& image) { addBut(image, darkOf(image)); }

void ViewerPart::addWithMean(const Image& first, const Image& second, const std::string& nameOfMean,
                             const picture::Window& windowOfMean) {
  std::vector<char> dark = darkOf(first);
  const std::vector<char> darkToo = darkOf(second);
  std::transform(dark.begin(), dark.end(), darkToo.begin(), dark.begin(),
                 [](char one, char other) { return static_cast<char>(one != 0 && other != 0); });
  addBut(first, dark);
  addBut(second, dark);
  const std::string ids = images.end()[-2].id + " " + images.back().id;
  images.push_back({nameOfMean, ids, windowOfMean, "", 0});
}

void ViewerPart::setField(const ShownField& shown, const ColouredField& coloured,
                          const std::string& note) {
  addBlock("viewer-field",
           packedImage(coloured.map, grid,
                       stepsOf(coloured.map, 2.0 * coloured.limit, fieldSteps).size));
  addBlock("viewer-measured", packedImage(shown.measured, grid, 1));
  field = {{"note", note},
           {"unit", coloured.unit},
           {"hz", shown.hzPerVoxel.has_value()},
           {"perVoxel", text("%.9g", shown.hzPerVoxel.value_or(1))},
           {"mm", text("%.9g", shown.voxelMm)},
           {"limit", text(coloured.limit)},
           {"weight", text(picture::mapWeight.atLimit) + " " + text(picture::mapWeight.exponent) +
                          " " + text(picture::mapWeight.unmeasured)},
           {"colours", coloursText()}};
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
                        {"black", images[n].black},
                        {"half", text(images[n].half)},
                        {"first", n + 1 == images.size()}});
  page["images"] = list;
  return page;
}

}  // namespace mirel::report
