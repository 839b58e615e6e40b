#pragma once

#include <cstddef>

#include "numerics/fft/fftaccess.h"

namespace mirel {

/// FFTW's single-precision transforms with the types of the engine's entry points: what a host
/// exports to the plugin, and what a program that links the engine itself binds it to.
namespace fftw {

void* allocate(std::size_t bytes);
void release(void* memory);
plugin_fftw_plan planForward(int n0, int n1, int n2, float* in, plugin_fftw_complex* out,
                             unsigned flags);
plugin_fftw_plan planBackward(int n0, int n1, int n2, plugin_fftw_complex* in, float* out,
                              unsigned flags);
void execute(plugin_fftw_plan plan);
void destroy(plugin_fftw_plan plan);

}  // namespace fftw

/// Points the engine's FFT entry points at FFTW's single-precision library, the one that the host
/// gives to the plugin: the same transforms, bit for bit. To be called once before an estimate.
void bindEngine();

}  // namespace mirel
