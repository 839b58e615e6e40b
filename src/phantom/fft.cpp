#include "phantom/fft.h"

#include <new>
#include <stdexcept>

namespace mirel {

Fft::Fft(glm::ivec3 size, glm::dvec3 voxelMm) : array(size), voxel(voxelMm) {
  binCount = static_cast<std::size_t>(array.nx() / 2 + 1) * static_cast<std::size_t>(array.ny()) *
             static_cast<std::size_t>(array.nz());
  bins.reset(static_cast<fftw_complex*>(fftw_malloc(binCount * sizeof(fftw_complex))));
  if (!bins) throw std::bad_alloc();
  // ESTIMATE: a plan that was measured may differ, and with it the last bits, from run to run.
  forward.reset(fftw_plan_dft_r2c_3d(array.nz(), array.ny(), array.nx(), array.data(), bins.get(),
                                     FFTW_ESTIMATE));
  backward.reset(fftw_plan_dft_c2r_3d(array.nz(), array.ny(), array.nx(), bins.get(), array.data(),
                                      FFTW_ESTIMATE));
  if (!forward || !backward) throw std::runtime_error("a Fourier transform cannot be planned");
}

Fft::Spectrum Fft::transform(const Volume<double>& volume) {
  array.copyData(volume.data());
  fftw_execute(forward.get());
  Spectrum spectrum(binCount);
  for (std::size_t i = 0; i < binCount; ++i) spectrum[i] = {bins[i][0], bins[i][1]};
  return spectrum;
}

}  // namespace mirel
