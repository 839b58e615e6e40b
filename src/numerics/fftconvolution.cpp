#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <stdexcept>

#include "base/assertion.h"
#include "numerics/fft/fftaccess.h"
#include "numerics/volumegauss.h"

namespace mirel {

namespace {

// The site belongs to the filters, whichever file the check stands in.
constexpr const char* convolutionSource = "src/numerics/volumegauss.cpp";
constexpr unsigned estimateFlag = 64;

// Complex values of a half spectrum: how many the transforms use, how many are multiplied, and
// how many a buffer holds. The product is counted from z, the spectrum is halved along x; for
// nz <= nx the buffer holds either.
struct SpectrumSizes {
  std::size_t spectrum, products, buffer;

  explicit SpectrumSizes(glm::ivec3 dims) {
    const std::size_t nx = static_cast<std::size_t>(dims.x), ny = static_cast<std::size_t>(dims.y),
                      nz = static_cast<std::size_t>(dims.z);
    spectrum = nz * ny * (nx / 2 + 1);
    products = std::max((nz / 2 + 1) * ny * nx, spectrum);
    buffer = std::max(nx * ny * (nz / 2 + 2), products);
  }
};

struct SpectrumDeleter {
  void operator()(plugin_fftw_complex* spectrum) const { plugin_fftw_free(spectrum); }
};
using Spectrum = std::unique_ptr<plugin_fftw_complex[], SpectrumDeleter>;

// A host without them is refused when the plugin is initialised; this is for one that goes on.
void requireTransforms() {
  if (plugin_fftw_malloc == nullptr || plugin_fftw_free == nullptr ||
      plugin_fftw_plan_dft_r2c_3d == nullptr || plugin_fftw_plan_dft_c2r_3d == nullptr ||
      plugin_fftw_execute == nullptr || plugin_fftw_destroy_plan == nullptr)
    throw std::runtime_error("The host's FFT is not available.");
}

Spectrum allocateSpectrum(const SpectrumSizes& sizes) {
  Spectrum buffer(static_cast<plugin_fftw_complex*>(
      plugin_fftw_malloc(sizes.buffer * sizeof(plugin_fftw_complex))));
  if (!buffer) throw std::bad_alloc();
  // The products may run past the spectrum: what they read there is defined. Nothing reads more.
  std::fill(&buffer[0][0] + 2 * sizes.spectrum, &buffer[0][0] + 2 * sizes.products, 0.0f);
  return buffer;
}

void runAndDestroy(plugin_fftw_plan plan) {
  if (plan == nullptr) throw std::runtime_error("The host's FFT could not plan a transform.");
  plugin_fftw_execute(plan);
  plugin_fftw_destroy_plan(plan);
}

void transformForward(Volume<float>& volume, plugin_fftw_complex* spectrum) {
  runAndDestroy(plugin_fftw_plan_dft_r2c_3d(volume.nz(), volume.ny(), volume.nx(), volume.data(),
                                            spectrum, estimateFlag));
}

void transformBackward(plugin_fftw_complex* spectrum, Volume<float>& volume) {
  runAndDestroy(plugin_fftw_plan_dft_c2r_3d(volume.nz(), volume.ny(), volume.nx(), spectrum,
                                            volume.data(), estimateFlag));
}

void multiply(plugin_fftw_complex* product, const plugin_fftw_complex* a,
              const plugin_fftw_complex* b, std::size_t count, float scale) {
  for (std::size_t i = 0; i < count; ++i) {
    product[i][0] = (a[i][0] * b[i][0] - a[i][1] * b[i][1]) * scale;
    product[i][1] = (a[i][1] * b[i][0] + a[i][0] * b[i][1]) * scale;
  }
}

}  // namespace

void fftwConvolve3D(Volume<float>& input, Volume<float>& kernel) {
  require(input.dimensions() == kernel.dimensions(), convolutionSource, 198,
          "input.dimensions() == kernel.dimensions()");
  if (input.size() == 0) return;
  requireTransforms();
  const SpectrumSizes sizes(input.dimensions());
  Spectrum kernelSpectrum = allocateSpectrum(sizes);
  Spectrum inputSpectrum = allocateSpectrum(sizes);
  const Spectrum product = allocateSpectrum(sizes);
  transformForward(kernel, kernelSpectrum.get());
  transformForward(input, inputSpectrum.get());
  multiply(product.get(), inputSpectrum.get(), kernelSpectrum.get(), sizes.products,
           static_cast<float>(1.0 / input.size()));
  kernelSpectrum.reset();
  inputSpectrum.reset();
  transformBackward(product.get(), input);
}

}  // namespace mirel
