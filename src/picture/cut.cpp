#include "picture/cut.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <glm/common.hpp>
#include <glm/geometric.hpp>
#include <glm/vector_relational.hpp>

#include "base/error.h"
#include "nifti/orientation.h"
#include "picture/orient.h"

namespace mirel::picture {

namespace {

// The patient's axes that run to the right, upwards and through the slices.
struct PlaneAxes {
  int right, up, through;
};

PlaneAxes axesOf(SlicePlane plane) {
  switch (plane) {
    case SlicePlane::axial:
      return {0, 1, 2};
    case SlicePlane::coronal:
      return {0, 2, 1};
    case SlicePlane::sagittal:
      return {1, 2, 0};
  }
  return {0, 1, 2};
}

constexpr const char* negative[] = {"L", "P", "I"};
constexpr const char* positive[] = {"R", "A", "S"};
constexpr const char* axisName = "xyz";

// A step of one voxel towards a side of the patient, and the first voxel on its way.
struct Walk {
  glm::dvec3 step{0};
  glm::dvec3 first{0};
  int count = 0;
};

Walk walkAlong(const Grid& grid, const PatientAxes& axes, int patientAxis) {
  const auto p = static_cast<std::size_t>(patientAxis);
  const int axis = axes.axis[p];
  Walk walk;
  walk.count = grid.dims[axis];
  walk.step[axis] = axes.against[p] ? -1 : 1;
  walk.first[axis] = axes.against[p] ? walk.count - 1 : 0;
  return walk;
}

double mmOf(const Grid& grid, glm::dvec3 voxel, int patientAxis) {
  return (grid.affine * glm::dvec4(voxel, 1))[patientAxis];
}

std::string rangeText(double from, double to) {
  char text[64];
  std::snprintf(text, sizeof text, "%.1f to %.1f mm", std::min(from, to), std::max(from, to));
  return text;
}

// The number of the slice, whole or, for a place in mm, between two slices.
double indexOf(const Grid& grid, const SliceAt& where, const Walk& through, glm::dvec3 middle,
               int patientAxis, const std::string& name) {
  if (where.index) {
    if (*where.index < 0 || *where.index >= through.count)
      throw Error(name + " has no " + nameOf(where.plane) + " slice " +
                  std::to_string(*where.index) + ": its slices are 0 to " +
                  std::to_string(through.count - 1));
    return *where.index;
  }
  if (!where.mm) {
    const int half = through.count / 2;
    return half;
  }
  const double start = mmOf(grid, middle + through.first, patientAxis);
  const double step = mmOf(grid, middle + through.first + through.step, patientAxis) - start;
  const double index = (*where.mm - start) / step;
  if (!(index >= -0.5 && index <= through.count - 0.5)) {
    char place[48];
    std::snprintf(place, sizeof place, "%c = %.1f mm", axisName[patientAxis], *where.mm);
    throw Error(name + " has nothing at " + place + ": it reaches from " +
                rangeText(start - step / 2, start + (through.count - 0.5) * step));
  }
  return std::clamp(index, 0.0, through.count - 1.0);
}

glm::dmat4 checkedAffine(const Grid& grid, const std::string& name) {
  voxelToVoxel(grid.affine, grid.affine, name);  // throws for a singular one
  return grid.affine;
}

}  // namespace

const char* nameOf(SlicePlane plane) {
  switch (plane) {
    case SlicePlane::axial:
      return "axial";
    case SlicePlane::coronal:
      return "coronal";
    case SlicePlane::sagittal:
      return "sagittal";
  }
  return "";
}

CutPlane cutPlane(const Grid& reference, const SliceAt& where, int pixelsPerVoxel,
                  const std::string& name) {
  const glm::dmat4 affine = checkedAffine(reference, name);
  const PatientAxes patient = patientAxes(affine);
  const PlaneAxes axes = axesOf(where.plane);
  const Walk right = walkAlong(reference, patient, axes.right);
  const Walk up = walkAlong(reference, patient, axes.up);
  const Walk through = walkAlong(reference, patient, axes.through);
  const glm::dvec3 middle = right.first + right.step * ((right.count - 1) * 0.5) + up.first +
                            up.step * ((up.count - 1) * 0.5);

  CutPlane plane;
  plane.index = indexOf(reference, where, through, middle, axes.through, name);
  const glm::dvec3 slice = through.first + through.step * plane.index;
  plane.mm = mmOf(reference, middle + slice, axes.through);
  plane.letters = {negative[axes.right], positive[axes.right], positive[axes.up],
                   negative[axes.up]};

  const glm::dvec3 sizes = nifti::columnLengths(affine);
  const double rightMm = glm::dot(glm::abs(right.step), sizes);
  const double upMm = glm::dot(glm::abs(up.step), sizes);
  const auto pixels = [&](int count, double mm) {
    const double stretch = std::min(mm / std::min(rightMm, upMm), 64.0);
    return std::max(1, static_cast<int>(std::lround(count * pixelsPerVoxel * stretch)));
  };
  const int width = pixels(right.count, rightMm), height = pixels(up.count, upMm);
  const double acrossStep = static_cast<double>(right.count) / width;
  const double downStep = static_cast<double>(up.count) / height;
  glm::dmat4 toVoxel(1.0);
  toVoxel[0] = glm::dvec4(right.step * acrossStep, 0);
  toVoxel[1] = glm::dvec4(-up.step * downStep, 0);
  toVoxel[2] = glm::dvec4(through.step, 0);
  toVoxel[3] = glm::dvec4(slice + right.first + right.step * (0.5 * acrossStep - 0.5) + up.first +
                              up.step * (up.count - 0.5 - 0.5 * downStep),
                          1);
  plane.grid = {{width, height, 1}, affine * toVoxel};
  return plane;
}

bool Cut::meetsImage() const {
  return std::any_of(covered.begin(), covered.end(), [](char c) { return c != 0; });
}

namespace {

// Of a pixel and of a slice: by so much each place is moved to the right, up and through, so that
// what lies on the border of two voxels shows the same one of them in whatever order they are
// stored, and does not flicker by rounding.
constexpr double nudge = 1e-5;

glm::ivec3 nearestVoxel(const glm::dmat4& m, int x, int y) {
  return glm::ivec3(glm::floor(glm::dvec3(m * glm::dvec4(x + nudge, y - nudge, nudge, 1)) + 0.5));
}

bool inside(glm::ivec3 voxel, glm::ivec3 dims) {
  return glm::all(glm::greaterThanEqual(voxel, glm::ivec3(0))) &&
         glm::all(glm::lessThan(voxel, dims));
}

}  // namespace

Cut cutThrough(const Volume<float>& volume, const glm::dmat4& affine, const CutPlane& plane,
               Sampling sampling, const std::string& name) {
  const glm::dmat4 m = voxelToVoxel(plane.grid.affine, affine, name);
  const glm::ivec3 dims = volume.dimensions();
  Cut cut;
  cut.width = plane.grid.dims.x;
  cut.height = plane.grid.dims.y;
  const std::size_t count =
      static_cast<std::size_t>(cut.width) * static_cast<std::size_t>(cut.height);
  cut.values.assign(count, 0.0F);
  cut.covered.assign(count, 0);
  Volume<float> smooth;
  if (sampling == Sampling::linear)
    smooth = resampleTo(plane.grid, volume, affine, name, Interpolation::linear);
  for (int y = 0; y < cut.height; ++y)
    for (int x = 0; x < cut.width; ++x) {
      const glm::dvec3 p(m * glm::dvec4(x, y, 0, 1));
      // Far outside a coordinate does not fit an int.
      if (!(glm::all(glm::greaterThan(p, glm::dvec3(-1))) &&
            glm::all(glm::lessThan(p, glm::dvec3(dims)))))
        continue;
      const glm::ivec3 voxel = nearestVoxel(m, x, y);
      if (!inside(voxel, dims)) continue;
      cut.covered[cut.index(x, y)] = 1;
      cut.values[cut.index(x, y)] =
          sampling == Sampling::linear ? smooth.at(x, y, 0) : volume[voxel];
    }
  return cut;
}

}  // namespace mirel::picture
