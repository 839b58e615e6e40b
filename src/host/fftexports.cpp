#include "host/exports.h"
#include "numerics/fft/fftw.h"

namespace mirel {

extern "C" {

void* zt_fftwf_malloc(std::size_t bytes) { return fftw::allocate(bytes); }

void zt_fftwf_free(void* memory) { fftw::release(memory); }

void* zt_fftwf_plan_dft_r2c_3d(int n0, int n1, int n2, float* in, float (*out)[2], unsigned flags) {
  return fftw::planForward(n0, n1, n2, in, out, flags);
}

void* zt_fftwf_plan_dft_c2r_3d(int n0, int n1, int n2, float (*in)[2], float* out, unsigned flags) {
  return fftw::planBackward(n0, n1, n2, in, out, flags);
}

void zt_fftwf_execute(void* plan) { fftw::execute(static_cast<plugin_fftw_plan>(plan)); }

void zt_fftwf_destroy_plan(void* plan) { fftw::destroy(static_cast<plugin_fftw_plan>(plan)); }
}

}  // namespace mirel
