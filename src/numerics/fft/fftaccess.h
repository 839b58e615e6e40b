#pragma once

#include <cstddef>

namespace mirel {

/// The FFT entry points, with the signatures of FFTW3's single-precision interface (a complex
/// value is float[2]: real, imaginary part). The plugin exports these pointers under their plain
/// names and binds them to the host's `zt_fftwf_*` functions; a program that links the engine
/// itself sets them to FFTW's functions.
extern "C" {
typedef float plugin_fftw_complex[2];
struct plugin_fftw_plan_s;
typedef plugin_fftw_plan_s* plugin_fftw_plan;

#define MIREL_EXPORTED __attribute__((visibility("default")))
extern MIREL_EXPORTED void* (*plugin_fftw_malloc)(std::size_t bytes);
extern MIREL_EXPORTED void (*plugin_fftw_free)(void* memory);
extern MIREL_EXPORTED plugin_fftw_plan (*plugin_fftw_plan_dft_r2c_3d)(int n0, int n1, int n2,
                                                                      float* in,
                                                                      plugin_fftw_complex* out,
                                                                      unsigned flags);
extern MIREL_EXPORTED plugin_fftw_plan (*plugin_fftw_plan_dft_c2r_3d)(int n0, int n1, int n2,
                                                                      plugin_fftw_complex* in,
                                                                      float* out, unsigned flags);
extern MIREL_EXPORTED void (*plugin_fftw_execute)(plugin_fftw_plan plan);
extern MIREL_EXPORTED void (*plugin_fftw_destroy_plan)(plugin_fftw_plan plan);
}

/// Binds the six FFT entry points to the host's exports, in the order above.
/// @return false at the first one that the host does not export; later ones stay as they were.
bool InitMKLAccess();

}  // namespace mirel
