#include "support/smallpair.h"

#include <cmath>

#include "numerics/fft/fftw.h"

namespace mirel {

const Phantom& smallPhantom() {
  static const Phantom phantom = [] {
    bindEngine();
    PhantomOptions options;
    options.size = {40, 48, 28};
    options.voxelMm = glm::dvec3(4.5);
    options.readoutSeconds = 0.04;
    options.maxShiftVoxels = 3;
    options.volumes = 0;
    return makePhantom(options);
  }();
  return phantom;
}

PairInput smallPair() {
  const Phantom& phantom = smallPhantom();
  PairInput pair;
  pair.a.options.file = "a.nii";
  pair.b.options.file = "b.nii";
  pair.a.header.dims = pair.b.header.dims = phantom.options.size;
  glm::dmat4 affine(1.0);
  for (int axis = 0; axis < 3; ++axis) affine[axis][axis] = phantom.options.voxelMm[axis];
  pair.a.header.setAffine(affine, 1);
  pair.b.header.setAffine(affine, 1);
  pair.a.image = phantom.ap;
  pair.b.image = phantom.pa;
  using bids::StatedDirection;
  pair.a.acquisition.direction = StatedDirection{{1, -1}, StatedDirection::Source::option};
  pair.b.acquisition.direction = StatedDirection{{1, 1}, StatedDirection::Source::option};
  pair.readoutSeconds = phantom.options.readoutSeconds;
  return pair;
}

namespace {

template <typename Term>
double meanInBrain(const Term& term) {
  const Volume<unsigned char>& mask = smallPhantom().brainMask;
  double sum = 0, n = 0;
  for (int i = 0; i < mask.size(); ++i)
    if (mask.data()[i]) {
      sum += term(i);
      n += 1;
    }
  return sum / n;
}

}  // namespace

double correlationInBrain(const Volume<float>& a, const Volume<float>& b) {
  const auto p = [&](int i) { return static_cast<double>(a.data()[i]); };
  const auto q = [&](int i) { return static_cast<double>(b.data()[i]); };
  const double meanA = meanInBrain(p), meanB = meanInBrain(q);
  const double ab = meanInBrain([&](int i) { return (p(i) - meanA) * (q(i) - meanB); });
  const double aa = meanInBrain([&](int i) { return (p(i) - meanA) * (p(i) - meanA); });
  const double bb = meanInBrain([&](int i) { return (q(i) - meanB) * (q(i) - meanB); });
  return ab / std::sqrt(aa * bb);
}

double rmsInBrain(const Volume<float>& a, const Volume<float>& b) {
  return std::sqrt(meanInBrain([&](int i) {
    const double d = static_cast<double>(a.data()[i]) - static_cast<double>(b.data()[i]);
    return d * d;
  }));
}

}  // namespace mirel
