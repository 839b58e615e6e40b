#pragma once

namespace mirel {

/// Points the engine's FFT entry points at FFTW's single-precision library, the one that the host
/// gives to the plugin: the same transforms, bit for bit. To be called once before an estimate.
void bindEngine();

}  // namespace mirel
