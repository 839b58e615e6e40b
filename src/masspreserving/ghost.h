#pragma once

#include "containers/volume.h"

namespace mirel {

/// Nyquist ghosts of a pair: an image I of what is without, S, is |S + a e^(i phi) P S|, P S being
/// S shifted by half the field of view along y.
struct PairGhosts {
  double first = 0.0, second = 0.0;  ///< a, of each image; 0: none was found
  double cosine = 0.0;               ///< of phi within the head, for both alike

  bool areNone() const { return first == 0.0 && second == 0.0; }
};

/// P: the image shifted by half of its grid along y, what leaves at one end coming in at the other.
/// Where ny is odd, half way between two voxels (cubic, (-1, 9, 9, -1) / 16). Values that are not
/// finite count as 0.
Volume<float> halfAway(const Volume<float>& image);

/// The amplitude a of an image's ghost by what it is in the air, where its phase does not count:
/// I^2 has there the mean n + a^2 (P I)^2, n that of the noise. Air are voxels below a quarter of
/// the signal's level with all of their neighbours in x and y, two to each side, but for columns
/// along y that are exactly 0 throughout: those were added to the grid, without noise. With bright
/// and dark ones by P I,
///
///   a^2 = (<I^2>_bright - <I^2>_dark) / (<(P I)^2>_bright - <(P I)^2>_dark).
///
/// 0 where that is no ghost: a below 0.025, a difference within five of its standard errors (eight
/// neighbours count once), or air of either kind in less than one voxel of 200 (of columns that are
/// not 0). Also where I^2 in the air correlates better with the image by another shift than half
/// the field of view (of those that are up to a quarter of it away): then the air is bright for
/// another reason, or the grid is not that on which the image was acquired.
double ghostInAir(const Volume<float>& image);

/// S of the image: sqrt(I^2 - (1 - c^2) s^2) - c s with s = a P S, c the cosine of the phase; in
/// the air, where I is less than 2 s, sqrt(I^2 - s^2) whatever the phase. By repetition from S = I.
/// The image itself if a is 0.
Volume<float> withoutGhost(const Volume<float>& image, double a, double cosine);

}  // namespace mirel
