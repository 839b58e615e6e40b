#pragma once

#include <vector>

#include "containers/volume.h"

namespace mirel {

/// The finite values of an image, ascending; -0 stands before 0. By their digits (radix sort from
/// the least significant digit on, D. E. Knuth, The Art of Computer Programming 3, 5.2.5), which
/// takes a fifth of the time of comparing half a million of them.
std::vector<float> sortedFinite(const Volume<float>& image);

}  // namespace mirel
