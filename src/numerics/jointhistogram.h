#pragma once

#include <cstddef>
#include <vector>

namespace mirel {

/// How often values of two images occur together: counts in bins x bins cells, cell (a, b) being
/// that of bin a of the first image and bin b of the second.
class JointHistogram {
 public:
  /// At least one bin per image.
  explicit JointHistogram(int binsPerImage);

  int binsPerImage() const { return bins; }
  void clear();

  /// One count in a cell, 0 <= a, b < bins.
  void add(int a, int b) { ++counts[cell(a, b)]; }

  /// One count, shared out among the four cells around (a, b) by bilinear weights, so that the
  /// measure changes continuously with the values. Coordinates are limited to 0 .. bins - 1.
  void addShared(double a, double b);

  /// Normalised mutual information of the counts,
  ///
  ///   NMI = (H(a) + H(b)) / H(a, b),     H = - sum p log p,
  ///
  /// from 1 (none) to 2 (one image tells the other); it hardly depends on how much of both images
  /// is compared (C. Studholme, D. L. G. Hill, D. J. Hawkes, Pattern Recognition 32:71, 1999).
  /// 1 where all counts are in one cell, and without counts.
  double normalisedMutualInformation() const;

 private:
  std::size_t cell(int a, int b) const {
    return static_cast<std::size_t>(a) * static_cast<std::size_t>(bins) +
           static_cast<std::size_t>(b);
  }

  int bins;
  std::vector<double> counts;
};

}  // namespace mirel
