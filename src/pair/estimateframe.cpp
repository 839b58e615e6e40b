#include "pair/estimateframe.h"

#include <utility>

#include "containers/exchange.h"
#include "nifti/orientation.h"

namespace mirel {

namespace {

Volume<float> exchangedXZ(Volume<float>&& volume) {
  return exchangedWithY(exchangedWithY(exchangedWithY(std::move(volume), 0), 2), 0);
}

}  // namespace

EstimateFrame::EstimateFrame(const PairInput& images, int encodedAxis, OtherAxes others)
    : pair(images), axis(encodedAxis), size(projectVoxelSize(images.a.header)) {
  nifti::NearestAxes nearest = nifti::nearestAxes(pair.a.header.affine());
  std::swap(nearest.patient[static_cast<std::size_t>(axis)], nearest.patient[1]);
  std::swap(size[axis], size[1]);
  exchangesOthers = others == OtherAxes::byPatient && nearest.patient[0] > nearest.patient[2];
  if (exchangesOthers) std::swap(size[0], size[2]);
  if (isAsStored()) return;
  turnedFirst = turned(pair.a.image);
  turnedSecond = turned(pair.b.image);
}

Volume<float> EstimateFrame::turned(const Volume<float>& image) const {
  if (image.size() == 0) return image;
  Volume<float> along = exchangedWithY(image, axis);
  return exchangesOthers ? exchangedXZ(std::move(along)) : along;
}

Volume<float> EstimateFrame::back(Volume<float>&& volume) const {
  Volume<float> along = exchangesOthers ? exchangedXZ(std::move(volume)) : std::move(volume);
  return exchangedWithY(std::move(along), axis);
}

RigidMotion EstimateFrame::back(const RigidMotion& motion) const {
  const RigidMotion along = exchangesOthers ? motion.withExchanged(0, 2) : motion;
  return along.withExchanged(axis, 1);
}

}  // namespace mirel
