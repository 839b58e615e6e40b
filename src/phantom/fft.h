#pragma once

#include <fftw3.h>

#include <complex>
#include <glm/vec3.hpp>
#include <memory>
#include <vector>

#include "containers/volume.h"

namespace mirel {

/// Real 3-D Fourier transforms of one size, in double precision. A spectrum holds nx / 2 + 1 bins
/// along x for each y and z.
///
/// Errors  std::bad_alloc, std::runtime_error if a transform of that size cannot be planned.
class Fft {
 public:
  using Spectrum = std::vector<std::complex<double>>;

  Fft(glm::ivec3 size, glm::dvec3 voxelMm);

  /// `volume` has the size of the transform.
  Spectrum transform(const Volume<double>& volume);

  /// The volume whose spectrum is spectrum(k) * gain(k), k in cycles per mm. Valid until the next
  /// call of either function.
  template <typename Gain>
  const Volume<double>& filtered(const Spectrum& spectrum, Gain gain);

 private:
  struct Free {
    void operator()(void* p) const { fftw_free(p); }
  };
  struct DestroyPlan {
    void operator()(fftw_plan_s* plan) const { fftw_destroy_plan(plan); }
  };

  static double frequency(int i, int n, double mm) { return (2 * i > n ? i - n : i) / (n * mm); }

  Volume<double> array;
  glm::dvec3 voxel;
  std::size_t binCount = 0;
  std::unique_ptr<fftw_complex[], Free> bins;
  std::unique_ptr<fftw_plan_s, DestroyPlan> forward, backward;
};

template <typename Gain>
const Volume<double>& Fft::filtered(const Spectrum& spectrum, Gain gain) {
  const double norm = 1.0 / array.size();
  std::size_t i = 0;
  for (int z = 0; z < array.nz(); ++z)
    for (int y = 0; y < array.ny(); ++y)
      for (int x = 0; x <= array.nx() / 2; ++x, ++i) {
        const glm::dvec3 k(x / (array.nx() * voxel.x), frequency(y, array.ny(), voxel.y),
                           frequency(z, array.nz(), voxel.z));
        const double g = norm * gain(k);
        bins[i][0] = spectrum[i].real() * g;
        bins[i][1] = spectrum[i].imag() * g;
      }
  fftw_execute(backward.get());
  return array;
}

}  // namespace mirel
