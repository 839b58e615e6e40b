#pragma once

#include <cstdint>
#include <glm/mat4x4.hpp>
#include <string>
#include <vector>

#include "containers/volume.h"

namespace mirel {

/// What the accuracy program measures with.

using Mask = Volume<unsigned char>;

/// The seeds on a command line: its numbers; 1, 2 and 3 where there are none.
std::vector<std::uint64_t> seedsOf(int argc, char** argv);

/// An image and where its voxels lie (mm).
struct Placed {
  Volume<float> image;
  glm::dmat4 affine{1.0};
};

Placed readPlaced(const std::string& fileName);

/// `source` on the grid of `target`, through both affines, by linear interpolation; 0 outside.
Volume<float> resampledTo(const Placed& target, const Placed& source);

/// Voxels above `threshold`.
Mask maskAbove(const Volume<float>& image, double threshold);
/// Takes off, `times` times, the voxels with a neighbour (of six) outside the mask or the grid.
Mask eroded(const Mask& mask, int times);
int count(const Mask& mask);

double correlation(const Volume<float>& a, const Volume<float>& b, const Mask& mask);
double rmsDifference(const Volume<float>& a, const Volume<float>& b, const Mask& mask);
double median(const Volume<float>& a, const Mask& mask);

}  // namespace mirel
