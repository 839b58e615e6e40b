#include "phantom/field.h"

#include <fftw3.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <glm/common.hpp>
#include <limits>
#include <memory>
#include <numbers>
#include <stdexcept>
#include <utility>
#include <vector>

#include "phantom/anatomy.h"
#include "phantom/shim.h"

namespace {

// The field is smoothed with 1.5 * 1.2^step voxels; the last step is 6.4 voxels.
constexpr int smoothingSteps = 8;
constexpr double larmorHzPerPpm = 123.2;  // protons at 2.89 T

struct FftwFree {
  void operator()(void* p) const { fftw_free(p); }
};
struct PlanDestroy {
  void operator()(fftw_plan_s* plan) const { fftw_destroy_plan(plan); }
};

// Real 3-D transforms of one size. The array and its half spectrum (nx / 2 + 1 bins along x) are
// kept here, the caller copies in and out.
class Fft {
 public:
  using Spectrum = std::vector<std::complex<double>>;

  Fft(glm::ivec3 size, glm::dvec3 voxelMm) : array(size), voxel(voxelMm) {
    binCount = static_cast<std::size_t>(array.nx() / 2 + 1) *
               static_cast<std::size_t>(array.ny() * array.nz());
    bins.reset(static_cast<fftw_complex*>(fftw_malloc(binCount * sizeof(fftw_complex))));
    if (!bins) throw std::bad_alloc();
    // ESTIMATE: a plan that was measured may differ, and with it the last bits, from run to run.
    forward.reset(fftw_plan_dft_r2c_3d(array.nz(), array.ny(), array.nx(), array.data(),
                                       bins.get(), FFTW_ESTIMATE));
    backward.reset(fftw_plan_dft_c2r_3d(array.nz(), array.ny(), array.nx(), bins.get(),
                                        array.data(), FFTW_ESTIMATE));
    if (!forward || !backward) throw std::runtime_error("the Fourier transform cannot be planned");
  }

  Spectrum transform(const Volume<double>& volume) {
    array.copyData(volume.data());
    fftw_execute(forward.get());
    Spectrum spectrum(binCount);
    for (std::size_t i = 0; i < binCount; ++i) spectrum[i] = {bins[i][0], bins[i][1]};
    return spectrum;
  }

  /// The array whose spectrum is spectrum(k) * gain(k), k in cycles per mm.
  template <typename Gain>
  const Volume<double>& filtered(const Spectrum& spectrum, Gain gain) {
    const auto frequency = [](int i, int n, double mm) { return (2 * i > n ? i - n : i) / (n * mm); };
    const double norm = 1.0 / array.size();
    std::size_t i = 0;
    for (int z = 0; z < array.nz(); ++z)
      for (int y = 0; y < array.ny(); ++y)
        for (int x = 0; x <= array.nx() / 2; ++x, ++i) {
          const double g = norm * gain(glm::dvec3(x / (array.nx() * voxel.x),
                                                  frequency(y, array.ny(), voxel.y),
                                                  frequency(z, array.nz(), voxel.z)));
          bins[i][0] = spectrum[i].real() * g;
          bins[i][1] = spectrum[i].imag() * g;
        }
    fftw_execute(backward.get());
    return array;
  }

 private:
  Volume<double> array;
  glm::dvec3 voxel;
  std::size_t binCount = 0;
  std::unique_ptr<fftw_complex[], FftwFree> bins;
  std::unique_ptr<fftw_plan_s, PlanDestroy> forward, backward;
};

double squared(glm::dvec3 k) { return k.x * k.x + k.y * k.y + k.z * k.z; }

// The field of a susceptibility map as the tissue sees it, at any smoothness. At the surface of
// a cavity the field jumps, and air gives no signal: only values in tissue enter the average.
class TissueField {
 public:
  TissueField(const Volume<double>& chi, glm::dvec3 voxelMm, const Shim& shim)
      : fft(chi.dimensions(), voxelMm) {
    Volume<double> field = fft.filtered(fft.transform(chi), [](glm::dvec3 k) {
      const double square = squared(k);
      return square > 0.0 ? larmorHzPerPpm * (1.0 / 3.0 - k.z * k.z / square) : 0.0;
    });
    shim.removeFrom(field);
    Volume<double> tissue(chi.dimensions());
    for (int i = 0; i < chi.size(); ++i) {
      tissue.data()[i] = std::min(1.0, chi.data()[i] / Anatomy::susceptibilityPpm(Tissue::grey));
      field.data()[i] *= tissue.data()[i];
    }
    weighted = fft.transform(field);
    weight = fft.transform(tissue);
  }

  Volume<double> smoothed(double sigmaMm) {
    // The wide, faint parts of the kernel take over where there is no tissue near, so that the
    // field goes on smoothly through air.
    const auto kernel = [sigmaMm](glm::dvec3 k) {
      const double e = -2.0 * std::numbers::pi * std::numbers::pi * sigmaMm * sigmaMm * squared(k);
      double sum = 0.0, share = 1.0, part = std::exp(e);  // widths 1, 2, 4, 8, 16
      for (int i = 0; i < 5; ++i, share *= 0.03) {
        sum += share * part;
        part *= part;
        part *= part;
      }
      return sum;
    };
    Volume<double> field = fft.filtered(weighted, kernel);
    const Volume<double>& sum = fft.filtered(weight, kernel);
    for (int i = 0; i < field.size(); ++i) field.data()[i] /= std::max(sum.data()[i], 1e-9);
    return field;
  }

 private:
  Fft fft;
  Fft::Spectrum weighted, weight;
};

// At least `least`, such that size + 2 margin has no prime factor above 7.
int fftMargin(int size, int least) {
  const auto isSmooth = [](int n) {
    for (int p : {2, 3, 5, 7})
      while (n % p == 0) n /= p;
    return n == 1;
  };
  while (!isSmooth(size + 2 * least)) ++least;
  return least;
}

struct Extremes {
  double maxInHead = 0.0;    // |field| in Hz
  double maxGradient = 0.0;  // |difference of neighbours along the axis| in Hz
  double maxScale = 0.0;     // of the field as a shift in voxels: beyond it signal leaves the grid
};

Extremes measure(const Volume<double>& field, glm::ivec3 margin, const HeadObject& head,
                 PhaseEncodingAxis axis) {
  Extremes e;
  e.maxScale = std::numeric_limits<double>::infinity();
  const glm::ivec3 size = head.image.dimensions();
  const int a = axis == PhaseEncodingAxis::y ? 1 : 0;
  for (int z = 0; z < size.z; ++z)
    for (int y = 0; y < size.y; ++y)
      for (int x = 0; x < size.x; ++x) {
        glm::ivec3 p(x, y, z);
        const double value = std::abs(field[p + margin]);
        if (head.headMask[p]) e.maxInHead = std::max(e.maxInHead, value);
        if (head.image[p] > 0.0F && value > 0.0)
          e.maxScale = std::min(e.maxScale, std::min(p[a], size[a] - 1 - p[a]) / value);
        if (p[a] + 1 < size[a]) {
          glm::ivec3 next = p + margin;
          ++next[a];
          e.maxGradient = std::max(e.maxGradient, std::abs(field[next] - field[p + margin]));
        }
      }
  return e;
}

void checkGoal(const FieldGoal& goal) {
  if (!(goal.readoutSeconds > 0.0) || !std::isfinite(goal.readoutSeconds))
    throw std::invalid_argument("the total readout time must be above 0 s");
  if (!(goal.maxShiftVoxels >= 0.0) || !std::isfinite(goal.maxShiftVoxels))
    throw std::invalid_argument("the largest shift must be 0 voxels or more");
  if (!(goal.maxShiftGradient > 0.0))
    throw std::invalid_argument("the largest gradient of the shift must be above 0");
}

}  // namespace

HeadField makeHeadField(const PhantomGrid& grid, const HeadObject& head, std::uint64_t seed,
                        const FieldGoal& goal) {
  checkGoal(goal);
  glm::ivec3 margin;
  for (int axis = 0; axis < 3; ++axis)
    margin[axis] = fftMargin(grid.size[axis], std::max(4, grid.size[axis] / (axis == 2 ? 2 : 4)));
  const Shim shim(head.brainMask, grid.voxelMm, margin);
  TissueField tissueField(sampleSusceptibility(grid, margin, seed), grid.voxelMm, shim);

  const bool bounded = std::isfinite(goal.maxShiftGradient);
  const double voxel = std::cbrt(grid.voxelMm.x * grid.voxelMm.y * grid.voxelMm.z);
  struct Candidate {
    Volume<double> field;
    Extremes extremes;
    double sigmaMm, scale;  // to the largest shift in voxels
  };
  const auto tryStep = [&](int step) {
    Candidate c;
    c.sigmaMm = voxel * 1.5 * std::pow(1.2, step);
    c.field = tissueField.smoothed(c.sigmaMm);
    c.extremes = measure(c.field, margin, head, goal.axis);
    c.scale = c.extremes.maxInHead > 0.0 ? goal.maxShiftVoxels / c.extremes.maxInHead : 0.0;
    return c;
  };
  Candidate chosen = tryStep(bounded ? smoothingSteps : 0);
  for (int low = 0, high = smoothingSteps; bounded && low < high;) {
    const int middle = (low + high) / 2;
    Candidate c = tryStep(middle);
    if (c.extremes.maxGradient * c.scale <= goal.maxShiftGradient) {
      chosen = std::move(c);
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  if (bounded) {
    if (chosen.extremes.maxGradient > 0.0)
      chosen.scale =
          std::min(chosen.scale, goal.maxShiftGradient / chosen.extremes.maxGradient);
    chosen.scale = std::min(chosen.scale, chosen.extremes.maxScale);
  }
  chosen.field *= chosen.scale / goal.readoutSeconds;
  return HeadField(std::move(chosen.field), margin, grid, chosen.sigmaMm);
}

double HeadField::cubicAt(glm::dvec3 voxel) const {
  const auto weights = [](double t) {
    return std::array<double, 4>{0.5 * t * (t * (2.0 - t) - 1.0),
                                 0.5 * (t * t * (3.0 * t - 5.0) + 2.0),
                                 0.5 * t * (t * (4.0 - 3.0 * t) + 1.0), 0.5 * t * t * (t - 1.0)};
  };
  const glm::dvec3 last(extendedHz.dimensions() - 1);
  const glm::dvec3 p = glm::clamp(voxel + glm::dvec3(margin), glm::dvec3(0.0), last);
  const glm::dvec3 base = glm::floor(p), t = p - base;
  const auto wx = weights(t.x), wy = weights(t.y), wz = weights(t.z);
  double sum = 0.0;
  for (int k = 0; k < 4; ++k)
    for (int j = 0; j < 4; ++j)
      for (int i = 0; i < 4; ++i) {
        const glm::ivec3 q = glm::clamp(glm::ivec3(base) + glm::ivec3(i - 1, j - 1, k - 1),
                                        glm::ivec3(0), extendedHz.dimensions() - 1);
        sum += wx[static_cast<std::size_t>(i)] * wy[static_cast<std::size_t>(j)] *
               wz[static_cast<std::size_t>(k)] * extendedHz[q];
      }
  return sum;
}

Volume<float> HeadField::hz(const RigidMotion& motion) const {
  Volume<float> result(grid.size);
  const glm::dmat3 back = glm::transpose(motion.rotation());
  for (int z = 0; z < grid.size.z; ++z)
    for (int y = 0; y < grid.size.y; ++y)
      for (int x = 0; x < grid.size.x; ++x) {
        const glm::ivec3 p(x, y, z);
        const glm::dvec3 before = back * (grid.positionMm(p) - motion.translationMm);
        result[p] = static_cast<float>(motion.isNone() ? extendedHz[p + margin]
                                                       : cubicAt(grid.voxelAt(before)));
      }
  return result;
}
