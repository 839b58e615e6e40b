#pragma once

#include <vector>

#include "containers/volume.h"
#include "masspreserving/coarsegrid.h"

namespace mirel {

/// How much the residuals of a place tell, by nodes of a coarse grid: 1 but where they stand far
/// out of those elsewhere, as where one image lost its signal or where slices fold.
///
/// With h_k the hat of node k and w = low * high, the square of the signal, the misfit there is
/// v_k = sum h_k w r^2 / sum h_k w. Over the nodes, each weighted with sum h_k w, log v has the
/// quartiles q1 and q3; a node stands far out beyond F = exp(q3 + 3 (q3 - q1)) (the outer fence of
/// J. W. Tukey, Exploratory Data Analysis, 1977). Where such nodes hold more than a
/// quarter of the squared residuals, they weigh (F / v_k)^4, and all others 1. So noise and misfit
/// that vary with place as they ordinarily do change nothing.
class PlaceTrust {
 public:
  PlaceTrust() = default;

  /// From residuals and the slopes at the voxels' two edges, of one resolution.
  PlaceTrust(const Volume<float>& residuals, const Volume<float>& low, const Volume<float>& high,
             const CoarseGrid& nodes);

  /// Whether no place stands out: every weight is 1.
  bool isWhole() const { return weights.empty(); }

  /// Of the squared signal, the part that is in places that stand out; 0 if all weights are 1.
  double shareOut() const { return out; }

  /// The weights at the voxels of a resolution with the same nodes.
  Volume<float> at(const CoarseGrid& nodes, glm::ivec3 voxels) const;

 private:
  std::vector<double> weights;
  double out = 0.0;
};

}  // namespace mirel
