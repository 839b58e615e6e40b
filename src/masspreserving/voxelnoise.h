#pragma once

#include <array>

#include "containers/volume.h"
#include "masspreserving/linesolver.h"
#include "masspreserving/objective.h"

namespace mirel {

/// The images' noise as the residuals hold it, with what the fit has taken up of it put back.
struct VoxelNoise {
  double variance = 0.0;           ///< of both images; 0: the residuals do not tell
  std::array<double, 3> alongY{};  ///< correlations with the next, second and third voxel
  double alongX = 0.0;             ///< with the next voxel

  /// What interpolation half-way between voxels takes off this noise, over what it takes off white
  /// noise (AveragedNoise): from 0 to 1.
  double averagedShare() const;
};

/// The noise of an objective that was linearised near b, with `lines` as its preconditioner. P is
/// what the fit leaves of a change of the residuals, 1 - J H^-1 J'W, L interpolation at b and S_k
/// the sum of a voxel's two neighbours at one of these distances (S_0 = 1). Noise of covariance
/// c_0 + c_1 S_1 + ... in the images leaves residuals r with
///
///   E r'A_m r = sum over k of c_k tr(L'P'A_m P L S_k),
///
/// where A_m pairs the voxels of such a distance. The equations are solved for c with r'A_m r in
/// the expectation's place (C. R. Rao, J. Multivariate Anal. 1:257, 1971); the traces are told by
/// one vector of reproducible signs. Voxels weigh as much as their residuals, times the squared
/// signal.
VoxelNoise voxelNoise(Objective<float>& objective, const LineSolver<float>& lines,
                      const Volume<float>& b);

}  // namespace mirel
