#include "numerics/fft/fftw.h"

#include <fftw3.h>

#include "numerics/fft/fftaccess.h"

namespace mirel {

namespace {

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

}  // namespace

void bindEngine() {
  plugin_fftw_malloc = fftwf_malloc;
  plugin_fftw_free = fftwf_free;
  plugin_fftw_plan_dft_r2c_3d = planForward;
  plugin_fftw_plan_dft_c2r_3d = planBackward;
  plugin_fftw_execute = execute;
  plugin_fftw_destroy_plan = destroy;
}

}  // namespace mirel
