#pragma once

namespace mirel {

/// Points the engine's FFT entry points at FFTW's single-precision library.
void bindFftw();

}  // namespace mirel
