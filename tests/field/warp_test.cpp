#include "field/warp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <glm/geometric.hpp>

#include "field/corrector.h"
#include "field/seriesfiles.h"

namespace mirel {

using namespace seriesfiles;

namespace {

template <typename T>
T at(const std::vector<unsigned char>& bytes, size_t offset) {
  T value;
  std::memcpy(&value, bytes.data() + offset, sizeof(T));
  return value;
}

/// The file, read by the offsets of the format.
struct WarpFile {
  std::vector<unsigned char> bytes;
  explicit WarpFile(const std::string& name) : bytes(niftifiles::readBytes(name)) {}
  std::array<int, 8> dim() const {
    std::array<int, 8> result{};
    for (size_t d = 0; d < 8; ++d) result[d] = at<std::int16_t>(bytes, 40 + 2 * d);
    return result;
  }
  double vector(size_t component, int voxel, int voxels) const {
    const size_t start = static_cast<size_t>(at<float>(bytes, 108));
    return at<float>(bytes, start + 4 * (component * size_t(voxels) + size_t(voxel)));
  }
};

const glm::dmat4 affine = affineOf({-3, 3.2, 4}, 21, {40, -50, -20});
constexpr glm::ivec3 dims{6, 9, 5};

}  // namespace

TEST(Warp, TheHeaderSaysVectors) {
  TemporaryFolder folder;
  writeWarpLps(smoothShift(dims), headerOf(dims, affine, 40), 1, folder.file("w.nii"));
  const WarpFile file(folder.file("w.nii"));
  EXPECT_EQ(file.dim(), (std::array<int, 8>{5, 6, 9, 5, 1, 3, 1, 1}));
  EXPECT_EQ(at<std::int16_t>(file.bytes, 68), 1007);
  EXPECT_EQ(at<std::int16_t>(file.bytes, 70), 16) << "32-bit floats";
  EXPECT_EQ(at<std::int16_t>(file.bytes, 254), 1) << "sform";
  EXPECT_EQ(at<float>(file.bytes, 280), static_cast<float>(affine[0].x));
  EXPECT_EQ(file.bytes.size(), 352u + 4 * 3 * 270);
}

/// Samples the distorted image by the vectors alone, as a program that composes transforms does.
TEST(Warp, AppliedByHandItCorrects) {
  TemporaryFolder folder;
  // Of first degree, so that linear and spline interpolation agree inside.
  const Volume<float> image =
      filled(dims, [](int x, int y, int z) { return 10 + 3 * x + 20 * y - 5 * z; });
  const Volume<float> shift =
      filled(dims, [](int x, int y, int z) { return 0.2 * x - 0.1 * y + 0.15 * z - 0.3; });
  for (int axis = 0; axis < 3; ++axis) {
    writeWarpLps(shift, headerOf(dims, affine), axis, folder.file("w.nii"));
    const WarpFile file(folder.file("w.nii"));
    double largest = 0;
    int compared = 0;
    for (int z = 0; z < dims.z; ++z)
      for (int y = 0; y < dims.y; ++y)
        for (int x = 0; x < dims.x; ++x) {
          const int voxel = image.index(x, y, z);
          const glm::dvec3 ras(affine * glm::dvec4(x, y, z, 1));
          glm::dvec3 lps(-ras.x, -ras.y, ras.z);
          for (int c = 0; c < 3; ++c) lps[c] += file.vector(size_t(c), voxel, image.size());
          const glm::dvec3 v(glm::inverse(affine) * glm::dvec4(-lps.x, -lps.y, lps.z, 1));
          glm::dvec3 expected(x, y, z);
          expected[axis] += static_cast<double>(shift.at(x, y, z));
          largest = std::max(largest, glm::length(v - expected));
          ++compared;
        }
    EXPECT_EQ(compared, 270);
    EXPECT_LT(largest, 1e-5) << "voxels; float vectors of up to 8 mm";
    // And the values there are those of the corrected image, away from the spline's borders.
    const Volume<float> corrected = correctVolume(image, shift, axis, Modulation::off);
    const float sampledValue = corrected.at(3, 4, 2);
    glm::dvec3 p(3, 4, 2);
    p[axis] += static_cast<double>(shift.at(3, 4, 2));
    EXPECT_NEAR(sampledValue, 10 + 3 * p.x + 20 * p.y - 5 * p.z, 1.5) << axis;
  }
}

TEST(Warp, VectorsPointTowardsPosteriorForAPositiveShiftBackwards) {
  // Identity axes (RAS), shift of +2 voxels of 3 mm along j: 6 mm towards anterior is -6 in LPS.
  TemporaryFolder folder;
  const Volume<float> shift(dims, 2.0f);
  writeWarpLps(shift, headerOf(dims, affineOf({3, 3, 3})), 1, folder.file("w.nii"));
  const WarpFile file(folder.file("w.nii"));
  EXPECT_EQ(file.vector(0, 100, 270), 0);
  EXPECT_FLOAT_EQ(float(file.vector(1, 100, 270)), -6 * float(affineOf({1, 1, 1})[1].y));
  EXPECT_EQ(file.vector(2, 100, 270), 0);
  EXPECT_FALSE(std::signbit(file.vector(0, 100, 270)));
}

TEST(Warp, OtherDimensionsAreRefused) {
  TemporaryFolder folder;
  EXPECT_THAT(niftifiles::failure([&] {
                writeWarpLps(Volume<float>(2, 2, 2, 0.0f), headerOf(dims, affine), 1,
                             folder.file("w.nii"));
              }),
              testing::HasSubstr("w.nii cannot be written"));
  EXPECT_TRUE(folder.names().empty());
}

/// From a voxel to where the motion and the shift take it, by the affine alone.
TEST(Warp, AMotionOfTheHeadIsAdded) {
  TemporaryFolder folder;
  RigidMotion motion;
  motion.translationMm = {1.5, -0.7, 2.0};
  motion.rotationDegrees = {3.0, -2.0, 4.0};
  const Volume<float> shift = smoothShift(dims);
  writeWarpLps(shift, headerOf(dims, affine, 1), 1, folder.file("w.nii"), motion);
  const WarpFile file(folder.file("w.nii"));
  const glm::dvec3 edges(glm::length(glm::dvec3(affine[0])), glm::length(glm::dvec3(affine[1])),
                         glm::length(glm::dvec3(affine[2])));
  const glm::dvec3 middle = 0.5 * (glm::dvec3(dims) - 1.0);
  for (const glm::ivec3 voxel : {glm::ivec3(0), glm::ivec3(5, 8, 4), glm::ivec3(2, 7, 1)}) {
    glm::dvec3 there = motion.after((glm::dvec3(voxel) - middle) * edges) / edges + middle;
    there.y += static_cast<double>(shift[voxel]);
    const glm::dvec4 from = affine * glm::dvec4(glm::dvec3(voxel), 1.0);
    const glm::dvec4 to = affine * glm::dvec4(there, 1.0);
    const int n = shift.index(voxel);
    EXPECT_NEAR(file.vector(0, n, shift.size()), -(to.x - from.x), 1e-4);
    EXPECT_NEAR(file.vector(1, n, shift.size()), -(to.y - from.y), 1e-4);
    EXPECT_NEAR(file.vector(2, n, shift.size()), to.z - from.z, 1e-4);
  }
}

}  // namespace mirel
