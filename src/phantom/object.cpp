#include "phantom/object.h"

#include <algorithm>
#include <cmath>
#include <glm/common.hpp>
#include <glm/geometric.hpp>
#include <glm/matrix.hpp>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

#include "phantom/anatomy.h"
#include "phantom/random.h"

namespace mirel {

namespace {

constexpr int densityCells = HeadObject::cellsPerVoxel;
constexpr int layers = 2;  // samples per voxel along z

void checkGrid(const PhantomGrid& grid) {
  for (int axis = 0; axis < 3; ++axis) {
    if (grid.size[axis] < 1)
      throw std::invalid_argument("a phantom of " + std::to_string(grid.size[axis]) +
                                  " voxels along an axis is not possible");
    if (!(grid.voxelMm[axis] > 0.0) || !std::isfinite(grid.voxelMm[axis]))
      throw std::invalid_argument("a phantom's voxel size must be above 0 mm");
  }
}

// Canonical anatomy coordinates per millimetre of the grid. In plane two voxels on each side are
// left to the blur and to the shift, which matters where voxels are few.
glm::dvec3 anatomyScale(const PhantomGrid& grid) {
  const auto& fov = Anatomy::fieldOfViewMm;
  glm::dvec3 voxels(grid.size);
  for (int axis = 0; axis < 2; ++axis)
    voxels[axis] = std::max(voxels[axis] - 4.0, voxels[axis] / 2);
  return glm::dvec3(fov[0], fov[1], fov[2]) / (voxels * grid.voxelMm);
}

// Smooth noise of mean 0 and amplitude near 1: random values on a lattice of `spacingMm`,
// interpolated with the smoothstep polynomial.
class Texture {
 public:
  Texture(std::uint64_t seed, double spacing) : random(seed, 0x74657874ULL), spacingMm(spacing) {}

  double at(glm::dvec3 p) const {
    const glm::dvec3 q = p / spacingMm, base = glm::floor(q);
    const glm::dvec3 t = q - base, w = t * t * (3.0 - 2.0 * t);
    double sum = 0.0;
    for (int corner = 0; corner < 8; ++corner) {
      const int cx = corner & 1, cy = corner >> 1 & 1, cz = corner >> 2;
      const double weight =
          (cx ? w.x : 1.0 - w.x) * (cy ? w.y : 1.0 - w.y) * (cz ? w.z : 1.0 - w.z);
      sum += weight * lattice(base + glm::dvec3(cx, cy, cz));
    }
    return sum;
  }

 private:
  double lattice(glm::dvec3 node) const {
    const auto part = [](double v) {
      return static_cast<std::uint64_t>(static_cast<std::int64_t>(v) + (1 << 20)) & 0x1fffff;
    };
    return 2.0 * random.uniform(part(node.x) << 42 | part(node.y) << 21 | part(node.z)) - 1.0;
  }

  RandomStream random;
  double spacingMm;
};

// Convolves one line of `n` samples, `stride` apart, with a symmetric kernel of half width r.
// Nothing comes in from beyond the ends.
void convolveLine(float* line, int n, std::ptrdiff_t stride, const std::vector<double>& half,
                  std::vector<double>& work) {
  const int r = static_cast<int>(half.size()) - 1;
  work.assign(static_cast<std::size_t>(n) + 2 * static_cast<std::size_t>(r), 0.0);
  for (int i = 0; i < n; ++i)
    work[static_cast<std::size_t>(i) + static_cast<std::size_t>(r)] = line[i * stride];
  for (int i = 0; i < n; ++i) {
    const double* centre = work.data() + i + r;
    double sum = half[0] * centre[0];
    for (int k = 1; k <= r; ++k)
      sum += half[static_cast<std::size_t>(k)] * (centre[k] + centre[-k]);
    line[i * stride] = static_cast<float>(sum);
  }
}

std::vector<double> gaussianHalf(double sigma) {
  std::vector<double> half(static_cast<std::size_t>(std::ceil(3.0 * sigma)) + 1);
  double sum = 0.0;
  for (std::size_t k = 0; k < half.size(); ++k) {
    const double x = static_cast<double>(k) / sigma;
    half[k] = std::exp(-0.5 * x * x);
    sum += k == 0 ? half[k] : 2.0 * half[k];
  }
  for (double& h : half) h /= sum;
  return half;
}

void blurInPlane(Volume<float>& density) {
  const double fwhmToSigma = 1.0 / (2.0 * std::sqrt(2.0 * std::numbers::ln2));
  const std::vector<double> half = gaussianHalf(1.5 * densityCells * fwhmToSigma);
  std::vector<double> work;
  const int nx = density.nx(), ny = density.ny();
  for (int z = 0; z < density.nz(); ++z) {
    for (int y = 0; y < ny; ++y) convolveLine(&density.at(0, y, z), nx, 1, half, work);
    for (int x = 0; x < nx; ++x) convolveLine(&density.at(x, 0, z), ny, nx, half, work);
  }
}

Volume<float> meanPerVoxel(const Volume<float>& density, glm::ivec3 size) {
  Volume<float> image(size, 0.0F);
  for (int z = 0; z < size.z; ++z)
    for (int y = 0; y < size.y; ++y)
      for (int x = 0; x < size.x; ++x) {
        double sum = 0.0;
        for (int j = 0; j < densityCells; ++j)
          for (int i = 0; i < densityCells; ++i)
            sum += density.at(densityCells * x + i, densityCells * y + j, z);
        image.at(x, y, z) = static_cast<float>(sum / (densityCells * densityCells));
      }
  return image;
}

float factorOf(Tissue tissue, const TissueContrast& contrast) {
  switch (tissue) {
    case Tissue::csf:
      return contrast.csf;
    case Tissue::grey:
      return contrast.grey;
    case Tissue::white:
      return contrast.white;
    default:
      return 1.0F;
  }
}

// The fluid around and within the brain belongs to its mask; that of the skull's inside does not
// reach beyond 2.6 mm.
bool countsAsBrain(Tissue tissue) { return Anatomy::isBrain(tissue) || tissue == Tissue::csf; }

}  // namespace

HeadObject sampleHead(const PhantomGrid& grid, std::uint64_t seed, const RigidMotion& motion,
                      const TissueContrast& contrast) {
  checkGrid(grid);
  const Anatomy anatomy(seed);
  const Texture texture(seed, 9.0);
  const glm::dvec3 scale = anatomyScale(grid);
  const glm::dmat3 back = glm::transpose(motion.rotation());
  extent::check("phantom", grid.size.x, grid.size.y, grid.size.z);
  if (static_cast<long long>(grid.size.x) * grid.size.y * grid.size.z > (1LL << 31) / 16)
    throw std::invalid_argument("a phantom of that many voxels is not possible");

  HeadObject head;
  head.density = Volume<float>(grid.size.x * densityCells, grid.size.y * densityCells, grid.size.z);
  Volume<unsigned char> headCount(grid.size, 0), brainCount(grid.size, 0);
  const auto sample = [&](int x, int y, int z) {
    double sum = 0.0;
    const glm::ivec3 voxel(x / densityCells, y / densityCells, z);
    glm::dvec3 p;
    for (int layer = 0; layer < layers; ++layer) {
      const glm::dvec3 position((x + 0.5) / densityCells - 0.5, (y + 0.5) / densityCells - 0.5,
                                z + (layer + 0.5) / layers - 0.5);
      p = scale * (back * (grid.positionMm(position) - motion.translationMm));
      const Tissue tissue = anatomy.tissueAt(p);
      sum += Anatomy::signal(tissue) * factorOf(tissue, contrast);
      headCount[voxel] = static_cast<unsigned char>(headCount[voxel] + (tissue != Tissue::outside));
      brainCount[voxel] = static_cast<unsigned char>(brainCount[voxel] + countsAsBrain(tissue));
    }
    if (sum <= 0.0) return 0.0F;
    const glm::dvec3 q = p / 90.0;
    const double receive = 0.86 + 0.28 * glm::dot(q, q);
    return static_cast<float>(sum / layers * receive * (1.0 + 0.03 * texture.at(p)));
  };
  for (int z = 0; z < grid.size.z; ++z)
    for (int y = 0; y < grid.size.y * densityCells; ++y)
      for (int x = 0; x < grid.size.x * densityCells; ++x)
        head.density.at(x, y, z) = sample(x, y, z);
  blurInPlane(head.density);
  head.image = meanPerVoxel(head.density, grid.size);

  const auto mostly = [](const Volume<unsigned char>& count) {
    Volume<unsigned char> mask(count.dimensions());
    for (int i = 0; i < count.size(); ++i)
      mask.data()[i] = 2 * count.data()[i] >= densityCells * densityCells * layers ? 1 : 0;
    return mask;
  };
  head.headMask = mostly(headCount);
  head.brainMask = mostly(brainCount);
  return head;
}

Volume<double> sampleSusceptibility(const PhantomGrid& grid, glm::ivec3 margin,
                                    std::uint64_t seed) {
  checkGrid(grid);
  const Anatomy anatomy(seed);
  const glm::dvec3 scale = anatomyScale(grid);
  Volume<double> chi(grid.size + 2 * margin);
  for (int z = 0; z < chi.nz(); ++z)
    for (int y = 0; y < chi.ny(); ++y)
      for (int x = 0; x < chi.nx(); ++x) {
        double sum = 0.0;
        for (int corner = 0; corner < 8; ++corner) {
          const glm::dvec3 offset((corner & 1) - 0.5, (corner >> 1 & 1) - 0.5, (corner >> 2) - 0.5);
          const glm::dvec3 voxel = glm::dvec3(glm::ivec3(x, y, z) - margin) + 0.5 * offset;
          sum += Anatomy::susceptibilityPpm(anatomy.coarseTissueAt(scale * grid.positionMm(voxel)));
        }
        chi.at(x, y, z) = sum / 8.0;
      }
  return chi;
}

}  // namespace mirel
