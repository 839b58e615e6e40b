#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <numbers>

#include "cli/plainimage.h"
#include "cli/program.h"
#include "cli/toolrules.h"
#include "support/niftifiles.h"
#include "support/temporaryfolder.h"

namespace mirel {

// docs/from-other-tools.md: the files that are handed over, put through the other programs' own
// rules, take every value from where the correction does.

namespace {

namespace fs = std::filesystem;
using tools::Position;

/// How the images of a case lie: phase encoding along i or j, and the first axis to the right or to
/// the left.
struct Storage {
  char axis;
  bool toTheLeft;
};

class Recipes : public testing::TestWithParam<Storage> {
 protected:
  /// Makes a pair of a head without motion and corrects it.
  void SetUp() override {
    const std::string axis(1, GetParam().axis);
    const ProgramResult made = runMirel({"phantom", folder.file("head"), "--size", "32", "36", "24",
                                         "--voxel", "5", "--max-shift", "3", "--direction", axis});
    ASSERT_EQ(made.status, 0) << made.err;
    const bool alongI = GetParam().axis == 'i';
    const std::string stem = folder.file("head/sub-phantom_dir-");
    // RL and AP are encoded against the axis of the images as they are made: i- and j-.
    store(stem + (alongI ? "RL" : "AP") + "_epi.nii.gz", first());
    store(stem + (alongI ? "LR" : "PA") + "_epi.nii.gz", second());
    const bool turned = alongI && GetParam().toTheLeft;
    ofFirst = axis + (turned ? "" : "-");
    const ProgramResult run = runMirel(
        {"correct", first(), second(), "--pe-a", ofFirst, "--pe-b", axis + (turned ? "-" : ""),
         "--readout", "0.05", "--no-motion", "--no-modulate", "--quiet", "-o", folder.file("out")});
    ASSERT_EQ(run.status, 0) << run.err;
  }

  std::string first() const { return folder.file("one.nii.gz"); }
  std::string second() const { return folder.file("two.nii.gz"); }
  PlainImage result(const std::string& ending, const std::string& from = "out") const {
    for (const auto& entry : fs::directory_iterator(folder.file(from)))
      if (entry.path().filename().string().ends_with(ending)) return PlainImage(entry.path());
    throw std::runtime_error("there is no result *" + ending);
  }
  std::vector<float> voxelMap() const { return result("desc-voxels_vdm.nii.gz").values(); }

  using Rule = std::function<Position(const tools::Grid&, int, int, int)>;

  /// The places of all voxels by a rule.
  std::vector<Position> placesOf(const Rule& rule) const {
    const tools::Grid grid{PlainImage(first())};
    std::vector<Position> places;
    for (int k = 0; k < grid.n(2); ++k)
      for (int j = 0; j < grid.n(1); ++j)
        for (int i = 0; i < grid.n(0); ++i) places.push_back(rule(grid, i, j, k));
    return places;
  }

  /// The correction's own places: the displacement map added to (factor 1: of the first image) or
  /// taken from (-1: of the second) the index along the phase-encoding axis.
  std::vector<Position> own(double factor = 1) const {
    const std::vector<float> map = voxelMap();
    const std::size_t axis = GetParam().axis == 'i' ? 0 : 1;
    return placesOf([&](const tools::Grid& grid, int i, int j, int k) {
      Position place = {static_cast<double>(i), static_cast<double>(j), static_cast<double>(k)};
      place[axis] += factor * static_cast<double>(map.at(grid.index(i, j, k)));
      return place;
    });
  }

  TemporaryFolder folder;
  std::string ofFirst;  ///< the first image's phase-encoding direction

 private:
  void store(const std::string& from, const std::string& to) const {
    const PlainImage image(from);
    (GetParam().toTheLeft ? image.withReversed(0) : image).write(to);
  }
};

double farthestApart(const std::vector<Position>& a, const std::vector<Position>& b) {
  if (a.size() != b.size()) return INFINITY;
  double farthest = 0;
  for (std::size_t n = 0; n < a.size(); ++n)
    for (std::size_t axis = 0; axis < 3; ++axis)
      farthest = std::max(farthest, std::abs(a[n][axis] - b[n][axis]));
  return farthest;
}

double correlation(const std::vector<float>& x, const std::vector<float>& y) {
  double n = 0, a = 0, b = 0, aa = 0, bb = 0, ab = 0;
  for (std::size_t at = 0; at < x.size(); ++at) {
    const double p = static_cast<double>(x[at]), q = static_cast<double>(y.at(at));
    n += 1;
    a += p;
    b += q;
    aa += p * p;
    bb += q * q;
    ab += p * q;
  }
  return (n * ab - a * b) / std::sqrt((n * aa - a * a) * (n * bb - b * b));
}

// Six digits of a displacement of a few voxels, and of positions of some 100 mm.
constexpr double exact = 2e-4;

TEST_P(Recipes, TheOwnPlacesAreThoseOfTheCorrectedImage) {
  const tools::Grid grid{PlainImage(first())};
  for (const bool ofSecond : {false, true}) {
    const std::vector<float> image = PlainImage(ofSecond ? second() : first()).values();
    const std::vector<float> corrected =
        result(ofSecond ? "two_desc-preproc.nii.gz" : "one_desc-preproc.nii.gz").values();
    const auto through = [&](double factor) {
      return correlation(tools::sampled(image, grid, own(factor)), corrected);
    };
    // Linear interpolation against the spline of the correction.
    EXPECT_GT(through(ofSecond ? -1 : 1), 0.995);
    EXPECT_LT(through(ofSecond ? 1 : -1), 0.96);
  }
}

TEST_P(Recipes, ItkAndTortoiseTakeTheWarpAsItIs) {
  for (const bool ofSecond : {false, true}) {
    const PlainImage warp = result(ofSecond ? "two_from-orig_to-undistorted_mode-image_xfm.nii.gz"
                                            : "one_from-orig_to-undistorted_mode-image_xfm.nii.gz");
    EXPECT_EQ(warp.dim(0), 5);
    EXPECT_EQ(warp.dim(4), 1);
    EXPECT_EQ(warp.dim(5), 3);
    EXPECT_EQ(warp.intent(), 1007);
    const std::vector<float> vectors = warp.values();
    EXPECT_LT(farthestApart(own(ofSecond ? -1 : 1),
                            placesOf([&](const tools::Grid& grid, int i, int j, int k) {
                              return tools::itk(vectors, grid, i, j, k);
                            })),
              exact);
  }
}

TEST_P(Recipes, AfniTakesTheSameWarp) {
  const std::vector<float> warp =
      result("one_from-orig_to-undistorted_mode-image_xfm.nii.gz").values();
  EXPECT_LT(farthestApart(own(), placesOf([&](const tools::Grid& grid, int i, int j, int k) {
                            return tools::afni(warp, grid, i, j, k);
                          })),
            exact);
}

/// fugue's name for an axis of the file: the first one is reversed where it points to the right.
std::string fslAxis(char axis, bool againstIt, bool toTheLeft) {
  const bool minus = axis == 'i' ? againstIt != !toTheLeft : againstIt;
  return std::string(axis == 'i' ? "x" : "y") + (minus ? "-" : "");
}

TEST_P(Recipes, FugueTakesTheVoxelMapAlongTheAxis) {
  const std::vector<float> map = voxelMap();
  // Whatever the direction of the image was: the map holds the sign.
  const std::string direction = fslAxis(GetParam().axis, false, GetParam().toTheLeft);
  EXPECT_LT(farthestApart(own(), placesOf([&](const tools::Grid& grid, int i, int j, int k) {
                            return tools::fugue(map, direction, grid, i, j, k);
                          })),
            exact);
}

TEST_P(Recipes, FugueTakesTheFieldInRadPerSecondWithTheDirection) {
  PlainImage field = result("_fieldmap.nii.gz");
  field.setSlope(static_cast<float>(2 * std::numbers::pi));
  const int lines = field.dim(GetParam().axis == 'i' ? 1 : 2);
  const std::vector<float> shift = tools::fugueShift(field.values(), lines, 0.05 / lines);
  const std::string direction =
      fslAxis(GetParam().axis, ofFirst.ends_with("-"), GetParam().toTheLeft);
  EXPECT_LT(farthestApart(own(), placesOf([&](const tools::Grid& grid, int i, int j, int k) {
                            return tools::fugue(shift, direction, grid, i, j, k);
                          })),
            exact);
}

// The rows of an acquisition table as the document gives them for a direction.
TEST_P(Recipes, TopupsTableAndTheFieldInHzGiveTheSamePlaces) {
  const double sign =
      fslAxis(GetParam().axis, ofFirst.ends_with("-"), GetParam().toTheLeft).ends_with("-") ? -1
                                                                                            : 1;
  std::array<double, 4> row = {0, 0, 0, 0.05};
  row[GetParam().axis == 'i' ? 0 : 1] = sign;
  const std::vector<float> hz = result("_fieldmap.nii.gz").values();
  EXPECT_LT(farthestApart(own(), placesOf([&](const tools::Grid& grid, int i, int j, int k) {
                            return tools::topup(hz, row, grid, i, j, k);
                          })),
            exact);

  // And the table is read back as what it means.
  const std::string axis = GetParam().axis == 'i' ? " 0 0 0.05\n" : " 0 0.05\n";
  const std::string front = GetParam().axis == 'i' ? "" : "0 ";
  const std::string one = front + (sign < 0 ? "-1" : "1") + axis;
  const std::string two = front + (sign < 0 ? "1" : "-1") + axis;
  const ProgramResult run =
      runMirel({"correct", first(), second(), "--datain", folder.write("acq.txt", one + two),
                "--no-motion", "--no-modulate", "--quiet", "-o", folder.file("again")});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(result("_fieldmap.nii.gz", "again").values(), result("_fieldmap.nii.gz").values());
}

TEST_P(Recipes, SpmTakesTheVoxelMapAsVdm) {
  const std::vector<float> map = voxelMap();
  const int pedir = GetParam().axis == 'i' ? 1 : 2;
  EXPECT_LT(farthestApart(own(), placesOf([&](const tools::Grid& grid, int i, int j, int k) {
                            return tools::spm(map, pedir, grid, i, j, k);
                          })),
            exact);
}

INSTANTIATE_TEST_SUITE_P(Storages, Recipes,
                         testing::Values(Storage{'j', false}, Storage{'j', true},
                                         Storage{'i', false}, Storage{'i', true}),
                         [](const auto& each) {
                           return std::string(1, each.param.axis) +
                                  (each.param.toTheLeft ? "StoredToTheLeft" : "StoredToTheRight");
                         });

/// A constant field of 30 Hz and an image on a grid of 64 x 64 x 30 voxels of 3 x 3 x 4 mm.
class ConstantField : public testing::Test {
 protected:
  void makeGrid(double toTheRight) {
    niftifiles::Raw raw;
    raw.dim = {3, 64, 64, 30};
    raw.datatype = 16;
    raw.sampleBytes = 4;
    const double sform[3][4] = {
        {3 * toTheRight, 0, 0, -94.5 * toTheRight}, {0, 3, 0, -94.5}, {0, 0, 4, -58}};
    for (int row = 0; row < 3; ++row)
      for (int column = 0; column < 4; ++column) raw.sform[row][column] = sform[row][column];
    const double sizes[] = {1, 3, 3, 4};
    for (int n = 0; n < 4; ++n) raw.pixdim[n] = sizes[n];
    std::vector<float> values(64 * 64 * 30, 30.0f);
    raw.data = niftifiles::samples(values);
    niftifiles::writeBytes(folder.file("field.nii"), niftifiles::bytesOf(raw));
    for (std::size_t n = 0; n < values.size(); ++n)
      values[n] = static_cast<float>(100 + 50 * std::sin(0.01 * static_cast<double>(n)));
    raw.data = niftifiles::samples(values);
    niftifiles::writeBytes(folder.file("epi.nii"), niftifiles::bytesOf(raw));
  }

  /// The vector of the warp for this direction at voxel (10, 20, 5), to a millionth of a mm.
  std::vector<double> warpAlong(const std::string& direction) const {
    const ProgramResult run =
        runMirel({"apply", "--field", folder.file("field.nii"), folder.file("epi.nii"), "--pe",
                  direction, "--readout", "0.05", "--units", "Hz", "--warp", "--overwrite",
                  "--quiet", "-o", folder.file("out")});
    EXPECT_EQ(run.status, 0) << run.err;
    const PlainImage warp(folder.file("out/epi_from-orig_to-undistorted_mode-image_xfm.nii.gz"));
    const std::vector<float> all = warp.values();
    std::vector<double> vector;
    for (int component = 0; component < 3; ++component) {
      const double value = static_cast<double>(
          all.at(static_cast<std::size_t>(((component * 30 + 5) * 64 + 20) * 64 + 10)));
      vector.push_back(std::round(value * 1e6) / 1e6 + 0.0);
    }
    return vector;
  }

  /// The value of the voxel map for this direction, as NIfTI, at the same voxel.
  double mapAlong(const std::string& direction) const {
    const std::string map = folder.file("epi_vdm.map"), image = folder.file("epi_vdm.nii");
    const ProgramResult made = runMirel({"field", "--to-map", folder.file("field.nii"),
                                         "--reference", folder.file("epi.nii"), "--pe", direction,
                                         "--readout", "0.05", "--units", "Hz", "-o", map});
    EXPECT_EQ(made.status, 0) << made.err;
    const ProgramResult converted =
        runMirel({"convert", map, image, "--reference", folder.file("epi.nii")});
    EXPECT_EQ(converted.status, 0) << converted.err;
    const PlainImage read(image);
    EXPECT_EQ(read.dim(1), 64);
    return static_cast<double>(read.values().at((5 * 64 + 20) * 64 + 10));
  }

  TemporaryFolder folder;
};

using testing::ElementsAre;

// 30 Hz, 0.05 s: 1.5 voxels or 4.5 mm.
TEST_F(ConstantField, WarpsPointToTheLeftAndBack) {
  makeGrid(1);
  EXPECT_THAT(warpAlong("j"), ElementsAre(0, -4.5, 0));
  EXPECT_THAT(warpAlong("j-"), ElementsAre(0, 4.5, 0));
  EXPECT_THAT(warpAlong("i"), ElementsAre(-4.5, 0, 0));
  EXPECT_THAT(warpAlong("k"), ElementsAre(0, 0, 6));
  makeGrid(-1);
  EXPECT_THAT(warpAlong("j"), ElementsAre(0, -4.5, 0));
  EXPECT_THAT(warpAlong("i"), ElementsAre(4.5, 0, 0));
}

TEST_F(ConstantField, MapsCountInVoxelsOfTheFile) {
  for (const double toTheRight : {1.0, -1.0}) {
    makeGrid(toTheRight);
    EXPECT_NEAR(mapAlong("j"), 1.5, 1e-6);
    EXPECT_NEAR(mapAlong("j-"), -1.5, 1e-6);
  }
}

}  // namespace

}  // namespace mirel
