#include <fftw3.h>

#include "host/exports.h"

namespace mirel {

extern "C" {

void* zt_fftwf_malloc(std::size_t bytes) { return fftwf_malloc(bytes); }

void zt_fftwf_free(void* memory) { fftwf_free(memory); }

void* zt_fftwf_plan_dft_r2c_3d(int n0, int n1, int n2, float* in, float (*out)[2], unsigned flags) {
  return fftwf_plan_dft_r2c_3d(n0, n1, n2, in, out, flags);
}

void* zt_fftwf_plan_dft_c2r_3d(int n0, int n1, int n2, float (*in)[2], float* out, unsigned flags) {
  return fftwf_plan_dft_c2r_3d(n0, n1, n2, in, out, flags);
}

void zt_fftwf_execute(void* plan) { fftwf_execute(static_cast<fftwf_plan>(plan)); }

void zt_fftwf_destroy_plan(void* plan) { fftwf_destroy_plan(static_cast<fftwf_plan>(plan)); }
}

}  // namespace mirel
