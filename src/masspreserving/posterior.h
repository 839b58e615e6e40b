#pragma once

#include <glm/vec3.hpp>

#include "containers/volume.h"
#include "masspreserving/linesolver.h"
#include "masspreserving/objective.h"

namespace mirel {

/// Variance of the displacement given the images, in squared voxels, at the voxels' centres (nx,
/// ny - 1, nz). `objective` was linearised at b; with its Hessian H = J'WJ + B + R (residuals,
/// barrier, roughness) the covariance would be H^-1 if residuals were independent noise of the
/// variance 1/W. They are correlated between neighbours, and more than noise in places, so that
/// it is taken from them, as for clustered data:
///
///   H^-1 (S + B + R) H^-1,   S = sum over blocks of J'W r r' W J, each r over the root of its
///   share
///
/// with blocks of 3 x 3 x 3 voxels. `shares` (voxels) is what fitting b left of each residual's
/// variance (`sharesLeft`), (0, 1]. A vector of S + B + R's covariance is a sum of its parts'
/// square roots times signs (G. Papandreou & A. Yuille, NIPS 23, 2010; for S, the residuals with a
/// sign for each block: C.-F. J. Wu, Ann. Stat. 14:1261, 1986); the squares of H^-1 times `count`
/// such vectors are averaged, also over each voxel and its 26 neighbours, between which the
/// variance changes little. Signs are reproducible. H is that of `hessian`, which is `objective` or
/// that without the noise in its slopes, and `lines` its preconditioner.
Volume<float> posteriorVariance(const Objective<float>& objective, Objective<float>& hessian,
                                const LineSolver<float>& lines, const Volume<float>& b,
                                const Volume<float>& shares, int count);

/// The objective, which was linearised at b, with a Hessian without what noise in the slopes feigns
/// of information. A noisy image seems to tell displacements even where it is flat, since J'WJ
/// holds the squares of its noise; the energy's true curvature does not, as the noise moves with b
/// and is as large anywhere (in the second derivatives, sum r d2r cancels it). The difference of
/// the two corrected images holds as much noise as their sum, of which the slopes are made. So the
/// slopes' change over a voxel and their mean are both reduced, near by (a voxel and its 26
/// neighbours), by what the weighted squares of the difference are of those of the sum.
Objective<float> withoutSlopeNoise(const Objective<float>& objective, const Volume<float>& b);

/// What fitting b leaves of the variance of each residual (voxels), near by: 1 - h, where h is its
/// leverage, the diagonal of W^1/2 J H^-1 J' W^1/2 (residuals over the roots of these are
/// heteroscedasticity-consistent: J. MacKinnon & H. White, J. Econometrics 29:305, 1985). The
/// diagonal is averaged over `count` vectors of reproducible signs and over each voxel and its 26
/// neighbours; at least 0.05.
Volume<float> sharesLeft(Objective<float>& objective, const LineSolver<float>& lines, int count);

}  // namespace mirel
