#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "numerics/convolutionkernels.h"
#include "numerics/volumegauss.h"

namespace {

// The kernel taps of one axis that lie inside 0 .. n-1 when centred on p.
struct TapRange {
  int begin, end, shift;

  TapRange(int p, int kernelSize, int n)
      : begin(std::max(0, kernelSize / 2 - p)),
        end(std::min(kernelSize, n - p + kernelSize / 2)),
        shift(p - kernelSize / 2) {}
};

// Image times weight, and weight, in rows that are padded with zeros by the kernel's reach: the
// taps of output x begin at element x of a row.
class PaddedRows {
 public:
  PaddedRows(const Volume<float>& image, const Volume<float>& weight, int taps)
      : ny(static_cast<std::size_t>(image.ny())),
        stride(static_cast<std::size_t>(image.nx() + taps + convolutionBlock)),
        weighted(stride * ny * static_cast<std::size_t>(image.nz()), 0.0f),
        weights(weighted.size(), 0.0f) {
    for (int z = 0; z < image.nz(); ++z)
      for (int y = 0; y < image.ny(); ++y) {
        const std::size_t start = rowStart(y, z) + static_cast<std::size_t>(taps / 2);
        for (int x = 0; x < image.nx(); ++x) {
          const float w = weight.at(x, y, z);
          if (w == 0) continue;
          weighted[start + static_cast<std::size_t>(x)] = image.at(x, y, z) * w;
          weights[start + static_cast<std::size_t>(x)] = w;
        }
      }
  }

  const float* weightedRow(int y, int z) const { return weighted.data() + rowStart(y, z); }
  const float* weightRow(int y, int z) const { return weights.data() + rowStart(y, z); }

 private:
  std::size_t rowStart(int y, int z) const {
    return (static_cast<std::size_t>(z) * ny + static_cast<std::size_t>(y)) * stride;
  }

  std::size_t ny, stride;
  std::vector<float> weighted, weights;
};

bool isFinite(const Volume<float>& volume) {
  return std::all_of(volume.data(), volume.data() + volume.size(),
                     [](float v) { return std::isfinite(v); });
}

Volume<float> convolvedByRows(const Volume<float>& image, const Volume<float>& kernel,
                              const Volume<float>& weight, bool normalize) {
  Volume<float> result(image.dimensions());
  if (result.size() == 0) return result;
  const PaddedRows rows(image, weight, kernel.nx());
  const SimdVariant variant = chosenVariant();
  std::vector<const float*> weighted, weights, taps;
  for (int z = 0; z < image.nz(); ++z)
    for (int y = 0; y < image.ny(); ++y) {
      const TapRange rz(z, kernel.nz(), image.nz()), ry(y, kernel.ny(), image.ny());
      weighted.clear();
      weights.clear();
      taps.clear();
      for (int k = rz.begin; k < rz.end; ++k)
        for (int j = ry.begin; j < ry.end; ++j) {
          weighted.push_back(rows.weightedRow(j + ry.shift, k + rz.shift));
          weights.push_back(rows.weightRow(j + ry.shift, k + rz.shift));
          taps.push_back(&kernel.at(0, j, k));
        }
      convolveRow({weighted.data(), weights.data(), taps.data(), static_cast<int>(taps.size()),
                   kernel.nx(), image.nx(), normalize, &result.at(0, y, z)},
                  variant);
    }
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
  image = isFinite(kernel) ? convolvedByRows(image, kernel, weight, normalize)
                           : convolvedByVoxels(image, kernel, weight, normalize);
}

template void convolve3D(Volume<float>&, const Volume<float>&, const Volume<float>&, bool);
