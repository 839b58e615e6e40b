#include "picture/layer.h"

#include "base/error.h"

namespace mirel::picture {

namespace {

const Layer* betterPlaced(const Layer& layer, const std::vector<Layer*>& layers) {
  const Layer* best = nullptr;
  for (const Layer* other : layers) {
    const Placement least = best ? best->placement : layer.placement;
    if (other->volume.dimensions() == layer.volume.dimensions() && other->placement > least)
      best = other;
  }
  return best;
}

std::string sizeText(glm::ivec3 dims) {
  return std::to_string(dims.x) + " x " + std::to_string(dims.y) + " x " + std::to_string(dims.z);
}

}  // namespace

void placeBy(const nifti::Header& header, Layer& layer) {
  layer.affine = header.affine();
  layer.placement =
      header.sformCode > 0 || header.qformCode > 0 ? Placement::scanner : Placement::sizes;
}

std::vector<std::string> shareGrids(const std::vector<Layer*>& layers) {
  std::vector<std::string> notes;
  std::vector<std::pair<Layer*, const Layer*>> found;
  for (Layer* layer : layers)
    if (const Layer* better = betterPlaced(*layer, layers)) found.emplace_back(layer, better);
  for (const auto& [layer, better] : found) {
    if (layer->placement == Placement::sizes)
      notes.push_back(layer->name + " has no orientation; it is taken to lie as " + better->name);
    layer->affine = better->affine;
    layer->placement = better->placement;
  }
  return notes;
}

void requireSameSpace(const Layer& layer, const Layer& reference) {
  if (layer.placement == Placement::scanner && reference.placement == Placement::scanner) return;
  if (layer.volume.dimensions() == reference.volume.dimensions()) return;
  const bool layerUnknown = layer.placement != Placement::scanner;
  const Layer& unknown = layerUnknown ? layer : reference;
  const Layer& other = layerUnknown ? reference : layer;
  throw Error(unknown.name + " has no orientation and is of another size (" +
              sizeText(unknown.volume.dimensions()) + ") than " + other.name + " (" +
              sizeText(other.volume.dimensions()) + "): it is not known where it lies");
}

}  // namespace mirel::picture
