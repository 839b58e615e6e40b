#pragma once

/// Points the engine's FFT entry points at FFTW's single-precision library.
void bindFftw();
