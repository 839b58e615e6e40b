#pragma once

#include "containers/volume.h"
#include "masspreserving/coarsegrid.h"
#include "masspreserving/noise.h"

/// The variance of the residuals near each voxel relative to that of the volume: what a place
/// misfits by (noise of parallel imaging, folds, signal lost) counts there and nowhere else.
class LocalNoise {
 public:
  /// Even at first.
  LocalNoise(glm::ivec3 voxels, CoarseGrid grid);

  /// The variance near each node is the mean of the squared residuals about it, weighted with the
  /// product of the slopes at the voxels' edges and with the weights of `noise`, and so little
  /// of the whole volume's as a tenth of an average node's share. Their geometric mean, weighted
  /// with the nodes' share, is 1.
  void update(const Volume<float>& residual, const Volume<float>& low, const Volume<float>& high,
              const ResidualNoise& noise);

  /// Relative variance at the voxels.
  const Volume<float>& variance() const { return relative; }
  /// Residuals over the square root of it.
  Volume<float> evened(const Volume<float>& residual) const;

 private:
  CoarseGrid grid;
  Volume<float> relative;
};
