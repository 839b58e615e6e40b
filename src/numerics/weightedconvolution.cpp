#include <algorithm>
#include <cstddef>
#include <vector>

#include "numerics/convolutionkernels.h"
#include "numerics/statistics.h"
#include "numerics/taprange.h"
#include "numerics/volumegauss.h"

namespace mirel {

namespace {

// Image times weight, and weight, with gaps of zeros between rows and planes that are as wide as
// the kernel reaches: what follows a row precedes the next, so that each gap serves two.
class SpreadVolumes {
 public:
  SpreadVolumes(const Volume<float>& image, const Volume<float>& weight, glm::ivec3 reach)
      : rowStride(image.nx() + reach.x),
        planeStride((image.ny() + reach.y) * rowStride),
        firstVoxel(static_cast<std::size_t>(reach.y * rowStride + reach.x)),
        weighted(
            2 * firstVoxel + static_cast<std::size_t>(image.nz() * planeStride) + convolutionBlock,
            0.0f),
        weights(weighted.size(), 0.0f) {
    for (int z = 0; z < image.nz(); ++z)
      for (int y = 0; y < image.ny(); ++y) {
        const std::size_t start =
            firstVoxel + static_cast<std::size_t>(z * planeStride + y * rowStride);
        spreadRow(image.nx(), &image.at(0, y, z), &weight.at(0, y, z), &weighted[start],
                  &weights[start]);
      }
  }

  SpreadConvolution convolution(const Volume<float>& kernel, bool normalize,
                                Volume<float>& out) const {
    return {weighted.data() + firstVoxel,
            weights.data() + firstVoxel,
            kernel.data(),
            {kernel.nx(), kernel.ny(), kernel.nz()},
            {out.nx(), out.ny(), out.nz()},
            rowStride,
            planeStride,
            normalize,
            out.data()};
  }

 private:
  static void spreadRow(int nx, const float* image, const float* weight, float* weightedOut,
                        float* weightOut) {
    for (int x = 0; x < nx; ++x) {
      const bool counts = weight[x] != 0;
      weightedOut[x] = counts ? image[x] * weight[x] : 0.0f;
      weightOut[x] = counts ? weight[x] : 0.0f;
    }
  }

  std::ptrdiff_t rowStride, planeStride;
  std::size_t firstVoxel;
  std::vector<float> weighted, weights;
};

Volume<float> convolvedByLanes(const Volume<float>& image, const Volume<float>& kernel,
                               const Volume<float>& weight, bool normalize) {
  Volume<float> result(image.dimensions());
  const SpreadVolumes volumes(image, weight, kernel.dimensions() / 2);
  convolveSpread(volumes.convolution(kernel, normalize, result), chosenVariant());
  return result;
}

// One output voxel, for kernels with infinities or NaN: only taps that count are touched.
float convolvedVoxel(const Volume<float>& image, const Volume<float>& kernel,
                     const Volume<float>& weight, bool normalize, glm::ivec3 p) {
  const TapRange rx(p.x, kernel.nx(), image.nx()), ry(p.y, kernel.ny(), image.ny()),
      rz(p.z, kernel.nz(), image.nz());
  float sum = 0, normalizer = 0;
  for (int k = rz.begin; k < rz.end; ++k)
    for (int j = ry.begin; j < ry.end; ++j)
      for (int i = rx.begin; i < rx.end; ++i) {
        const glm::ivec3 q(i + rx.shift, j + ry.shift, k + rz.shift);
        if (weight[q] == 0) continue;
        sum += image[q] * weight[q] * kernel.at(i, j, k);
        normalizer += weight[q] * kernel.at(i, j, k);
      }
  return normalize && normalizer > 0 ? sum / normalizer : sum;
}

Volume<float> convolvedByVoxels(const Volume<float>& image, const Volume<float>& kernel,
                                const Volume<float>& weight, bool normalize) {
  Volume<float> result(image.dimensions());
  for (int z = 0; z < image.nz(); ++z)
    for (int y = 0; y < image.ny(); ++y)
      for (int x = 0; x < image.nx(); ++x)
        result.at(x, y, z) = convolvedVoxel(image, kernel, weight, normalize, {x, y, z});
  return result;
}

}  // namespace

template <typename T>
void convolve3D(Volume<T>& image, const Volume<T>& kernel, const Volume<T>& weight,
                bool normalize) {
  const bool canSpread = image.size() > 0 && kernel.size() > 0 && isFinite(kernel);
  image = canSpread ? convolvedByLanes(image, kernel, weight, normalize)
                    : convolvedByVoxels(image, kernel, weight, normalize);
}

template void convolve3D(Volume<float>&, const Volume<float>&, const Volume<float>&, bool);

}  // namespace mirel
