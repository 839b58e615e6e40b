#include "numerics/fft/fftw.h"

#include <fftw3.h>

#include <mutex>

namespace mirel {

namespace fftw {

// The library makes and destroys plans in one thread at a time; whole subjects run side by side.
std::mutex planning;

void* allocate(std::size_t bytes) { return fftwf_malloc(bytes); }

void release(void* memory) { fftwf_free(memory); }

plugin_fftw_plan planForward(int n0, int n1, int n2, float* in, plugin_fftw_complex* out,
                             unsigned flags) {
  const std::lock_guard lock(planning);
  return reinterpret_cast<plugin_fftw_plan>(fftwf_plan_dft_r2c_3d(n0, n1, n2, in, out, flags));
}

plugin_fftw_plan planBackward(int n0, int n1, int n2, plugin_fftw_complex* in, float* out,
                              unsigned flags) {
  const std::lock_guard lock(planning);
  return reinterpret_cast<plugin_fftw_plan>(fftwf_plan_dft_c2r_3d(n0, n1, n2, in, out, flags));
}

void execute(plugin_fftw_plan plan) { fftwf_execute(reinterpret_cast<fftwf_plan>(plan)); }

void destroy(plugin_fftw_plan plan) {
  const std::lock_guard lock(planning);
  fftwf_destroy_plan(reinterpret_cast<fftwf_plan>(plan));
}

}  // namespace fftw

// Written only where it changes: other threads may be at work with them.
template <typename Function>
static void bind(Function*& pointer, Function* function) {
  if (pointer != function) pointer = function;
}

void bindEngine() {
  bind(plugin_fftw_malloc, fftw::allocate);
  bind(plugin_fftw_free, fftw::release);
  bind(plugin_fftw_plan_dft_r2c_3d, fftw::planForward);
  bind(plugin_fftw_plan_dft_c2r_3d, fftw::planBackward);
  bind(plugin_fftw_execute, fftw::execute);
  bind(plugin_fftw_destroy_plan, fftw::destroy);
}

}  // namespace mirel
