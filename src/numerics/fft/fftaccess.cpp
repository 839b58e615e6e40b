#include "numerics/fft/fftaccess.h"

#include <dlfcn.h>

namespace mirel {

extern "C" {
void* (*plugin_fftw_malloc)(std::size_t) = nullptr;
void (*plugin_fftw_free)(void*) = nullptr;
plugin_fftw_plan (*plugin_fftw_plan_dft_r2c_3d)(int, int, int, float*, plugin_fftw_complex*,
                                                unsigned) = nullptr;
plugin_fftw_plan (*plugin_fftw_plan_dft_c2r_3d)(int, int, int, plugin_fftw_complex*, float*,
                                                unsigned) = nullptr;
void (*plugin_fftw_execute)(plugin_fftw_plan) = nullptr;
void (*plugin_fftw_destroy_plan)(plugin_fftw_plan) = nullptr;
}

namespace {

template <typename Function>
bool bind(Function*& pointer, void* handle, const char* name) {
  pointer = reinterpret_cast<Function*>(dlsym(handle, name));
  return pointer != nullptr;
}

}  // namespace

bool InitMKLAccess() {
  void* handle = dlopen(nullptr, RTLD_LAZY);
  if (handle == nullptr) return false;
  return bind(plugin_fftw_malloc, handle, "zt_fftwf_malloc") &&
         bind(plugin_fftw_free, handle, "zt_fftwf_free") &&
         bind(plugin_fftw_plan_dft_r2c_3d, handle, "zt_fftwf_plan_dft_r2c_3d") &&
         bind(plugin_fftw_plan_dft_c2r_3d, handle, "zt_fftwf_plan_dft_c2r_3d") &&
         bind(plugin_fftw_execute, handle, "zt_fftwf_execute") &&
         bind(plugin_fftw_destroy_plan, handle, "zt_fftwf_destroy_plan");
}

}  // namespace mirel
