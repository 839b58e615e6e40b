#include "picture/measured.h"

#include <algorithm>
#include <iterator>

#include "picture/headmask.h"
#include "picture/picture.h"

namespace mirel::picture {

namespace {

Layer signalOf(const Layer& image) {
  return {image.name, signalMask(image.volume), image.affine, image.placement};
}

Layer maskOf(const Layer& given) {
  const float level = maskLevel(given.volume);
  Layer mask = given;
  std::transform(given.volume.data(), given.volume.data() + given.volume.size(), mask.volume.data(),
                 [level](float v) { return v > level ? 1.0F : 0.0F; });
  return mask;
}

}  // namespace

Volume<float> MeasuredSpace::on(const Grid& grid) const {
  if (regions.empty()) return {};
  Volume<float> count(grid.dims, 0.0F);
  for (const Layer& mask : regions) {
    const Volume<float> here =
        resampleTo(grid, mask.volume, mask.affine, mask.name, Interpolation::linear);
    const Volume<float> covered = coverage(grid, mask.grid(), mask.name);
    for (int i = 0; i < count.size(); ++i)
      if (covered.data()[i] != 0.0F && here.data()[i] >= 0.5F) count.data()[i] += 1.0F;
  }
  const float half = 0.5F * static_cast<float>(regions.size());
  std::transform(count.data(), count.data() + count.size(), count.data(),
                 [half](float n) { return n >= half ? 1.0F : 0.0F; });
  return count;
}

Measured MeasuredSpace::onPlane(const Grid& grid) const {
  const Volume<float> here = on(grid);
  return {here.data(), here.data() + here.size()};
}

MeasuredSpaces::MeasuredSpaces(const Scene& scene, const Style& style)
    : onlySameGrid(style.ownGrids && !scene.measured) {
  const bool anyMap = std::any_of(scene.inputs.begin(), scene.inputs.end(),
                                  [](const Input& input) { return input.isMap; });
  if (!anyMap || !style.fadeUnmeasured) return;
  if (scene.measured)
    masks.push_back(maskOf(*scene.measured));
  else
    for (const Input& input : scene.inputs)
      if (!input.isMap) masks.push_back(signalOf(input.layer));
  if (masks.empty() && scene.anatomy) masks.push_back(signalOf(*scene.anatomy));
}

MeasuredSpace MeasuredSpaces::of(const Layer& map) const {
  if (!onlySameGrid) return MeasuredSpace(masks);
  std::vector<Layer> own;
  std::copy_if(masks.begin(), masks.end(), std::back_inserter(own),
               [&](const Layer& mask) { return coincide(mask.grid(), map.grid()); });
  return MeasuredSpace(std::move(own));
}

}  // namespace mirel::picture
