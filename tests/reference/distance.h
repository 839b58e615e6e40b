#pragma once

#include <glm/vec3.hpp>
#include <vector>

#include "containers/vector.h"
#include "containers/volume.h"

/// Distance measures: squared differences in double, correlation sums in single precision.
namespace mirel::reference {

double ssd(const Volume<float>& a, const Volume<float>& b);
double ncc(const Volume<float>& a, const Volume<float>& b);
double ssd(const Volume<float>& a, const Volume<float>& b, const std::vector<glm::ivec3>& voxels);
double ncc(const Volume<float>& a, const Volume<float>& b, const std::vector<glm::ivec3>& voxels);
double ssd_norm(const Volume<float>& a, const Volume<float>& b);
double ssd(const Vector<float>& a, const Vector<float>& b);
double ssd_norm(const Vector<float>& a, const Vector<float>& b);
double ssd_norm_nonbackground(const Vector<float>& a, const Vector<float>& b);

}  // namespace mirel::reference
