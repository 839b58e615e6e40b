#pragma once

#include <algorithm>

namespace mirel {

/// The taps of one axis of a kernel that lie inside 0 .. n - 1 when its centre, tap kernelSize / 2,
/// is at p: taps begin .. end - 1, tap i at element i + shift.
struct TapRange {
  int begin, end, shift;

  TapRange(int p, int kernelSize, int n)
      : begin(std::max(0, kernelSize / 2 - p)),
        end(std::min(kernelSize, n - p + kernelSize / 2)),
        shift(p - kernelSize / 2) {}
};

}  // namespace mirel
