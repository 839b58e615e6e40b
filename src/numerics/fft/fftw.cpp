#include "numerics/fft/fftw.h"

#include <fftw3.h>

namespace mirel {

namespace fftw {

void* allocate(std::size_t bytes) { return fftwf_malloc(bytes); }

void release(void* memory) { fftwf_free(memory); }

plugin_fftw_plan planForward(int n0, int n1, int n2, float* in, plugin_fftw_complex* out,
                             unsigned flags) {
  return reinterpret_cast<plugin_fftw_plan>(fftwf_plan_dft_r2c_3d(n0, n1, n2, in, out, flags));
}

plugin_fftw_plan planBackward(int n0, int n1, int n2, plugin_fftw_complex* in, float* out,
                              unsigned flags) {
  return reinterpret_cast<plugin_fftw_plan>(fftwf_plan_dft_c2r_3d(n0, n1, n2, in, out, flags));
}

void execute(plugin_fftw_plan plan) { fftwf_execute(reinterpret_cast<fftwf_plan>(plan)); }

void destroy(plugin_fftw_plan plan) { fftwf_destroy_plan(reinterpret_cast<fftwf_plan>(plan)); }

}  // namespace fftw

void bindEngine() {
  plugin_fftw_malloc = fftw::allocate;
  plugin_fftw_free = fftw::release;
  plugin_fftw_plan_dft_r2c_3d = fftw::planForward;
  plugin_fftw_plan_dft_c2r_3d = fftw::planBackward;
  plugin_fftw_execute = fftw::execute;
  plugin_fftw_destroy_plan = fftw::destroy;
}

}  // namespace mirel
