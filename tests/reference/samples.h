#pragma once

#include "nifti/samples.h"

/// The conversion between stored samples of integers and values, one by one: see nifti/samples.h.
namespace mirel::reference {

template <typename T>
void decodeSamples(double slope, double inter, const T* samples, std::size_t count, float* dst);

template <typename T>
nifti::ClampedSamples encodeSamples(double slope, double inter, const float* src, std::size_t count,
                                    T* samples);

}  // namespace mirel::reference
